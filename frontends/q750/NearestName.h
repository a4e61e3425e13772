#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace frontend {

// The name that somebody who typed this most probably meant: one that it begins or that begins it, or else
// the one that takes the fewest keys to correct, two at most. Nothing where no name is that near. Ignores
// case.
std::optional<std::string_view> nearestName(std::string_view typed, std::span<const std::string_view> names);

}  // namespace frontend
