#pragma once

#include <string_view>

// The files of the folder page/, which the build turns into constants: the program needs no file at run time,
// and serves none.
namespace frontend::share::pagedata {

extern const std::string_view html;  // a template, see StartPage.h
extern const std::string_view style;
extern const std::string_view script;
extern const std::string_view icon;  // PNG, 128 x 128 pixels with an alpha channel, as clients expect it

}  // namespace frontend::share::pagedata
