// One virtual port: its pty and link, and, while connected, the UDP socket on its local port and
// the relay between the two. Bytes a program writes into the pty go to the remote endpoint in
// datagrams (one per read, at most max_datagram bytes); datagrams from the remote endpoint come
// out of the pty, what is queued at once in one write. Datagrams from any other sender are
// dropped and counted.
//
// Software flow works both ways: the terminal's XOFF stops the relay from the pty until its XON,
// and when the pty backs up (the program reads slower than the terminal sends) the port sends
// the terminal its XOFF, and XON once everything that waited has gone into the pty.
//
// Nothing is lost silently. Inside the relay the far side's slowness stops reading of the near
// side (back-pressure); what is lost all the same is counted where it happens: datagrams the
// kernel dropped for a full receive buffer, bytes from the terminal while no program holds the
// port, bytes from the program while not connected, datagrams the kernel refused to send.
//
// What the program does to its line comes through the pty's packet mode: a flush of its input
// discards what waits for it here and in the socket, a flush of its output what it wrote that
// has not gone yet (both counted as discarded_bytes), and whether its output is stopped is
// followed for status.
//
// A line when nobody holds it: the port knows whether a program holds its device (PortIo::Held)
// and, after the last one closes, discards what the terminal sends and makes the device fresh
// for the next program (PortIo::Freshen), also after a program that came and went before the
// port saw it. A device the last program left exclusive cannot be reopened without
// CAP_SYS_ADMIN; the port then takes a new pty and points its link there, so the next program
// still finds a fresh port.
//
// A trace (port_trace.h) sees every datagram and event while a sink is attached; without one
// the relay only tests a pointer.
//
// Owns the PortIo, the link and its watches in the poller; not the trace sink. Single-threaded
// (the loop's).
#ifndef KETRA_DAEMON_PORT_H_
#define KETRA_DAEMON_PORT_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "daemon/event_loop.h"
#include "daemon/flow_control.h"
#include "daemon/port_io.h"
#include "daemon/port_link.h"
#include "daemon/port_settings.h"
#include "daemon/port_trace.h"
#include "platform/runtime/status.h"

namespace ketra::vspd {

struct PortOptions {
  std::string link_directory;  // empty: no link
  std::uint32_t bind_address = net::kAnyAddress;
  std::size_t max_datagram = 8192;
  int socket_buffer_bytes = 4 << 20;
  // Where a port reads the datagram or the pty's bytes at hand: the ports of one loop may share
  // one, as each uses it only within one call (64 KB a port made 1,024 ports cost 64 MB).
  // Null: the port makes its own.
  std::shared_ptr<std::vector<std::uint8_t>> scratch;
};

struct PortCounters {
  std::uint64_t bytes_to_udp = 0;
  std::uint64_t datagrams_to_udp = 0;
  std::uint64_t bytes_to_pty = 0;
  std::uint64_t datagrams_from_udp = 0;
  std::uint64_t stranger_datagrams = 0;
  std::uint64_t stranger_bytes = 0;
  // Losses, each counted where it happens.
  std::uint64_t dropped_datagrams = 0;  // by the kernel, for a full receive buffer
  std::uint64_t unheld_bytes = 0;       // from the terminal while no program held the port
  std::uint64_t discarded_bytes = 0;    // not connected, or flushed by the program
  std::uint64_t send_errors = 0;        // datagrams the kernel refused (not for a full buffer)
  std::uint64_t send_error_bytes = 0;
  std::uint64_t pty_error_bytes = 0;  // bytes the pty refused for good
  // Software flow toward the terminal.
  std::uint64_t xoff_sent = 0;
  std::uint64_t xon_sent = 0;

  std::uint64_t lost_events() const {
    return dropped_datagrams + unheld_bytes + discarded_bytes + send_errors + pty_error_bytes;
  }
};

// What a connect or disconnect did: the driver's Status for the answer and, for a refusal or a
// failure, why, for the log (ok otherwise).
struct ControlOutcome {
  std::uint8_t status = 0;
  runtime::Status why;
};

class VirtualPort {
 public:
  // Makes the link (when options.link_directory is set) and starts watching. `resumed` gives
  // the settings of a socket that `io` already holds (a port taken back across a restart).
  // Throws std::runtime_error when the link cannot be made.
  VirtualPort(Poller& poller, std::string name, std::unique_ptr<PortIo> io,
              const PortOptions& options, std::optional<PortSettings> resumed = std::nullopt);
  VirtualPort(const VirtualPort&) = delete;
  VirtualPort& operator=(const VirtualPort&) = delete;
  ~VirtualPort();

  // 112 connected, 15 already connected, 21 the socket or its bind failed (with the reason).
  ControlOutcome Connect(const PortSettings& settings);
  // 113 disconnected, 0 not connected, 22 the socket's release reported an error (with the
  // reason; the port is disconnected all the same).
  ControlOutcome Disconnect();
  // A program opened the device, or closed it after writing (OpenWatch says so; events merge
  // and the daemon's own opens show too): the port asks the pty whether a program holds it.
  // Also once at start, as a close: a program may have come and gone while no daemon watched.
  void DeviceTouched(bool closed_after_writing);
  // Takes the kernel's drop count from the socket now, for a status or a loss line: datagrams
  // tell it only when one arrives after the drops, and after a burst that ends in drops none
  // does.
  void CountKernelDrops();
  // Runs after every connect that succeeded and every disconnect (the daemon keeps the service
  // manager's store in step).
  void OnConnectionChange(std::function<void(VirtualPort&)> callback) {
    on_change_ = std::move(callback);
  }

