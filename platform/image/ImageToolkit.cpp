#include "ImageToolkit.h"

#include "LibtiffImageToolkit.h"

namespace platform {
namespace {

ImageToolkit* chosenToolkit = nullptr;

}  // namespace

ImageToolkit& imageToolkit() {
  static LibtiffImageToolkit standard;
  return chosenToolkit != nullptr ? *chosenToolkit : standard;
}

void useImageToolkit(ImageToolkit* toolkit) {
  chosenToolkit = toolkit;
}

}  // namespace platform
