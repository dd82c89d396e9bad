// Text functions the program uses in several places: ASCII case folding (names of keys, values,
// controls and ports compare without regard to the case of ASCII letters, and only those),
// hexadecimal bytes, and trimming. Stateless; thread-safe.
#ifndef KETRA_PLATFORM_RUNTIME_STRINGS_H_
#define KETRA_PLATFORM_RUNTIME_STRINGS_H_

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace ketra::runtime {

inline char AsciiUpper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
std::string AsciiUpper(std::string_view text);
bool EqualsNoCase(std::string_view a, std::string_view b);
bool StartsWithNoCase(std::string_view text, std::string_view prefix);

// Two upper-case digits a byte, nothing between: "7F000001".
std::string HexUpper(std::span<const std::uint8_t> bytes);

// The text without the characters of `blanks` at either end.
std::string_view TrimAny(std::string_view text, std::string_view blanks);

// The text without spaces at either end. Only the space character goes: tabs and NULs stay,
// as with the platform's Trim.
inline std::string TrimSpaces(std::string_view text) { return std::string(TrimAny(text, " ")); }

}  // namespace ketra::runtime

#endif  // KETRA_PLATFORM_RUNTIME_STRINGS_H_
