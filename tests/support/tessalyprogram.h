// The program under test.
#pragma once

#include <string>

// Its whole path.
std::string TessalyProgram();