  // From now on every event goes to `sink` (null: to nobody). The sink is detached before it
  // goes.
  void SetTraceSink(TraceSink* sink) { trace_ = sink; }

  // Runs after the port replaced its pty (pty_fd() and pty_path() changed).
  void OnPtyReplaced(std::function<void(VirtualPort&)> callback) {
    on_pty_replaced_ = std::move(callback);
  }
  // Runs when the device could not be made fresh for the next program, with the reason (for the
  // log). The port goes on; the next program may find what the last one left.
  void OnFreshenFailed(std::function<void(VirtualPort&, const runtime::Status&)> callback) {
    on_freshen_failed_ = std::move(callback);
  }

  const std::string& name() const { return name_; }
  const std::string& link_path() const { return link_.path(); }
  const std::string& pty_path() const { return io_->pty_path(); }
  bool connected() const { return settings_.has_value(); }
  // Whether a program holds the port's device open.
  bool held() const { return held_; }
  // The terminal sent XOFF: nothing goes toward it.
  bool paused() const { return flow_.paused(); }
  // The port sent the terminal XOFF and owes it an XON.
  bool stopped_terminal() const { return stopped_terminal_; }
  // The program's output is stopped (tcflow, or a STOP character with IXON).
  bool program_stopped() const { return program_stopped_; }
  // The line as the program set it, while a program holds the port.
  std::optional<ProgramLine> program_line() const {
    return held_ ? io_->ReadProgramLine() : std::nullopt;
  }
  const std::optional<PortSettings>& settings() const { return settings_; }
  net::Endpoint local_endpoint() const { return io_->LocalEndpoint(); }
  const PortCounters& counters() const { return counters_; }
  const PortIo& io() const { return *io_; }

 private:
  enum class Drain { kMore, kBlocked, kGone };

  void Watch();
  void OnPtyEvents(std::uint32_t events);
  void OnSocketEvents(std::uint32_t events);
  // Where the port learns what the program does, one place each.
  void ProgramCame();
  void ProgramGone();
  void ProgramFlushedInput();
  void ProgramFlushedOutput();
  void ProgramOutputStopped(bool stopped);
  void OnProgramEvents(std::uint8_t events);
  void MakeFresh();
  // Ok, or why the pty could not be replaced or its link not repointed.
  runtime::Status ReplacePty();
  Drain RelayFromPty();
  void RelayFromSocket();
  // One datagram from the socket with its flow characters followed: the bytes it holds for the
  // program (empty for a stranger's or one that was all flow), or nullopt when none came
  // (*drained: the socket said EAGAIN).
  std::optional<std::span<std::uint8_t>> ReceiveDatagram(bool* drained);
  bool FlushToPty();
  bool FlushToSocket();
  void SendFlowCharacter(std::uint8_t character);
  void UpdateInterest();
  // Tells the trace; callers test trace_ first, so that an untraced port builds nothing. A
  // datagram from `sender` goes to the local endpoint; anything else from it to the remote.
  void Emit(TraceKind kind, std::span<const std::uint8_t> data = {}, std::uint64_t count = 0,
            const net::Endpoint* sender = nullptr);

  Poller& poller_;
  std::string name_;
  PortOptions options_;
  std::unique_ptr<PortIo> io_;
  PortLink link_;
  bool held_ = false;
  // The port saw its last program leave; that program's close may still wait in the open
  // watch's queue, and must not be taken for another program's (DeviceTouched).
  bool own_close_due_ = false;
  Poller::WatchId pty_watch_ = 0;  // only while held: an unheld master reports hang-up always
  Poller::WatchId socket_watch_ = 0;

  std::optional<PortSettings> settings_;
  FlowControl flow_ = FlowControl::Hardware();
  bool stopped_terminal_ = false;
  bool program_stopped_ = false;
  std::optional<std::uint8_t> owed_flow_character_;  // could not be sent yet
  std::uint64_t dropped_before_ = 0;                 // by sockets closed earlier
  net::Endpoint local_;                              // the socket's, while connected
  TraceSink* trace_ = nullptr;

  std::shared_ptr<std::vector<std::uint8_t>> scratch_;  // what a read gives, for the moment
  // Read from the pty, not yet taken by the socket (one datagram).
  std::vector<std::uint8_t> to_socket_;
  // Received from the remote, not yet taken by the pty; to_pty_offset_ is what went already.
  std::vector<std::uint8_t> to_pty_;
  std::size_t to_pty_offset_ = 0;

  PortCounters counters_;
  std::function<void(VirtualPort&)> on_change_;
  std::function<void(VirtualPort&)> on_pty_replaced_;
  std::function<void(VirtualPort&, const runtime::Status&)> on_freshen_failed_;
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_PORT_H_
