#include "FileKeeping.h"

namespace platform {
namespace {

bool kept = true;

}  // namespace

void keepFiles(bool keep) {
  kept = keep;
}

bool filesAreKept() {
  return kept;
}

}  // namespace platform
