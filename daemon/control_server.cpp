#include "daemon/control_server.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "daemon/group.h"
#include "daemon/log.h"
#include "daemon/port_settings.h"
#include "platform/device/device.h"
#include "platform/runtime/strings.h"

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

wire::Reply Refuse(std::uint32_t error, std::string reason, bool* close) {
  *close = true;
  if (reason.size() > wire::kMaxReasonLength) reason.resize(wire::kMaxReasonLength);
  return wire::ErrorReply{error, std::move(reason)};
}

}  // namespace

wire::Record ExecuteControl(VirtualPort& port, std::uint32_t code, const wire::Record& input,
                            std::string* problem) {
  if (code == device::kIoctlVspDisconnect) {
    const std::uint8_t status = port.Disconnect();
    if (status == device::kStatusReleaseFailed) *problem = port.last_problem();
    return Answer(input, status);
  }
  // Connect. A port that is connected says so whatever the record holds.
  if (port.connected()) return Answer(input, device::kStatusAlreadyConnected);
  const auto settings = SettingsFromRecord(input, problem);
  if (!settings) return Answer(input, device::kStatusBadParameters);
  const std::uint8_t status = port.Connect(*settings);
  if (status != device::kStatusConnected) *problem = port.last_problem();
  return Answer(input, status);
}

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
    const auto gid = FindGroupId(group);
    if (!gid || ::chown(bound_path_.c_str(), static_cast<uid_t>(-1), *gid) != 0) {
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
    if (connections_.size() >= kMaxConnections + kStatusSlots) {
      LogWarning("control: refused " + peer + ": " +
                 std::to_string(kMaxConnections + kStatusSlots) + " connections open already");
      continue;
    }
    const std::uint64_t id = next_connection_++;
    Connection connection;
    connection.peer = peer;
    connection.last_active = std::chrono::steady_clock::now();
    connection.status_only = connections_.size() >= kMaxConnections;
    connection.watch = loop_.Add(fd.get(), kReadable | kPeerClosed,
                                 [this, id](std::uint32_t events) { OnEvents(id, events); });
    connection.fd = std::move(fd);
    connections_.emplace(id, std::move(connection));
  }
}

