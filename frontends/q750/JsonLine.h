#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace frontend {

// A JSON object in one line of ASCII, with its line feed. What is no UTF-8 shows as replacement characters.
std::string jsonLine(const nlohmann::ordered_json& object);

}  // namespace frontend
