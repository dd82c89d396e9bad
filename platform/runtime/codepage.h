// Texts cross into the program in its 8-bit ANSI code page, Windows-1252, and back out as UTF-8.
// Stateless and thread-safe.
#ifndef KETRA_PLATFORM_RUNTIME_CODEPAGE_H_
#define KETRA_PLATFORM_RUNTIME_CODEPAGE_H_

#include <string>
#include <string_view>

namespace ketra::runtime {

// UTF-8 to Windows-1252. A character the code page lacks, or a malformed sequence, becomes '?'.
std::string Utf8ToAnsi(std::string_view utf8);

// Windows-1252 to UTF-8. The five bytes the code page leaves undefined (0x81, 0x8D, 0x8F, 0x90,
// 0x9D) map to the C1 control characters of the same value, so every byte round-trips.
std::string AnsiToUtf8(std::string_view ansi);

}  // namespace ketra::runtime

#endif  // KETRA_PLATFORM_RUNTIME_CODEPAGE_H_