void ControlServer::OnEvents(std::uint64_t id, std::uint32_t events) {
  if ((events & kWritable) != 0 && !Flush(id)) return;
  const auto found = connections_.find(id);
  if (found == connections_.end()) return;
  // A client that does not read its replies is not read either.
  if (found->second.outgoing.empty() && (events & (kReadable | kPeerClosed | kHangUp)) != 0) {
    OnMessage(id, events);
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
  connection.last_active = std::chrono::steady_clock::now();
  bool close = false;
  wire::Reply reply;
  wire::ParseError error = wire::ParseError::kNone;
  const auto message_size = static_cast<std::size_t>(size);
  std::optional<wire::Request> request;
  if (message_size <= wire::kMaxRequestSize) {
    request = wire::ParseRequest(std::span(buffer_.data(), message_size), &error);
  }
  if (!request) {
    const std::string why = message_size > wire::kMaxRequestSize
                                ? "message of " + std::to_string(message_size) + " bytes"
                            : message_size == 0 ? std::string("empty message")
                                                : std::string(wire::ParseErrorText(error));
    LogWarning("control: refused a malformed message from " + connection.peer + ": " + why);
    reply = Refuse(wire::kErrorInvalidParameter, why, &close);
  } else if (connection.status_only && !std::holds_alternative<wire::StatusRequest>(*request)) {
    LogWarning("control: refused " + connection.peer + ": " + std::to_string(kMaxConnections) +
               " connections open already; only status is answered");
    reply =
        Refuse(wire::kErrorInvalidHandle, "too many connections; only status is answered", &close);
  } else {
    reply = Handle(connection, *request, &close);
    if (connection.status_only) close = true;
  }
  Reply(id, reply, close);
}

void ControlServer::Reply(std::uint64_t id, const wire::Reply& reply, bool close) {
  Connection& connection = connections_.at(id);
  if (const auto* status = std::get_if<wire::StatusReply>(&reply)) {
    // In pieces, each well inside the socket's buffer; the last one says the document ends.
    const std::string& text = status->json;
    std::size_t at = 0;
    do {
      const std::size_t piece = std::min(wire::kStatusPieceSize, text.size() - at);
      const bool more = at + piece < text.size();
      connection.outgoing.push_back(
          wire::EncodeReply(wire::StatusReply{text.substr(at, piece), more}));
      at += piece;
    } while (at < text.size());
  } else {
    connection.outgoing.push_back(wire::EncodeReply(reply));
  }
  connection.close_when_sent = close;
  Flush(id);
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

wire::Reply ControlServer::Handle(Connection& connection, const wire::Request& request,
                                  bool* close) {
  if (const auto* open = std::get_if<wire::OpenRequest>(&request)) {
    if (connection.device) {
      LogWarning("control: " + connection.peer + " opened a second device on one connection");
      return Refuse(wire::kErrorInvalidHandle, "a device is open on this connection", close);
    }
    const auto path = wire::ParseDevicePath(open->path);
    if (!path) {
      LogWarning("control: " + connection.peer + " asked for the device path " + open->path);
      return wire::OpenReply{wire::kErrorInvalidName};
    }
    if (ports_.FindPort(path->port) == nullptr) {
      LogInfo("control: " + connection.peer + " asked for " + open->path + ": no such port");
      return wire::OpenReply{wire::kErrorFileNotFound};
    }
    connection.device = *path;
    return wire::OpenReply{wire::kErrorSuccess};
  }
  if (const auto* ioctl = std::get_if<wire::IoctlRequest>(&request)) {
    if (!connection.device) {
      LogWarning("control: " + connection.peer + " made a control call before an open");
      return Refuse(wire::kErrorInvalidHandle, "control call before an open", close);
    }
    if (ioctl->code != device::kIoctlVspConnect && ioctl->code != device::kIoctlVspDisconnect) {
      LogWarning("control: " + connection.peer + " used the unknown control code " +
                 std::to_string(ioctl->code));
      return wire::IoctlReply{wire::kErrorInvalidFunction, {}};
    }
    VirtualPort* port = ports_.FindPort(connection.device->port);
    if (port == nullptr) return wire::IoctlReply{wire::kErrorFileNotFound, {}};
    std::string problem;
    const wire::Record output = ExecuteControl(*port, ioctl->code, ioctl->input, &problem);
    const bool connect = ioctl->code == device::kIoctlVspConnect;
    std::string line = port->name() + (connect ? " connect " : " disconnect ") +
                       runtime::HexUpper(ioctl->input) + " from " + connection.peer + ": Status " +
                       std::to_string(device::StatusOf(output));
    if (!problem.empty()) line += " (" + problem + ")";
    LogInfo(line);
    return wire::IoctlReply{wire::kErrorSuccess, output};
  }
  if (std::holds_alternative<wire::CloseRequest>(request)) {
    *close = true;
    return wire::CloseReply{wire::kErrorSuccess};
  }
  return wire::StatusReply{ports_.StatusJson()};
}

void ControlServer::Close(std::uint64_t id) {
  const auto found = connections_.find(id);
  if (found == connections_.end()) return;
  loop_.Remove(found->second.watch);
  connections_.erase(found);
}

void ControlServer::DropIdle(std::chrono::steady_clock::time_point now) {
  std::vector<std::uint64_t> idle;
  for (const auto& [id, connection] : connections_) {
    if (now - connection.last_active >
        (connection.status_only ? std::chrono::seconds(kStatusSlotIdleLimit) : kIdleLimit)) {
      idle.push_back(id);
    }
  }
  for (const std::uint64_t id : idle) {
    LogInfo("control: dropped the idle connection of " + connections_.at(id).peer);
    Close(id);
  }
}

}  // namespace ketra::vspd
