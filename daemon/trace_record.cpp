#include "daemon/trace_record.h"

namespace ketra::vspd {
namespace {

void Put(std::vector<std::uint8_t>& out, std::uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

std::uint64_t Get(std::span<const std::uint8_t> in, std::size_t at, int bytes) {
  std::uint64_t value = 0;
  for (int i = 0; i < bytes; ++i) value |= std::uint64_t{in[at + i]} << (8 * i);
  return value;
}

std::string Route(const TraceEvent& event) {
  return event.from.ToString() + " -> " + event.to.ToString();
}

std::string Count(std::uint64_t count, const char* unit) {
  return std::to_string(count) + " " + unit;
}

}  // namespace

void AppendTraceRecord(std::vector<std::uint8_t>& out, std::uint64_t time_ns,
                       const TraceEvent& event) {
  out.reserve(out.size() + kTraceRecordHead + event.data.size());
  Put(out, time_ns, 8);
  Put(out, static_cast<std::uint8_t>(event.kind), 4);
  Put(out, event.from.address, 4);
  Put(out, event.from.port, 2);
  Put(out, event.to.address, 4);
  Put(out, event.to.port, 2);
  Put(out, event.count, 8);
  Put(out, 0, 4);  // room to grow, zero for now
  out.insert(out.end(), event.data.begin(), event.data.end());
}

std::optional<TimedTraceEvent> ParseTraceRecord(std::span<const std::uint8_t> record) {
  if (record.size() < kTraceRecordHead) return std::nullopt;
  TimedTraceEvent timed;
  timed.time_ns = Get(record, 0, 8);
  timed.event.kind = static_cast<TraceKind>(record[8]);
  timed.event.from = {static_cast<std::uint32_t>(Get(record, 12, 4)),
                      static_cast<std::uint16_t>(Get(record, 16, 2))};
  timed.event.to = {static_cast<std::uint32_t>(Get(record, 18, 4)),
                    static_cast<std::uint16_t>(Get(record, 22, 2))};
  timed.event.count = Get(record, 24, 8);
  timed.event.data = record.subspan(kTraceRecordHead);
  return timed;
}

bool IsDatagram(TraceKind kind) {
  switch (kind) {
    case TraceKind::kToTerminal:
    case TraceKind::kFromTerminal:
    case TraceKind::kStranger:
    case TraceKind::kSentXoff:
    case TraceKind::kSentXon:
    case TraceKind::kLostSendError:
      return true;
    default:
      return false;
  }
}

std::string DescribeTraceEvent(const TraceEvent& event) {
  const std::string bytes = Count(event.data.size(), "bytes");
  switch (event.kind) {
    case TraceKind::kToTerminal:
      return "program->terminal datagram " + bytes + " " + Route(event);
    case TraceKind::kFromTerminal:
      return "terminal->program datagram " + bytes + " " + Route(event);
    case TraceKind::kStranger:
      return "stranger datagram " + bytes + " " + Route(event) + ", dropped";
    case TraceKind::kOpen:
      return "open: a program opened the port";
    case TraceKind::kClose:
      return "close: the last program closed the port";
    case TraceKind::kConnect:
      return "connect " + Route(event);
    case TraceKind::kDisconnect:
      return "disconnect " + Route(event);
    case TraceKind::kFlushInput:
      return "flush of the program's input: " + Count(event.count, "bytes") + " discarded";
    case TraceKind::kFlushOutput:
      return "flush of the program's output: " + Count(event.count, "bytes") + " discarded";
    case TraceKind::kTerminalXoff:
      return "XOFF from the terminal: nothing goes toward it until its XON";
    case TraceKind::kTerminalXon:
      return "XON from the terminal: the program's bytes go on";
    case TraceKind::kSentXoff:
      return "XOFF to the terminal (the program reads slower than it sends) " + Route(event);
    case TraceKind::kSentXon:
      return "XON to the terminal " + Route(event);
    case TraceKind::kLostKernelDrop:
      return "LOSS kernel-drop: " + Count(event.count, "datagrams") +
             " dropped by the kernel (receive buffer full)";
    case TraceKind::kLostUnheld:
      return "LOSS unheld: " + Count(event.count, "bytes") +
             " from the terminal while no program held the port";
    case TraceKind::kLostDiscarded:
      return "LOSS discarded: " + Count(event.count, "bytes") +
             " from the program while not connected";
    case TraceKind::kLostSendError:
      return "LOSS send-error: a datagram of " + bytes + " the kernel refused to send " +
             Route(event);
    case TraceKind::kLostPtyError:
      return "LOSS pty-error: " + Count(event.count, "bytes") + " the pty refused";
    case TraceKind::kTraceDropped:
      return "TRACE: " + Count(event.count, "events") +
             " left out here: this reader did not keep up";
  }
  return "event of unknown kind " + std::to_string(static_cast<int>(event.kind));
}

}  // namespace ketra::vspd
