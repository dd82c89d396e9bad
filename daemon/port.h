// One virtual port: its pty and link, and, while connected, the UDP socket on its local port and
// the relay between the two. Bytes a program writes into the pty go to the remote endpoint in
// datagrams (one per read, at most max_datagram bytes); datagrams from the remote endpoint come
// out of the pty. Datagrams from any other sender are dropped and counted. With software flow
// the terminal's XOFF stops the relay from the pty until its XON.
//
// Nothing is lost inside the relay: when the far side is slow (a full UDP send buffer, a pty
// whose reader lags) the relay stops reading the near side until it can write again, so the
// kernel's buffers and the writer's blocking carry the back-pressure. While not connected the
// bytes written into the pty are read and discarded (counted), as a serial line with nothing
// attached would lose them.
//
// Owns the pty, the link, the socket and its watches in the loop. Single-threaded (the loop's).
#ifndef KETRA_DAEMON_PORT_H_
#define KETRA_DAEMON_PORT_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "daemon/event_loop.h"
#include "daemon/flow_control.h"
#include "daemon/port_link.h"
#include "daemon/port_settings.h"
#include "daemon/pty.h"
#include "platform/net/udp_socket.h"

namespace ketra::vspd {

struct PortOptions {
  std::string link_directory;
  std::string group = "dialout";
  std::uint32_t bind_address = net::kAnyAddress;
  std::size_t max_datagram = 8192;
  int socket_buffer_bytes = 4 << 20;
};

struct PortCounters {
  std::uint64_t bytes_to_udp = 0;
  std::uint64_t datagrams_to_udp = 0;
  std::uint64_t bytes_to_pty = 0;
  std::uint64_t datagrams_from_udp = 0;
  std::uint64_t stranger_datagrams = 0;
  std::uint64_t stranger_bytes = 0;
  std::uint64_t discarded_bytes = 0;  // written into the pty while not connected
  std::uint64_t send_errors = 0;      // datagrams the kernel refused (not for a full buffer)
};

class VirtualPort {
 public:
  // Opens the pty and makes the link; throws std::runtime_error or std::system_error.
  VirtualPort(EventLoop& loop, std::string name, const PortOptions& options);
  VirtualPort(const VirtualPort&) = delete;
  VirtualPort& operator=(const VirtualPort&) = delete;
  ~VirtualPort();

  // 112 connected, 15 already connected, 21 the socket or its bind failed, 87 unusable settings.
  std::uint8_t Connect(const PortSettings& settings);
  // 113 disconnected, 0 not connected, 22 the socket's release reported an error.
  std::uint8_t Disconnect();

  const std::string& name() const { return name_; }
  const std::string& link_path() const { return link_.path(); }
  const std::string& pty_path() const { return pty_.slave_path(); }
  bool connected() const { return socket_.is_open(); }
  bool paused() const { return flow_.paused(); }
  const std::optional<PortSettings>& settings() const { return settings_; }
  net::Endpoint local_endpoint() const { return socket_.LocalEndpoint(); }
  const PortCounters& counters() const { return counters_; }
  // The reason of the last refused or failed connect, for the log.
  const std::string& last_problem() const { return last_problem_; }

 private:
  void OnPtyEvents(std::uint32_t events);
  void OnSocketEvents(std::uint32_t events);
  void RelayFromPty();
  void RelayFromSocket();
  bool FlushToPty();
  bool FlushToSocket();
  void UpdateInterest();

  EventLoop& loop_;
  std::string name_;
  PortOptions options_;
  std::string last_problem_;  // before pty_: opening the pty may leave a warning here
  Pty pty_;
  PortLink link_;
  EventLoop::WatchId pty_watch_ = 0;

  net::UdpSocket socket_;
  EventLoop::WatchId socket_watch_ = 0;
  std::optional<PortSettings> settings_;
  FlowControl flow_ = FlowControl::Hardware();

  std::vector<std::uint8_t> buffer_;
  // Read from the pty, not yet taken by the socket (one datagram).
  std::vector<std::uint8_t> to_socket_;
  // Received from the remote, not yet taken by the pty; to_pty_offset_ is what went already.
  std::vector<std::uint8_t> to_pty_;
  std::size_t to_pty_offset_ = 0;

  PortCounters counters_;
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_PORT_H_
