// One event of a port's trace as it travels from the daemon to `ketra-vspd trace` (the payload
// of a trace record message, platform/device/vspd_protocol.h). Little-endian:
//   u64 time (ns since the epoch, CLOCK_REALTIME)   u8 kind (TraceKind)   3 bytes zero
//   u32 from address  u16 from port  u32 to address  u16 to port   (addresses in host order,
//   127.0.0.1 as 0x7F000001)   u64 count   4 bytes zero (36 in all), then the datagram's or the
//   bytes' data.
// Pure functions; thread-safe.
#ifndef KETRA_DAEMON_TRACE_RECORD_H_
#define KETRA_DAEMON_TRACE_RECORD_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "daemon/port_trace.h"

namespace ketra::vspd {

inline constexpr std::size_t kTraceRecordHead = 36;

void AppendTraceRecord(std::vector<std::uint8_t>& out, std::uint64_t time_ns,
                       const TraceEvent& event);

// A record read back; `event.data` refers into the bytes it was read from.
struct TimedTraceEvent {
  std::uint64_t time_ns = 0;
  TraceEvent event{};
};
// nullopt for a record too short for its head.
std::optional<TimedTraceEvent> ParseTraceRecord(std::span<const std::uint8_t> record);

// Whether the event is a datagram on the UDP side (it has a datagram's endpoints and bytes).
bool IsDatagram(TraceKind kind);
// What the event is, in words, without its bytes: "program->terminal 5 bytes 127.0.0.1:4000 ->
// 127.0.0.1:5000", "LOSS unheld: 12 bytes from the terminal while no program held the port".
std::string DescribeTraceEvent(const TraceEvent& event);

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_TRACE_RECORD_H_
