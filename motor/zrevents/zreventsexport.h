// Marks what libzrevents.so shows to the host; everything else in it is hidden.
#pragma once

#define ZREVENTS_API __attribute__((visibility("default")))
