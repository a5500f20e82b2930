// Marks what libzrevents.so shows to the host; everything else in it is hidden.
#pragma once

#define ZREVENTS_API __attribute__((visibility("default")))
// Hides a class again that is nested in one that is shown.
#define ZREVENTS_HIDDEN __attribute__((visibility("hidden")))
