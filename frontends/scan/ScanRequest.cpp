#include "ScanRequest.h"

namespace frontend {

PictureLayout expectedLayout(const ScanRequest& request) {
  const ScanSettings& settings = request.settings;
  return {settings.area.width, settings.area.height, settings.mode == ColorMode::color ? 3U : 1U,
          request.threshold ? 1U : 8U, settings.resolution};
}

}  // namespace frontend
