#include "ShareIdentity.h"

#include <uuid/uuid.h>

#include <algorithm>
#include <array>

#include "EsclNames.h"
#include "Utf8.h"

namespace frontend::share {
namespace {

constexpr std::size_t hexDigitsOfId = 32;
constexpr std::size_t longestPair = 255;  // its length is one byte of the record

// At most this many bytes, without cutting a character of UTF-8.
std::string_view cut(std::string_view text, std::size_t longest) {
  if (text.size() <= longest) return text;
  const auto continues = [&](std::size_t at) {
    return (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
  };
  while (longest > 0 && continues(longest)) --longest;
  return text.substr(0, longest);
}

// The name space of a machine's UUIDs: the ID itself, which is a UUID without dashes. False if it is not one.
bool readId(std::string_view id, uuid_t& space) {
  std::string dashed(id.substr(0, hexDigitsOfId));
  if (dashed.size() != hexDigitsOfId) return false;
  for (const std::size_t place : {8U, 13U, 18U, 23U}) dashed.insert(place, "-");
  return uuid_parse(dashed.c_str(), space) == 0;
}

std::string uuidOf(const Machine& machine, std::string_view scanner) {
  uuid_t space;
  std::string name = "quenvar-q750 " + std::string(scanner);
  if (!readId(machine.id, space)) {
    uuid_clear(space);
    name += " @ " + machine.host;
  }
  uuid_t uuid;
  uuid_generate_sha1(uuid, space, name.data(), name.size());
  std::array<char, UUID_STR_LEN> text;
  uuid_unparse_lower(uuid, text.data());
  return text.data();
}

}  // namespace

// The library of the message bus aborts the process if a text is not UTF-8.
bool isShareName(std::string_view text) {
  if (text.empty()) return false;
  while (!text.empty()) {
    const auto [length, code] = firstCharacter(text);
    if (length == 0 || code < ' ' || (code >= 0x7F && code < 0xA0)) return false;
    text.remove_prefix(length);
  }
  return true;
}

ShareIdentity identityOf(const Machine& machine, std::string_view scanner, std::string_view name) {
  std::string chosen(name);
  if (chosen.empty()) chosen = escl::makeAndModel;
  if (name.empty() && isShareName(machine.host)) chosen += " @ " + machine.host;
  return {uuidOf(machine, scanner), std::string(scanner), std::string(cut(chosen, longestShareName))};
}

std::vector<std::string> announcedText(const ShareIdentity& identity, std::string_view address,
                                       std::string_view note) {
  std::string formats;
  for (const escl::NamedFormat& format : escl::formats)
    formats.append(formats.empty() ? "" : ",").append(format.mimeType);
  std::vector<std::string> pairs;
  const auto add = [&pairs](std::string_view key, std::string_view value) {
    pairs.emplace_back(cut(std::string(key).append("=").append(value), longestPair));
  };
  add("txtvers", "1");
  add("vers", escl::version);
  add("rs", escl::rootPath.substr(1));  // clients put the slash in front of it
  add("ty", escl::makeAndModel);
  add("uuid", identity.uuid);
  add("pdl", formats);
  add("cs", "color,grayscale,binary");
  add("is", "platen");
  add("duplex", "F");
  if (!address.empty()) {
    add("adminurl", std::string(address) + "/");
    add("representation", std::string(address) + std::string(escl::iconPath));
  }
  add("note", note);
  return pairs;
}

}  // namespace frontend::share
