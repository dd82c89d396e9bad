// The system calls of one virtual port, as the relay sees them: the pty master that the daemon
// reads and writes, what the program does to its side (the master is in packet mode, so flushes
// and stop/start reach it as events, while the program's side stays an ordinary tty), whether a
// program holds the port's device open, and the UDP socket toward the terminal. The relay in
// port.cpp goes through this interface only, so that its tests reach every branch (EAGAIN, ENOBUFS,
// EIO, short writes, a full receive buffer) on demand with the fake of port_io_fake.h; the real one
// is in port_io_posix.cpp.
//
// Results follow the kernel's: a count of bytes, or -errno. An implementation owns its pty, its
// socket and its wake-up descriptor. Single-threaded.
#ifndef KETRA_DAEMON_PORT_IO_H_
#define KETRA_DAEMON_PORT_IO_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "platform/net/udp_socket.h"
#include "platform/runtime/fd.h"
#include "platform/runtime/status.h"

namespace ketra::vspd {

// What the program did to its side of the pty, as bits: told to the master before any data
// the program wrote after it.
enum PtyEvent : std::uint8_t {
  kInputFlushed = 1,   // tcflush(TCIFLUSH or TCIOFLUSH), or a signal character that flushes
  kOutputFlushed = 2,  // tcflush(TCOFLUSH or TCIOFLUSH)
  kOutputStopped = 4,  // tcflow(TCOOFF), or a STOP character received with IXON
  kOutputStarted = 8,  // tcflow(TCOON), or a START character
};

// The line as the program set it (tcsetattr), read from the pty. A pty keeps the speed, stop
// bits and flow flags as set, but the kernel's pty driver stores every request with 8 data bits
// and parity off before anyone can read it: the data bits asked for are never visible, and of
// the parity only the flags it leaves (PARODD, CMSPAR) tell odd, mark or space from none or even.
struct ProgramLine {
  std::uint32_t speed = 0;      // bits per second, 0 for B0
  int data_bits = 8;            // as the pty holds it (8 on Linux, whatever was asked)
  bool parity_enabled = false;  // PARENB as the pty holds it (off on Linux)
  bool parity_odd = false;      // PARODD
  bool parity_stick = false;    // CMSPAR (mark or space)
  int stop_bits = 1;
  bool xon_xoff_output = false;  // IXON: the program's output obeys START/STOP
  bool xon_xoff_input = false;   // IXOFF: the pty sends START/STOP for the program's input
  bool rts_cts = false;          // CRTSCTS
};

class PortIo {
 public:
  virtual ~PortIo() = default;

  // --- The pty.
  // The master, watched by the loop while a program holds the port.
  virtual int pty_fd() const = 0;
  // The device that programs open, "/dev/pts/N".
  virtual const std::string& pty_path() const = 0;
  // What a program wrote: bytes read (0 when the read brought only events), -EAGAIN when nothing
  // waits, -EIO when no program holds the port and everything it wrote has been read. *events
  // receives the PtyEvent bits the read brought (0 with data).
  virtual long ReadPty(std::span<std::uint8_t> buffer, std::uint8_t* events) = 0;
  // The PtyEvent bits waiting, taken without taking any data (0 when none wait).
  virtual std::uint8_t TakePtyEvents() = 0;
  // Discards what the program wrote that waits in the master; returns how many bytes.
  virtual std::size_t DiscardProgramOutput() = 0;
  // The program's line settings, or nullopt when they cannot be read.
  virtual std::optional<ProgramLine> ReadProgramLine() = 0;
  // Toward the program: bytes taken (possibly fewer than offered), -EAGAIN when the pty's input
  // queue is full, or another -errno.
  virtual long WritePty(std::span<const std::uint8_t> data) = 0;
  // Whether any program holds the port's device open now.
  virtual bool Held() = 0;
  // After the last program closed the device: gives the next one a fresh port (no input left
  // unread, output not stopped, not exclusive, the port's own termios: raw, 115200 bits/s, 8N1,
  // no flow, start/stop characters ^Q/^S). The device is opened read-only for it, so that its
  // close is never taken for a program's (OpenWatch watches closes after writing). `status` is
  // ok or says what could not be done, for the log; `reopen_error` is the errno when the device
  // could not be reopened at all (EBUSY: left exclusive, and the daemon lacks CAP_SYS_ADMIN).
  struct Freshened {
    runtime::Status status;
    int reopen_error = 0;
  };
  virtual Freshened Freshen() = 0;
  // Gives the port a new pty in place of one that cannot be made fresh: fresh settings, the old
  // one's owner group and mode; the socket stays. pty_fd() and pty_path() change; the old master is
  // closed, with what it still held. Only while no program holds the device. Returns ok or why it
  // failed (the old pty then stays).
  virtual runtime::Status ReplacePty() = 0;

  // --- The UDP socket toward the terminal.
  // Binds a socket to `local`; 0 or the errno of the step that failed. The kernel is asked to
  // count the datagrams it drops for a full receive buffer.
  virtual int OpenSocket(const net::Endpoint& local, int buffer_bytes) = 0;
  // 0, or the errno of a close that reported an error (the socket is gone either way).
  virtual int CloseSocket() = 0;
  virtual bool socket_open() const = 0;
  virtual int socket_fd() const = 0;
  virtual net::Endpoint LocalEndpoint() const = 0;
  // Bytes sent, or -errno (-EAGAIN or -ENOBUFS while the send side is full).
  virtual long SendTo(std::span<const std::uint8_t> data, const net::Endpoint& to) = 0;
  // One datagram: its size, or -errno (-EAGAIN when none waits). *dropped receives the kernel's
  // running count of datagrams this socket lost to a full receive buffer, as it stood when this
  // datagram was queued (so drops show with the first datagram after them).
  virtual long ReceiveFrom(std::span<std::uint8_t> buffer, net::Endpoint* from,
                           std::uint32_t* dropped) = 0;
  // Whether a datagram waits to be received, without taking it.
  virtual bool DatagramWaiting() = 0;
  // The kernel's running count of datagrams the socket lost to a full receive buffer, read now
  // (the count ReceiveFrom tells only with a later datagram); 0 without a socket.
  virtual std::uint32_t SocketDrops() const = 0;

  // --- Handing over across a restart: the descriptors themselves.
  virtual runtime::Fd DuplicatePty() const = 0;
  virtual runtime::Fd DuplicateSocket() const = 0;
};

// The real port: a new pty (raw, 115200 bits/s, mode 0660, group `group` when it can be given;
// *warning says when it cannot), or the master handed back by the service manager; either in
// packet mode. A new pty may come with a socket that the service manager kept (a connection that
// outlived its pty).
// Throws std::system_error when no pty can be had.
std::unique_ptr<PortIo> OpenPosixPortIo(const std::string& group, std::string* warning,
                                        runtime::Fd socket = {});
std::unique_ptr<PortIo> AdoptPosixPortIo(runtime::Fd master, runtime::Fd socket);

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_PORT_IO_H_
