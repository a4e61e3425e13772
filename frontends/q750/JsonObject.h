#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace frontend {

// A JSON object, built member by member and then written; the members keep their order. Text is UTF-8: other
// bytes are written as replacement characters, and everything beyond ASCII is escaped. Hides the JSON
// library, whose headers take seconds to compile. Throws nothing but std::bad_alloc.
//
//   write(JsonObject().text("event", "page").number("page", 2).line());
class JsonObject {
 public:
  JsonObject();
  ~JsonObject();
  JsonObject(JsonObject&& other) noexcept;
  JsonObject& operator=(JsonObject&& other) noexcept;

  JsonObject& text(std::string_view name, std::string_view value);
  JsonObject& number(std::string_view name, std::uint64_t value);
  JsonObject& boolean(std::string_view name, bool value);
  JsonObject& array(std::string_view name, const std::vector<JsonObject>& objects);

  // The object on one line, for streams of them; with a line feed.
  std::string line() const;
  // The object on several lines, indented by two spaces; with a line feed.
  std::string document() const;

 private:
  struct Members;
  std::unique_ptr<Members> members_;
};

// A document of the commands that print one, with their version as its first member. A member keeps its name
// and meaning as long as the version is the same; others may be added.
JsonObject versionedDocument();

}  // namespace frontend
