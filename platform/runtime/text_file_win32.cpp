// Files of the machine read through the Win32 file API. The settings file is small, so a reader
// takes the whole file at open and splits it as the in-memory reader does; the file handle lives
// only during that read. Paths are ANSI text, as the panel holds them.
#include <windows.h>

#include <utility>

#include "platform/runtime/text_file.h"

namespace ketra::runtime {
namespace {

// Owns one file handle.
class FileHandle {
 public:
  explicit FileHandle(HANDLE handle) : handle_(handle) {}
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
  ~FileHandle() {
    if (valid()) CloseHandle(handle_);
  }
  HANDLE get() const { return handle_; }
  bool valid() const { return handle_ != INVALID_HANDLE_VALUE; }

 private:
  HANDLE handle_;
};

bool ReadAll(HANDLE file, std::string* contents) {
  char buffer[65536];
  for (;;) {
    DWORD n = 0;
    if (!ReadFile(file, buffer, sizeof buffer, &n, nullptr)) return false;
    if (n == 0) return true;
    contents->append(buffer, n);
  }
}

class Win32FileSystem : public FileSystem {
 public:
  std::unique_ptr<TextReader> OpenTextFile(const std::string& path) override {
    // Others may read and write the file meanwhile, as with the platform's text streams.
    FileHandle file(CreateFileA(path.c_str(), GENERIC_READ,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.valid()) return nullptr;
    std::string contents;
    if (!ReadAll(file.get(), &contents)) return nullptr;
    return MakeStringReader(std::move(contents));
  }
};

}  // namespace

std::unique_ptr<FileSystem> MakeWin32FileSystem() { return std::make_unique<Win32FileSystem>(); }

}  // namespace ketra::runtime
