#include "JsonObject.h"

#include <nlohmann/json.hpp>

namespace frontend {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::uint64_t documentVersion = 1;
constexpr int onOneLine = -1;

std::string written(const Json& json, int indentation) {
  constexpr bool asciiOnly = true;
  return json.dump(indentation, ' ', asciiOnly, Json::error_handler_t::replace) + "\n";
}

}  // namespace

struct JsonObject::Members {
  Json json = Json::object();
};

JsonObject::JsonObject() : members_(std::make_unique<Members>()) {}
JsonObject::~JsonObject() = default;
JsonObject::JsonObject(JsonObject&& other) noexcept = default;
JsonObject& JsonObject::operator=(JsonObject&& other) noexcept = default;

JsonObject& JsonObject::text(std::string_view name, std::string_view value) {
  members_->json[std::string(name)] = std::string(value);
  return *this;
}

JsonObject& JsonObject::number(std::string_view name, std::uint64_t value) {
  members_->json[std::string(name)] = value;
  return *this;
}

JsonObject& JsonObject::boolean(std::string_view name, bool value) {
  members_->json[std::string(name)] = value;
  return *this;
}

JsonObject& JsonObject::array(std::string_view name, const std::vector<JsonObject>& objects) {
  Json array = Json::array();
  for (const JsonObject& object : objects) array.push_back(object.members_->json);
  members_->json[std::string(name)] = std::move(array);
  return *this;
}

std::string JsonObject::line() const {
  return written(members_->json, onOneLine);
}

std::string JsonObject::document() const {
  return written(members_->json, 2);
}

JsonObject versionedDocument() {
  JsonObject document;
  document.number("version", documentVersion);
  return document;
}

}  // namespace frontend
