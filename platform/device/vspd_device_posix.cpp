#include <grp.h>
#include <poll.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <utility>
#include <vector>

#include "platform/device/vspd_device.h"
#include "platform/device/vspd_protocol.h"
#include "platform/runtime/build_info.h"
#include "platform/runtime/fd.h"
#include "platform/runtime/status.h"

namespace ketra::device {
namespace {

using runtime::Fd;
using runtime::Status;
using runtime::StatusOr;

// The daemon is trusted when it runs as root, as the service user or as this user; a socket
// served by anyone else could be a stranger's trap for what the panel sends.
bool TrustedPeer(unsigned uid) {
  if (uid == 0 || uid == ::getuid() || uid == ::geteuid()) return true;
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  return ::getpwnam_r(KETRA_SERVICE_USER, &entry, buffer.data(), buffer.size(), &found) == 0 &&
         found != nullptr && found->pw_uid == uid;
}

// Why this user may not reach `socket_path`: the first directory on the way that it may not
// search, or else the socket itself, and the group that may (the daemon's --group gives the
// socket its group; the service's directories carry the same).
std::string PermissionProblem(const std::string& socket_path) {
  std::string gate = socket_path;
  for (std::size_t slash = socket_path.find('/', 1); slash != std::string::npos;
       slash = socket_path.find('/', slash + 1)) {
    const std::string directory = socket_path.substr(0, slash);
    if (::access(directory.c_str(), X_OK) != 0) {
      gate = directory;
      break;
    }
  }
  std::string group;
  struct stat info {};
  if (::stat(gate.c_str(), &info) == 0) {
    std::vector<char> buffer(16384);
    ::group entry{};
    ::group* found = nullptr;
    group = ::getgrgid_r(info.st_gid, &entry, buffer.data(), buffer.size(), &found) == 0 &&
                    found != nullptr
                ? found->gr_name
                : std::to_string(info.st_gid);
  }
  std::string why = "permission denied at " + socket_path;
  if (gate != socket_path) why += " (the directory " + gate + " is closed to you)";
  if (group.empty()) return why + ": ask the administrator for access to the driver";
  return why + ": only root, the user " KETRA_SERVICE_USER " and members of the group " + group +
         " may use the driver (ask to be added to the group " + group + ", then log in again)";
}

// Connects to the daemon. NotFound when no daemon answers; PermissionDenied when we may not use
// it or it is not to be trusted.
StatusOr<Fd> ConnectTo(const std::string& socket_path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (socket_path.empty() || socket_path.size() >= sizeof address.sun_path) {
    return Status::InvalidArgument("the socket path is empty or too long: " + socket_path);
  }
  std::memcpy(address.sun_path, socket_path.data(), socket_path.size());
  Fd fd(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
  if (!fd) return Status::FromErrno("socket", errno);
  if (::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    const int error = errno;
    if (error == EACCES || error == EPERM)
      return Status::PermissionDenied(PermissionProblem(socket_path));
    if (error == ENOENT || error == ECONNREFUSED) {
      return Status::NotFound("no daemon answers at " + socket_path);
    }
    return Status::FromErrno("cannot connect to " + socket_path, error);
  }
  ucred peer{};
  socklen_t length = sizeof peer;
  if (::getsockopt(fd.get(), SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0 ||
      !TrustedPeer(peer.uid)) {
    return Status::PermissionDenied("refused the daemon at " + socket_path + ": it runs as uid " +
                                    std::to_string(peer.uid) +
                                    ", neither root, the user " KETRA_SERVICE_USER " nor you");
  }
  return fd;
}

enum class Outcome { kAnswered, kTimedOut, kBroken };

// A status document in pieces ends by this size, or the daemon is not to be believed.
constexpr std::size_t kMostStatusText = 64 << 20;

Outcome Receive(const Fd& fd, std::chrono::milliseconds timeout, wire::Reply* reply);

// One request and its answer. A record that is not a valid reply counts as a broken channel.
Outcome Exchange(const Fd& fd, const wire::Request& request, std::chrono::milliseconds timeout,
                 wire::Reply* reply) {
  const auto message = wire::EncodeRequest(request);
  if (::send(fd.get(), message.data(), message.size(), MSG_NOSIGNAL) !=
      static_cast<ssize_t>(message.size())) {
    return Outcome::kBroken;
  }
  return Receive(fd, timeout, reply);
}

// The next message, which must be a valid reply.
Outcome Receive(const Fd& fd, std::chrono::milliseconds timeout, wire::Reply* reply) {
  pollfd watch{fd.get(), POLLIN, 0};
  int ready = 0;
  do {
    ready = ::poll(&watch, 1, static_cast<int>(timeout.count()));
  } while (ready < 0 && errno == EINTR);
  if (ready == 0) return Outcome::kTimedOut;
  if (ready < 0) return Outcome::kBroken;
  std::vector<std::uint8_t> buffer(wire::kMaxMessageSize);
  const ssize_t size = ::recv(fd.get(), buffer.data(), buffer.size(), MSG_TRUNC);
  if (size <= 0 || static_cast<std::size_t>(size) > buffer.size()) return Outcome::kBroken;
  wire::ParseError error = wire::ParseError::kNone;
  auto parsed = wire::ParseReply(std::span(buffer.data(), static_cast<std::size_t>(size)), &error);
  if (!parsed) return Outcome::kBroken;
  *reply = std::move(*parsed);
  return Outcome::kAnswered;
}

class VspdDevice final : public DeviceIo {
 public:
  VspdDevice(std::string socket_path, std::chrono::milliseconds timeout)
      : socket_path_(std::move(socket_path)), timeout_(timeout) {}

  Handle CreateFile(std::string_view path, std::uint32_t, std::uint32_t, const SecurityAttributes*,
                    std::uint32_t, std::uint32_t, Handle) override {
    if (path.empty() || path.size() > wire::kMaxPathLength) return kInvalidHandleValue;
    StatusOr<Fd> connected = ConnectTo(socket_path_);
    if (!connected.ok()) {
      // The panel shows only "Unable to open handle"; a user who is refused (not in the group,
      // or a daemon not trusted) is told why once, on standard error.
      if (!connected.status().IsNotFound() && !told_) {
        told_ = true;
        const std::string line =
            std::string(program_invocation_short_name) + ": " + connected.status().message() + "\n";
        std::fwrite(line.data(), 1, line.size(), stderr);
      }
      return kInvalidHandleValue;
    }
    Fd fd = std::move(connected).value();
    wire::Reply reply;
    if (Exchange(fd, wire::OpenRequest{std::string(path)}, timeout_, &reply) !=
        Outcome::kAnswered) {
      return kInvalidHandleValue;
    }
    const auto* open = std::get_if<wire::OpenReply>(&reply);
    if (open == nullptr || open->error != wire::kErrorSuccess) return kInvalidHandleValue;
    const Handle handle = next_handle_;
    next_handle_ = next_handle_ == 0x7FFFFFFF ? 1 : next_handle_ + 1;
    connections_[handle] = std::move(fd);
    return handle;
  }

  bool DeviceIoControl(Handle device, std::uint32_t control_code, const std::uint8_t* in,
                       std::uint32_t in_size, std::uint8_t* out, std::uint32_t out_size,
                       std::uint32_t* bytes_returned) override {
    if (bytes_returned != nullptr) *bytes_returned = 0;
    const auto found = connections_.find(device);
    if (found == connections_.end()) return false;
    if (in == nullptr || in_size != wire::kRecordSize || out == nullptr ||
        out_size < wire::kRecordSize) {
      return false;
    }
    wire::IoctlRequest request{control_code, {}};
    std::memcpy(request.input.data(), in, wire::kRecordSize);
    wire::Reply reply;
    switch (Exchange(found->second, request, timeout_, &reply)) {
      case Outcome::kAnswered:
        break;
      case Outcome::kTimedOut: {
        // A late answer must not be mistaken for the next call's, so the connection goes.
        found->second.Reset();
        wire::Record timed_out{};
        timed_out[kStatusOffset] = kStatusTimedOut;
        std::memcpy(out, timed_out.data(), wire::kRecordSize);
        if (bytes_returned != nullptr) *bytes_returned = wire::kRecordSize;
        return true;
      }
      case Outcome::kBroken:
        found->second.Reset();
        return false;
    }
    const auto* answer = std::get_if<wire::IoctlReply>(&reply);
    if (answer == nullptr || answer->error != wire::kErrorSuccess) return false;
    std::memcpy(out, answer->output.data(), wire::kRecordSize);
    if (bytes_returned != nullptr) *bytes_returned = wire::kRecordSize;
    return true;
  }

  bool CloseHandle(Handle device) override {
    const auto found = connections_.find(device);
    if (found == connections_.end()) return false;
    bool ok = false;
    if (found->second.valid()) {
      wire::Reply reply;
      ok = Exchange(found->second, wire::CloseRequest{}, timeout_, &reply) == Outcome::kAnswered &&
           std::holds_alternative<wire::CloseReply>(reply);
    }
    connections_.erase(found);
    return ok;
  }

 private:
  std::string socket_path_;
  bool told_ = false;  // a refusal was written on standard error
  std::chrono::milliseconds timeout_;
  std::map<Handle, Fd> connections_;
  Handle next_handle_ = 1;
};

}  // namespace

std::unique_ptr<DeviceIo> MakeVspdDevice(std::string socket_path) {
  return MakeVspdDevice(std::move(socket_path), kDefaultVspdAnswerTimeout);
}

std::unique_ptr<DeviceIo> MakeVspdDevice(std::string socket_path,
                                         std::chrono::milliseconds answer_timeout) {
  return std::make_unique<VspdDevice>(std::move(socket_path), answer_timeout);
}

std::optional<std::string> QueryVspdStatus(const std::string& socket_path,
                                           std::chrono::milliseconds answer_timeout) {
  const StatusOr<Fd> connected = ConnectTo(socket_path);
  if (!connected.ok()) return std::nullopt;
  const Fd& fd = *connected;
  wire::Reply reply;
  if (Exchange(fd, wire::StatusRequest{}, answer_timeout, &reply) != Outcome::kAnswered) {
    return std::nullopt;
  }
  std::string document;
  for (;;) {
    auto* status = std::get_if<wire::StatusReply>(&reply);
    if (status == nullptr) return std::nullopt;
    document += status->json;
    if (!status->more) return document;
    if (document.size() > kMostStatusText) return std::nullopt;
    if (Receive(fd, answer_timeout, &reply) != Outcome::kAnswered) return std::nullopt;
  }
}

runtime::StatusOr<Fd> OpenVspdTrace(const std::string& socket_path, const std::string& port,
                                    std::chrono::milliseconds answer_timeout) {
  auto connected = ConnectTo(socket_path);
  if (!connected.ok()) return connected.status();
  Fd fd = std::move(connected).value();
  wire::Reply reply;
  if (Exchange(fd, wire::TraceRequest{port}, answer_timeout, &reply) != Outcome::kAnswered) {
    return runtime::Status::IoError("the daemon at " + socket_path + " did not answer");
  }
  if (const auto* trace = std::get_if<wire::TraceReply>(&reply)) {
    if (trace->error == wire::kErrorSuccess) return fd;
    return runtime::Status::NotFound("no port " + port);
  }
  if (const auto* refused = std::get_if<wire::ErrorReply>(&reply)) {
    return runtime::Status::IoError("the daemon refused: " + refused->reason);
  }
  return runtime::Status::IoError("the daemon answered something else");
}

std::string DescribeVspdSocketProblem(const std::string& socket_path) {
  return ConnectTo(socket_path).status().message();
}

}  // namespace ketra::device
