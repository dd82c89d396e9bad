// The daemon's control channel: a Unix SOCK_SEQPACKET socket on which the machine's device layer
// opens a port's device ("\\.\COM5" or "\\.\COM5\p"), makes control calls with the 12-byte
// record, and closes it; and on which the client asks for the status document. One connection is
// one open device. Every message is checked whole; anything malformed, out of order or unknown
// is refused with a reason, logged, and ends the connection, so a confused or hostile client
// can change nothing. Connections idle for longer than the idle limit are dropped.
//
// The socket's path appears only when the daemon is ready (Publish renames a socket that listens
// already), so a client that connects as soon as it sees the path is answered. Replies that do
// not fit the socket's buffer (a status document of many ports, sent in pieces) wait in the
// connection's queue until the client reads. At kMaxConnections a new connection takes the place
// of the one idle the longest, so that connections held open, however many, cannot blind
// `ketra-vspd status` or the panel's commands.
// A connection that asks for a port's trace leaves the server for the PortDirectory's trace
// readers (trace_server.h), with no idle limit.
//
// Owns the listening socket (and its file) and the connections; acts on the ports through a
// PortDirectory that outlives it. Single-threaded (the loop's).
#ifndef KETRA_DAEMON_CONTROL_SERVER_H_
#define KETRA_DAEMON_CONTROL_SERVER_H_

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "daemon/event_loop.h"
#include "daemon/port.h"
#include "platform/device/vspd_protocol.h"
#include "platform/runtime/fd.h"
#include "platform/runtime/status.h"

namespace ketra::vspd {

namespace wire = ::ketra::device::wire;

class PortDirectory {
 public:
  virtual ~PortDirectory() = default;
  // The port of that name (ASCII letters without regard to case), or null.
  virtual VirtualPort* FindPort(std::string_view name) = 0;
  virtual std::string StatusJson() = 0;
  // Takes a connection that asked for `port`'s trace (the reply is the taker's to send). One
  // that serves no traces lets it go, which the client sees as the end.
  virtual void StartTrace(VirtualPort& /*port*/, runtime::Fd /*connection*/,
                          const std::string& /*peer*/) {}
};

// Connects `port` to `settings` as a connect call does: a connected port says so whatever they
// hold, settings no relay can run on are refused with Status 87.
ControlOutcome ConnectPort(VirtualPort& port, const runtime::StatusOr<PortSettings>& settings);
// Answers one control call on `port` with the record `input` (connect or disconnect).
ControlOutcome ExecuteControl(VirtualPort& port, std::uint32_t code, const wire::Record& input);

class ControlServer {
 public:
  static constexpr std::size_t kMaxConnections = 64;
  static constexpr std::chrono::seconds kIdleLimit{30};

  // Listens, under a temporary name beside socket_path, with mode 0660 (group `group` when it
  // can be given). A stale socket file at socket_path is replaced by Publish; a path where a
  // daemon answers, or that is not a socket, is refused. Throws std::runtime_error.
  ControlServer(EventLoop& loop, std::string socket_path, const std::string& group,
                PortDirectory& ports);
  ControlServer(const ControlServer&) = delete;
  ControlServer& operator=(const ControlServer&) = delete;
  ~ControlServer();

  // Moves the listening socket to its path: from now on clients find it. Throws
  // std::runtime_error.
  void Publish();
  void DropIdle(std::chrono::steady_clock::time_point now);
  // Open connections; the daemon keeps its tick while any could go idle.
  std::size_t connection_count() const { return connections_.size(); }
  const std::string& socket_path() const { return socket_path_; }

 private:
  struct Connection {
    runtime::Fd fd;
    EventLoop::WatchId watch = 0;
    std::string peer;  // "pid P uid U", for the log
    std::optional<wire::DevicePath> device;
    std::chrono::steady_clock::time_point last_active;
    std::deque<std::vector<std::uint8_t>> outgoing;
    bool close_when_sent = false;
  };

  void OnAccept();
  // Closes the connection idle the longest to make room for `peer`; false when every
  // connection is busy sending.
  bool MakeRoom(const std::string& peer);
  void OnEvents(std::uint64_t id, std::uint32_t events);
  void OnMessage(std::uint64_t id, std::uint32_t events);
  // Answers the message of `message_size` bytes that OnMessage read into buffer_.
  void AnswerMessage(std::uint64_t id, std::size_t message_size);
  void Reply(std::uint64_t id, const wire::Reply& reply, bool close);
  // Hands the connection over to the port's trace, or answers that there is no such port.
  void StartTrace(std::uint64_t id, const wire::TraceRequest& request);
  // Sends what waits; false when the connection ended.
  bool Flush(std::uint64_t id);
  // The reply to one parsed request; *close set when the connection must end after it.
  wire::Reply Handle(Connection& connection, const wire::Request& request, bool* close);
  void Close(std::uint64_t id);

  EventLoop& loop_;
  std::string socket_path_;
  std::string bound_path_;  // where the socket file is now: the temporary name until Publish
  PortDirectory& ports_;
  runtime::Fd listener_;
  EventLoop::WatchId listener_watch_ = 0;
  std::map<std::uint64_t, Connection> connections_;
  std::uint64_t next_connection_ = 1;
  std::vector<std::uint8_t> buffer_;
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_CONTROL_SERVER_H_
