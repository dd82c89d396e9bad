// Files of the machine read through a POSIX descriptor. The settings file is small, so a
// reader takes the whole file at open and splits it as the in-memory reader does; the
// descriptor lives only during that read.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/runtime/fd.h"
#include "platform/runtime/text_file.h"

namespace ketra::runtime {
namespace {

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
    Fd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!fd.valid()) return nullptr;
    std::string contents;
    if (!ReadAll(fd.get(), &contents)) return nullptr;
    return MakeStringReader(std::move(contents));
  }
};

}  // namespace

std::unique_ptr<FileSystem> MakePosixFileSystem() { return std::make_unique<PosixFileSystem>(); }

}  // namespace ketra::runtime
