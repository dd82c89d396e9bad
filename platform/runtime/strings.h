// Text functions of the platform's string library that the program uses. Stateless.
#ifndef KETRA_PLATFORM_RUNTIME_STRINGS_H_
#define KETRA_PLATFORM_RUNTIME_STRINGS_H_

#include <string>
#include <string_view>

namespace ketra::runtime {

// The text without spaces at either end. Only the space character goes: tabs and NULs stay,
// as with the platform's Trim.
inline std::string TrimSpaces(std::string_view text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  const auto last = text.find_last_not_of(' ');
  return std::string(text.substr(first, last - first + 1));
}

}  // namespace ketra::runtime

#endif  // KETRA_PLATFORM_RUNTIME_STRINGS_H_
