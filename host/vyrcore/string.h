// Host strings: UTF-8 in byte strings, UTF-16 in char16_t strings, and the
// text operations that need Unicode knowledge (all done by ICU).
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vyrcore::string {

using UTF8String = std::string;
using UTF16String = std::u16string;

// Ill-formed input sequences become U+FFFD; conversion never fails.
UTF16String UTF8to16(std::string_view utf8);
UTF8String UTF16to8(std::u16string_view utf16);
// Bytes above 0x7F are replaced by '?'.
UTF16String ASCIIto16(std::string_view ascii);

// Full Unicode case mapping in the root locale ("ß" upper-cases to "SS").
UTF16String ToUpperCase(std::u16string_view text);
UTF16String ToLowerCase(std::u16string_view text);

// True when the bytes are well-formed UTF-8 (no overlongs, no surrogates,
// nothing above U+10FFFF). The empty string is valid.
bool IsValidUTF8CharacterString(std::string_view bytes);

// Parses a decimal number with optional sign, fraction and exponent,
// surrounded by optional white space. Returns 0 when the text is not a
// number; `ok` (when given) tells the two apart.
double StringToNumber(std::u16string_view text, bool* ok = nullptr);

// Replaces the placeholders "^1" to "^9" with the replacements in order; a
// placeholder without a replacement is left as it is; "^^" stands for "^".
UTF16String ReplaceInString(std::u16string_view text,
                            const std::vector<UTF16String>& replacements);

// Compares in natural order: runs of digits compare by value ("a2" < "a10"),
// the rest by the root collation. Returns a negative number, 0 or a positive one.
int NaturalCompare(std::u16string_view a, std::u16string_view b);

} // namespace vyrcore::string
