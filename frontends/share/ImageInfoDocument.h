#pragma once

#include <string>
#include <string_view>

#include "PictureLayout.h"

namespace frontend::share {

// The ScanImageInfo document of a job: the size of the picture that its client gets. Throws nothing but
// std::bad_alloc.
std::string imageInfoDocument(std::string_view jobId, const PictureLayout& picture);

}  // namespace frontend::share
