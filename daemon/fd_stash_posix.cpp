#include <sys/socket.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "daemon/fd_stash.h"

namespace ketra::vspd {
namespace {

constexpr char kMark[] = "ketra-stash";

}  // namespace

runtime::StatusOr<runtime::Fd> StashDescriptor(int fd) {
  int pair[2];
  if (::socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, pair) != 0) {
    return runtime::Status::FromErrno("socketpair for a stash", errno);
  }
  runtime::Fd sender(pair[0]);
  runtime::Fd stash(pair[1]);
  char control[CMSG_SPACE(sizeof(int))] = {};
  iovec data{const_cast<char*>(kMark), sizeof kMark};
  msghdr message{};
  message.msg_iov = &data;
  message.msg_iovlen = 1;
  message.msg_control = control;
  message.msg_controllen = sizeof control;
  cmsghdr* header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = SOL_SOCKET;
  header->cmsg_type = SCM_RIGHTS;
  header->cmsg_len = CMSG_LEN(sizeof(int));
  std::memcpy(CMSG_DATA(header), &fd, sizeof fd);
  if (::sendmsg(sender.get(), &message, MSG_NOSIGNAL) != static_cast<ssize_t>(sizeof kMark)) {
    return runtime::Status::FromErrno("sendmsg into a stash", errno);
  }
  // With the sender gone the stash can only be read; its own end reports no hang-up for that
  // (a datagram socket keeps no connection state that could).
  return stash;
}

runtime::Fd TakeFromStash(int stash) {
  struct stat info {};
  if (::fstat(stash, &info) != 0 || !S_ISSOCK(info.st_mode)) return runtime::Fd();
  char mark[sizeof kMark] = {};
  char control[CMSG_SPACE(sizeof(int))] = {};
  iovec data{mark, sizeof mark};
  msghdr message{};
  message.msg_iov = &data;
  message.msg_iovlen = 1;
  message.msg_control = control;
  message.msg_controllen = sizeof control;
  // Peeking leaves the message, and so the stash, as it was.
  const ssize_t got = ::recvmsg(stash, &message, MSG_PEEK | MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
  const cmsghdr* header = CMSG_FIRSTHDR(&message);
  if (header == nullptr || header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_RIGHTS) {
    return runtime::Fd();
  }
  int fd = -1;
  std::memcpy(&fd, CMSG_DATA(header), sizeof fd);
  runtime::Fd taken(fd);
  if (got != static_cast<ssize_t>(sizeof kMark) || std::memcmp(mark, kMark, sizeof kMark) != 0) {
    return runtime::Fd();
  }
  return taken;
}

}  // namespace ketra::vspd
