// Line splitting shared by every reader: LF ends a line, a CR right before it goes with it, and
// a last line without an end still counts.
#include "platform/runtime/text_file.h"

#include "platform/runtime/text_file_lines.h"

namespace ketra::runtime {
namespace {

class StringReader : public TextReader {
 public:
  explicit StringReader(std::string contents) : contents_(std::move(contents)) {}
  std::optional<std::string> ReadLine() override { return splitter_.Next(contents_, &pos_); }

 private:
  std::string contents_;
  std::size_t pos_ = 0;
  LineSplitter splitter_;
};

}  // namespace

std::optional<std::string> LineSplitter::Next(std::string_view text, std::size_t* pos) {
  if (*pos >= text.size()) return std::nullopt;
  std::size_t end = text.find('\n', *pos);
  std::string line;
  if (end == std::string_view::npos) {
    line.assign(text.substr(*pos));
    *pos = text.size();
  } else {
    line.assign(text.substr(*pos, end - *pos));
    *pos = end + 1;
    if (!line.empty() && line.back() == '\r') line.pop_back();
  }
  return line;
}

std::unique_ptr<TextReader> MemoryFileSystem::OpenTextFile(const std::string& path) {
  auto it = files_.find(path);
  if (it == files_.end()) return nullptr;
  return MakeStringReader(it->second);
}

std::unique_ptr<TextReader> MakeStringReader(std::string contents) {
  return std::make_unique<StringReader>(std::move(contents));
}

}  // namespace ketra::runtime
