#pragma once

#include <cstdint>
#include <string>

/// @file
/// Text of numbers and back, Base64, hex and URL text. Free functions without state, safe on any thread.
/// Classes and case of characters are ASCII whatever the locale; bytes from 0x80 up are never letters. Only
/// StringToi() reports a failure; every other function accepts any input. A negative count or capacity is
/// taken as 0.

/// @{
/// Decimal, with a "-" before a negative number.
std::string iToString(std::int32_t value);
std::string ulToString(std::uint32_t value);
/// @}
/// Six digits after the point, no exponent; always a point, whatever the locale.
std::string fToString(float value);

/// Prints two hex digits and a blank for each byte, 16 to a line, to standard output. Always ends
/// in a newline.
void printHexBuffer(const unsigned char* bytes, std::int32_t count);

/// Converts hex text to ceil(length / 2) bytes, without a terminator, and returns `output`. Works from the
/// end, so a text of odd length gives a first byte of one digit. Foreign characters give meaningless bytes,
/// never an error. The two buffers must not overlap.
unsigned char* ahtom(const char* hexText, unsigned char* output);

/// The reverse of StrToBase64(), except that "y" is read as "7": text with a "y" in it decodes to other
/// bytes. Decodes into at most `capacity` bytes and returns the number written. Foreign characters are
/// skipped; the first padded group ends the text; a last group of fewer than four characters gives nothing.
std::int32_t Base64ToStr(const char* base64Text, unsigned char* output, std::int32_t capacity);
/// Base64 as defined in RFC 4648, section 4: with padding, without line breaks.
std::string StrToBase64(const unsigned char* bytes, std::int32_t count);

/// The integer in a text. After a leading "#" it is hexadecimal; a leading "0" is dropped and the rest
/// read with the base that its own prefix gives, like any other text. Saturates at 32 bits. An embedded
/// NUL ends the text; the empty text is 0. Throws ValueConversionException("Illegal conversion") if
/// anything is left over.
std::int32_t StringToi(std::string text);

/// Converts the letters a to z to A to Z; all other bytes are unchanged.
std::string StringToUpperCase(std::string text);

/// Encodes for a URL. Keeps ASCII letters, digits, "_" and ".", which is less than the unreserved set of RFC
/// 3986; a blank becomes "+", anything else "%" and two upper-case hex digits.
std::string URLEncodeString(std::string text);
/// The reverse of URLEncodeString(). A "%" consumes the next two characters unchecked; those missing at the
/// end are read as NUL.
std::string URLDecodeString(std::string text);
