// What a port tells a trace: each datagram that leaves toward the terminal or arrives from it
// (with its endpoints and bytes, so datagram boundaries show), each datagram from a stranger,
// the program's opens and closes, connects and disconnects, flushes, XOFF and XON each way, and
// each loss with its kind. The port calls its TraceSink only while one is attached (one pointer
// test per place otherwise: no copy, no allocation on the data path); the event refers to the
// port's own buffers, so a sink copies what it keeps before it returns.
//
// The kinds' numbers travel on the control socket (trace_record.h): add, never renumber.
#ifndef KETRA_DAEMON_PORT_TRACE_H_
#define KETRA_DAEMON_PORT_TRACE_H_

#include <cstdint>
#include <span>

#include "platform/net/udp_socket.h"

namespace ketra::vspd {

enum class TraceKind : std::uint8_t {
  kToTerminal = 1,    // a datagram sent: the program's bytes (from = local, to = remote)
  kFromTerminal = 2,  // a datagram from the terminal, as it came (before XON/XOFF are taken out)
  kStranger = 3,      // a datagram from another sender, dropped
  kOpen = 4,          // a program opened the port
  kClose = 5,         // the last program closed it
  kConnect = 6,       // the UDP side was bound (from = local, to = remote)
  kDisconnect = 7,
  kFlushInput = 8,     // the program flushed its input: count bytes discarded
  kFlushOutput = 9,    // the program flushed its output: count bytes discarded
  kTerminalXoff = 10,  // the terminal's XOFF: nothing goes toward it until its XON
  kTerminalXon = 11,
  kSentXoff = 12,  // the port sent the terminal XOFF (a datagram of that one byte)
  kSentXon = 13,
  // Losses; count says how many bytes, or datagrams for kLostKernelDrop.
  kLostKernelDrop = 20,  // datagrams the kernel dropped for a full receive buffer
  kLostUnheld = 21,      // bytes from the terminal while no program held the port
  kLostDiscarded = 22,   // the program's bytes while not connected (data: the bytes)
  kLostSendError = 23,   // a datagram the kernel refused to send (data: its bytes)
  kLostPtyError = 24,    // bytes the pty refused for good
  // Said by the trace itself: count events left out because the reader was too slow.
  kTraceDropped = 30,
};

struct TraceEvent {
  TraceKind kind;
  std::span<const std::uint8_t> data;
  net::Endpoint from;
  net::Endpoint to;
  std::uint64_t count = 0;
};

class TraceSink {
 public:
  virtual ~TraceSink() = default;
  virtual void Record(const TraceEvent& event) = 0;
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_PORT_TRACE_H_
