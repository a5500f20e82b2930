#include "support/tessalyprogram.h"

std::string TessalyProgram() {
  return ZR_TESSALY;
}
