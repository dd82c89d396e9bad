#include "daemon/control_server.h"

#include <algorithm>
#include <utility>

#include "daemon/log.h"
#include "daemon/port_settings.h"
#include "platform/device/device.h"
#include "platform/runtime/strings.h"

// What the control channel says: requests checked and answered, replies queued, connections
// ended. The socket calls are in control_server_posix.cpp.
namespace ketra::vspd {
namespace {

wire::Reply Refuse(std::uint32_t error, std::string reason, bool* close) {
  *close = true;
  if (reason.size() > wire::kMaxReasonLength) reason.resize(wire::kMaxReasonLength);
  return wire::ErrorReply{error, std::move(reason)};
}

}  // namespace

ControlOutcome ConnectPort(VirtualPort& port, const runtime::StatusOr<PortSettings>& settings) {
  if (port.connected()) return {device::kStatusAlreadyConnected, {}};
  if (!settings.ok()) return {device::kStatusBadParameters, settings.status()};
  return port.Connect(*settings);
}

ControlOutcome ExecuteControl(VirtualPort& port, std::uint32_t code, const wire::Record& input) {
  if (code == device::kIoctlVspDisconnect) return port.Disconnect();
  return ConnectPort(port, SettingsFromRecord(input));
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

void ControlServer::AnswerMessage(std::uint64_t id, std::size_t message_size) {
  Connection& connection = connections_.at(id);
  connection.last_active = std::chrono::steady_clock::now();
  bool close = false;
  wire::Reply reply;
  wire::ParseError error = wire::ParseError::kNone;
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
  } else if (const auto* trace = std::get_if<wire::TraceRequest>(&*request);
             trace != nullptr && !connection.device) {
    StartTrace(id, *trace);
    return;
  } else {
    reply = Handle(connection, *request, &close);
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
    const ControlOutcome outcome = ExecuteControl(*port, ioctl->code, ioctl->input);
    const wire::Record output = Answer(ioctl->input, outcome.status);
    const bool connect = ioctl->code == device::kIoctlVspConnect;
    std::string line = port->name() + (connect ? " connect " : " disconnect ") +
                       runtime::HexUpper(ioctl->input) + " from " + connection.peer + ": Status " +
                       std::to_string(device::StatusOf(output));
    if (!outcome.why.message().empty()) line += " (" + outcome.why.message() + ")";
    LogInfo(line);
    return wire::IoctlReply{wire::kErrorSuccess, output};
  }
  if (std::holds_alternative<wire::TraceRequest>(request)) {
    LogWarning("control: " + connection.peer + " asked for a trace on a connection with a device");
    return Refuse(wire::kErrorInvalidHandle, "a device is open on this connection", close);
  }
  if (std::holds_alternative<wire::CloseRequest>(request)) {
    *close = true;
    return wire::CloseReply{wire::kErrorSuccess};
  }
  return wire::StatusReply{ports_.StatusJson()};
}

void ControlServer::StartTrace(std::uint64_t id, const wire::TraceRequest& request) {
  VirtualPort* port = ports_.FindPort(request.port);
  if (port == nullptr) {
    LogInfo("control: " + connections_.at(id).peer + " asked for the trace of " + request.port +
            ": no such port");
    Reply(id, wire::TraceReply{wire::kErrorFileNotFound}, true);
    return;
  }
  Connection& connection = connections_.at(id);
  runtime::Fd fd = std::move(connection.fd);
  const std::string peer = connection.peer;
  loop_.Remove(connection.watch);
  connections_.erase(id);
  ports_.StartTrace(*port, std::move(fd), peer);
}

void ControlServer::Close(std::uint64_t id) {
  const auto found = connections_.find(id);
  if (found == connections_.end()) return;
  loop_.Remove(found->second.watch);
  connections_.erase(found);
}

bool ControlServer::MakeRoom(const std::string& peer) {
  auto oldest = connections_.end();
  for (auto it = connections_.begin(); it != connections_.end(); ++it) {
    if (it->second.outgoing.empty() &&
        (oldest == connections_.end() || it->second.last_active < oldest->second.last_active)) {
      oldest = it;
    }
  }
  if (oldest == connections_.end()) return false;
  const auto idle = std::chrono::duration_cast<std::chrono::seconds>(
      std::chrono::steady_clock::now() - oldest->second.last_active);
  LogInfo("control: closed the connection of " + oldest->second.peer + " (idle for " +
          std::to_string(idle.count()) + " s) to answer " + peer + ": " +
          std::to_string(kMaxConnections) + " connections are open");
  Close(oldest->first);
  return true;
}

void ControlServer::DropIdle(std::chrono::steady_clock::time_point now) {
  std::vector<std::uint64_t> idle;
  for (const auto& [id, connection] : connections_) {
    if (now - connection.last_active > kIdleLimit) idle.push_back(id);
  }
  for (const std::uint64_t id : idle) {
    LogInfo("control: dropped the idle connection of " + connections_.at(id).peer);
    Close(id);
  }
}

}  // namespace ketra::vspd
