#include "JsonLine.h"

#include <nlohmann/json.hpp>

namespace frontend {

std::string jsonLine(const nlohmann::ordered_json& object) {
  return object.dump(-1, ' ', true, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace frontend
