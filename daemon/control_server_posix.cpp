// The control channel's socket calls: the listening socket and its file, accepting, reading
// one message, sending what waits.
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "daemon/control_server.h"
#include "daemon/group.h"
#include "daemon/log.h"

namespace ketra::vspd {
namespace {

sockaddr_un UnixAddress(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof address.sun_path) {
    throw std::runtime_error("socket path empty or longer than " +
                             std::to_string(sizeof address.sun_path - 1) + " bytes: " + path);
  }
  std::memcpy(address.sun_path, path.data(), path.size());
  return address;
}

// Whether a daemon answers at `path` now.
bool SomeoneListens(const sockaddr_un& address) {
  runtime::Fd probe(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
  return probe &&
         ::connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

std::string PeerOf(int fd) {
  ucred credentials{};
  socklen_t length = sizeof credentials;
  if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) return "peer ?";
  return "pid " + std::to_string(credentials.pid) + " uid " + std::to_string(credentials.uid);
}

}  // namespace

ControlServer::ControlServer(EventLoop& loop, std::string socket_path, const std::string& group,
                             PortDirectory& ports)
    : loop_(loop),
      socket_path_(std::move(socket_path)),
      bound_path_(socket_path_ + ".new-" + std::to_string(::getpid())),
      ports_(ports),
      buffer_(wire::kMaxRequestSize + 1) {
  const sockaddr_un address = UnixAddress(socket_path_);
  const sockaddr_un temporary = UnixAddress(bound_path_);
  struct stat existing {};
  if (::lstat(socket_path_.c_str(), &existing) == 0) {
    if (!S_ISSOCK(existing.st_mode)) {
      throw std::runtime_error(socket_path_ + " exists and is not a socket");
    }
    if (SomeoneListens(address)) {
      throw std::runtime_error("another daemon answers at " + socket_path_);
    }
  }
  ::unlink(bound_path_.c_str());  // left by a daemon of this pid that was killed
  listener_ = runtime::Fd(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!listener_) throw std::runtime_error(std::string("socket: ") + std::strerror(errno));
  // The file gets 0660 from the start: no moment in which anyone else could connect.
  const mode_t old_mask = ::umask(0117);
  const int bound =
      ::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&temporary), sizeof temporary);
  const int bind_error = errno;
  ::umask(old_mask);
  if (bound != 0) {
    const std::string failed = std::exchange(bound_path_, std::string());
    throw std::runtime_error("cannot bind " + failed + ": " + std::strerror(bind_error));
  }
  if (!group.empty()) {
    // A socket that has the group already (the service runs with it) needs no chown, which the
    // service's system call filter need not allow then.
    const auto gid = FindGroupId(group);
    struct stat made {};
    const bool has_group = gid && ::stat(bound_path_.c_str(), &made) == 0 && made.st_gid == *gid;
    if (!has_group && (!gid || ::chown(bound_path_.c_str(), static_cast<uid_t>(-1), *gid) != 0)) {
      LogWarning(socket_path_ + " keeps its own group: cannot give it to group " + group);
    }
  }
  if (::listen(listener_.get(), 64) != 0) {
    const std::string reason = std::strerror(errno);
    ::unlink(bound_path_.c_str());
    throw std::runtime_error("cannot listen on " + bound_path_ + ": " + reason);
  }
  listener_watch_ = loop_.Add(listener_.get(), kReadable, [this](std::uint32_t) { OnAccept(); });
}

ControlServer::~ControlServer() {
  while (!connections_.empty()) Close(connections_.begin()->first);
  loop_.Remove(listener_watch_);
  listener_.Reset();
  if (!bound_path_.empty()) ::unlink(bound_path_.c_str());
}

void ControlServer::Publish() {
  if (bound_path_ == socket_path_) return;
  // rename() replaces a stale socket in one step: the path never names a socket that refuses.
  if (::rename(bound_path_.c_str(), socket_path_.c_str()) != 0) {
    throw std::runtime_error("cannot move " + bound_path_ + " to " + socket_path_ + ": " +
                             std::strerror(errno));
  }
  bound_path_ = socket_path_;
}

void ControlServer::OnAccept() {
  for (;;) {
    runtime::Fd fd(::accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!fd) return;
    const std::string peer = PeerOf(fd.get());
    if (connections_.size() >= kMaxConnections && !MakeRoom(peer)) {
      LogWarning("control: refused " + peer + ": " + std::to_string(kMaxConnections) +
                 " connections are open and every one is busy");
      continue;
    }
    const std::uint64_t id = next_connection_++;
    Connection connection;
    connection.peer = peer;
    connection.last_active = std::chrono::steady_clock::now();
    connection.watch = loop_.Add(fd.get(), kReadable | kPeerClosed,
                                 [this, id](std::uint32_t events) { OnEvents(id, events); });
    connection.fd = std::move(fd);
    connections_.emplace(id, std::move(connection));
  }
}

void ControlServer::OnMessage(std::uint64_t id, std::uint32_t events) {
  const auto found = connections_.find(id);
  if (found == connections_.end()) return;
  Connection& connection = found->second;
  const ssize_t size =
      ::recv(connection.fd.get(), buffer_.data(), buffer_.size(), MSG_TRUNC | MSG_DONTWAIT);
  if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
  // A SEQPACKET socket reads 0 both for an empty message and at the end; only the hang-up tells
  // them apart.
  if (size < 0 || (size == 0 && (events & (kPeerClosed | kHangUp)) != 0)) {
    Close(id);  // the client went
    return;
  }
  AnswerMessage(id, static_cast<std::size_t>(size));
}

bool ControlServer::Flush(std::uint64_t id) {
  Connection& connection = connections_.at(id);
  while (!connection.outgoing.empty()) {
    const auto& bytes = connection.outgoing.front();
    const ssize_t sent =
        ::send(connection.fd.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0 && (errno == EAGAIN || errno == EINTR)) {
      loop_.Modify(connection.watch, kWritable);
      return true;
    }
    if (sent != static_cast<ssize_t>(bytes.size())) {
      LogWarning("control: could not answer " + connection.peer);
      Close(id);
      return false;
    }
    connection.outgoing.pop_front();
  }
  if (connection.close_when_sent) {
    Close(id);
    return false;
  }
  loop_.Modify(connection.watch, kReadable | kPeerClosed);
  return true;
}

}  // namespace ketra::vspd
