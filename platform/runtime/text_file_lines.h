// The line rule every TextReader follows, shared by the in-memory and the POSIX readers.
// Stateless; thread-safe.
#ifndef KETRA_PLATFORM_RUNTIME_TEXT_FILE_LINES_H_
#define KETRA_PLATFORM_RUNTIME_TEXT_FILE_LINES_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace ketra::runtime {

struct LineSplitter {
  // The line that starts at *pos in `text`, without its LF or CRLF; *pos moves past the line
  // end. nullopt once *pos is at the end: a text that ends in a line end has no empty last line.
  std::optional<std::string> Next(std::string_view text, std::size_t* pos);
};

}  // namespace ketra::runtime

#endif  // KETRA_PLATFORM_RUNTIME_TEXT_FILE_LINES_H_
