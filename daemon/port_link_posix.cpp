#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "daemon/port_link.h"
#include "platform/runtime/directories.h"

namespace ketra::vspd {
namespace {

std::string ReadLink(const std::string& path) {
  char buffer[4096];
  const ssize_t size = ::readlink(path.c_str(), buffer, sizeof buffer);
  return size < 0 ? std::string() : std::string(buffer, static_cast<std::size_t>(size));
}

}  // namespace

PortLink::PortLink(const std::string& directory, const std::string& name, const std::string& target)
    : path_(directory + "/" + name), target_(target) {
  struct stat existing {};
  if (::lstat(path_.c_str(), &existing) == 0) {
    if (!S_ISLNK(existing.st_mode)) {
      path_.clear();
      throw std::runtime_error(directory + "/" + name + " exists and is not a link");
    }
    ::unlink(path_.c_str());
  }
  if (::symlink(target.c_str(), path_.c_str()) != 0) {
    const std::string reason = std::strerror(errno);
    const std::string failed = std::exchange(path_, std::string());
    throw std::runtime_error("cannot link " + failed + " to " + target + ": " + reason);
  }
}

PortLink::PortLink(PortLink&& other) noexcept
    : path_(std::exchange(other.path_, std::string())), target_(std::move(other.target_)) {}

PortLink& PortLink::operator=(PortLink&& other) noexcept {
  if (this != &other) {
    Remove();
    path_ = std::exchange(other.path_, std::string());
    target_ = std::move(other.target_);
  }
  return *this;
}

PortLink::~PortLink() { Remove(); }

void PortLink::Repoint(const std::string& target) {
  const std::string temporary = path_ + ".new";
  ::unlink(temporary.c_str());  // left by a run that stopped half-way
  if (::symlink(target.c_str(), temporary.c_str()) != 0 ||
      ::rename(temporary.c_str(), path_.c_str()) != 0) {
    const std::string reason = std::strerror(errno);
    ::unlink(temporary.c_str());
    throw std::runtime_error("cannot point " + path_ + " to " + target + ": " + reason);
  }
  target_ = target;
}

void PortLink::Remove() {
  if (path_.empty()) return;
  // Another run may have taken the name since; its link is not ours to remove.
  if (ReadLink(path_) == target_) ::unlink(path_.c_str());
  path_.clear();
}

void EnsureDirectory(const std::string& directory, mode_t mode) {
  if (directory.empty()) throw std::runtime_error("empty directory name");
  std::string failed;
  if (const int error = runtime::MakeDirectories(directory, mode, &failed); error != 0) {
    throw std::runtime_error("cannot make " + failed + ": " + std::strerror(error));
  }
  struct stat info {};
  if (::stat(directory.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
    throw std::runtime_error(directory + " is not a directory");
  }
}

void EnsureOwnDirectory(const std::string& directory) {
  // The last part is the daemon's own: nobody else gets to write or list it.
  EnsureDirectory(directory, 0750);
  struct stat info {};
  if (::lstat(directory.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
    throw std::runtime_error("refusing " + directory + ": a link to a directory, not one");
  }
  // Whoever else may write here could swap a port's link or the socket for a trap of their own.
  if (info.st_uid != ::geteuid() && info.st_uid != 0) {
    throw std::runtime_error("refusing " + directory + ": it belongs to uid " +
                             std::to_string(info.st_uid) + ", not to this daemon's user or root");
  }
  if ((info.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    throw std::runtime_error("refusing " + directory + ": others may write in it (mode " +
                             std::to_string(info.st_mode >> 6 & 7) +
                             std::to_string(info.st_mode >> 3 & 7) +
                             std::to_string(info.st_mode & 7) + ")");
  }
}

}  // namespace ketra::vspd
