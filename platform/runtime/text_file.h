// Reading a text file line by line, the one thing the settings-file reader needs of a file
// system. A real reader for POSIX, one for Windows and an in-memory fake stand behind the
// interface. Not thread-safe: one reader belongs to one caller.
#ifndef KETRA_PLATFORM_RUNTIME_TEXT_FILE_H_
#define KETRA_PLATFORM_RUNTIME_TEXT_FILE_H_

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace ketra::runtime {

class TextReader {
 public:
  virtual ~TextReader() = default;
  // The next line without its end (CRLF and LF alike); nullopt at the end of the file.
  virtual std::optional<std::string> ReadLine() = 0;
};

class FileSystem {
 public:
  virtual ~FileSystem() = default;
  // Opens an existing file for reading as 8-bit text; nullptr when it cannot be opened.
  virtual std::unique_ptr<TextReader> OpenTextFile(const std::string& path) = 0;
};

// The machine's own files: the POSIX reader, and the Win32 one on Windows.
std::unique_ptr<FileSystem> MakePosixFileSystem();
std::unique_ptr<FileSystem> MakeWin32FileSystem();

// Files held in memory, by exact path; for tests.
class MemoryFileSystem : public FileSystem {
 public:
  void Put(const std::string& path, std::string contents) { files_[path] = std::move(contents); }
  std::unique_ptr<TextReader> OpenTextFile(const std::string& path) override;

 private:
  std::map<std::string, std::string> files_;
};

// Splits a whole text into lines the way the readers do.
std::unique_ptr<TextReader> MakeStringReader(std::string contents);

}  // namespace ketra::runtime

#endif  // KETRA_PLATFORM_RUNTIME_TEXT_FILE_H_
