#include "platform/runtime/status.h"

#include <cstring>

namespace ketra::runtime {

Status Status::FromErrno(const std::string& what, int error) {
  return IoError(what + ": " + std::strerror(error));
}

}  // namespace ketra::runtime
