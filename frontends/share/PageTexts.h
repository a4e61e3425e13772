#pragma once

#include <string_view>

#include "StartPage.h"

namespace frontend::share {

// The text of the start page with this key, in UTF-8 without markup; empty if there is none.
std::string_view pageText(std::string_view key, PageLanguage language);

}  // namespace frontend::share
