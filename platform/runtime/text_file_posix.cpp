// Files of the machine read through a POSIX descriptor. The settings file is small, so a
// reader takes the whole file at open and splits it as the in-memory reader does; the
// descriptor lives only during that read.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/runtime/text_file.h"

namespace ketra::runtime {
namespace {

// Owns one open file descriptor.
class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) : fd_(fd) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  FileDescriptor(FileDescriptor&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
      Reset();
      fd_ = other.fd_;
      other.fd_ = -1;
    }
    return *this;
  }
  ~FileDescriptor() { Reset(); }
  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }

 private:
  void Reset() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }
  int fd_;
};

bool ReadAll(int fd, std::string* contents) {
  char buffer[65536];
  for (;;) {
    ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n == 0) return true;
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    contents->append(buffer, static_cast<std::size_t>(n));
  }
}

class PosixFileSystem : public FileSystem {
 public:
  std::unique_ptr<TextReader> OpenTextFile(const std::string& path) override {
    FileDescriptor fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!fd.valid()) return nullptr;
    std::string contents;
    if (!ReadAll(fd.get(), &contents)) return nullptr;
    return MakeStringReader(std::move(contents));
  }
};

}  // namespace

std::unique_ptr<FileSystem> MakePosixFileSystem() { return std::make_unique<PosixFileSystem>(); }

}  // namespace ketra::runtime
