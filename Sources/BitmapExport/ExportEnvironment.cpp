#include "ExportEnvironment.h"

#include <cstdlib>

ExportEnvironment& exportEnvironment() {
  static ExportEnvironment environment{.allocateZeroed = std::calloc};
  return environment;
}
