#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "daemon/metrics_file.h"
#include "platform/runtime/fd.h"

namespace ketra::vspd {

runtime::Status MetricsFile::Update(const std::string& text) {
  if (any_written_ && text == written_) return runtime::Status::Ok();
  // node_exporter reads only names ending in .prom: the temporary one is passed over.
  const std::string temporary = path_ + ".tmp-" + std::to_string(::getpid());
  runtime::Fd fd(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
  if (!fd) return runtime::Status::FromErrno("cannot write " + temporary, errno);
  std::size_t at = 0;
  while (at < text.size()) {
    const ssize_t wrote = ::write(fd.get(), text.data() + at, text.size() - at);
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote <= 0) {
      const int error = wrote < 0 ? errno : EIO;
      ::unlink(temporary.c_str());
      return runtime::Status::FromErrno("cannot write " + temporary, error);
    }
    at += static_cast<std::size_t>(wrote);
  }
  if (fd.Reset() != 0 || ::rename(temporary.c_str(), path_.c_str()) != 0) {
    const int error = errno;
    ::unlink(temporary.c_str());
    return runtime::Status::FromErrno("cannot replace " + path_, error);
  }
  written_ = text;
  any_written_ = true;
  return runtime::Status::Ok();
}

}  // namespace ketra::vspd
