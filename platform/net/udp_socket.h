// A non-blocking IPv4 UDP socket bound to a local endpoint, for the driver daemon's relay and its
// tests. Owns its descriptor (move-only). Errors come back as errno values, never as exceptions,
// because a failed bind is an ordinary answer to a connect command. One thread at a time.
#ifndef KETRA_PLATFORM_NET_UDP_SOCKET_H_
#define KETRA_PLATFORM_NET_UDP_SOCKET_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "platform/runtime/fd.h"

namespace ketra::net {

// An IPv4 address in host byte order (127.0.0.1 is 0x7F000001) and a port.
struct Endpoint {
  std::uint32_t address = 0;
  std::uint16_t port = 0;

  friend bool operator==(const Endpoint&, const Endpoint&) = default;
  std::string ToString() const;  // "127.0.0.1:3000"
};

inline constexpr std::uint32_t kLoopbackAddress = 0x7F000001u;
inline constexpr std::uint32_t kAnyAddress = 0;

class UdpSocket {
 public:
  UdpSocket() = default;
  // Takes over a bound socket (one handed back across a restart).
  explicit UdpSocket(runtime::Fd fd) : fd_(std::move(fd)) {}

  // Opens a socket bound to `local` (port 0 picks a free one). Returns 0 or the errno of the
  // step that failed. No address reuse: a port held by another socket is a conflict.
  int Open(const Endpoint& local);

  bool is_open() const { return fd_.valid(); }
  int fd() const { return fd_.get(); }
  Endpoint LocalEndpoint() const;

  // Bytes sent, or -errno (-EAGAIN when the send buffer is full).
  long SendTo(std::span<const std::uint8_t> data, const Endpoint& to);
  // Size of one datagram received, or -errno (-EAGAIN when none waits). A datagram larger than
  // the buffer is cut.
  long ReceiveFrom(std::span<std::uint8_t> buffer, Endpoint* from);
  // The same; when the kernel counts drops (CountDrops), *dropped receives its running count of
  // datagrams this socket lost to a full receive buffer.
  long ReceiveFrom(std::span<std::uint8_t> buffer, Endpoint* from, std::uint32_t* dropped);
  // Asks the kernel to count the datagrams it drops for a full receive buffer (SO_RXQ_OVFL).
  void CountDrops();
  // The kernel's running count of datagrams this socket dropped, read now (SO_MEMINFO's
  // SK_MEMINFO_DROPS, the count SO_RXQ_OVFL tells): a burst that ends in drops brings no later
  // datagram to tell it. 0 when the kernel cannot say.
  std::uint32_t DropCount() const;

  // Asks the kernel for larger buffers; a refusal is harmless, so it reports nothing.
  void SetBufferSizes(int receive_bytes, int send_bytes);

  // 0, or the errno of a close that reported an error.
  int Close() { return fd_.Reset(); }

 private:
  runtime::Fd fd_;
};

}  // namespace ketra::net

#endif  // KETRA_PLATFORM_NET_UDP_SOCKET_H_
