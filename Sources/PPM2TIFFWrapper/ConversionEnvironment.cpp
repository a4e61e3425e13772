#include "ConversionEnvironment.h"

#include <cstdlib>

ConversionEnvironment& conversionEnvironment() {
  static ConversionEnvironment environment{.allocateZeroed = std::calloc};
  return environment;
}
