#include "daemon/trace_client.h"

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>

#include "daemon/pcapng.h"
#include "platform/device/vspd_device.h"
#include "platform/device/vspd_protocol.h"

namespace ketra::vspd {
namespace wire = ::ketra::device::wire;
namespace {

std::string TimeText(std::uint64_t time_ns) {
  const auto seconds = static_cast<std::time_t>(time_ns / 1'000'000'000u);
  std::tm utc{};
  ::gmtime_r(&seconds, &utc);
  char text[64];
  const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &utc);
  std::snprintf(text + length, sizeof text - length, ".%06u",
                static_cast<unsigned>(time_ns % 1'000'000'000u / 1000));
  return text;
}

std::string HexDump(std::span<const std::uint8_t> data) {
  std::string out;
  char part[24];
  for (std::size_t line = 0; line < data.size(); line += 16) {
    std::snprintf(part, sizeof part, "%04zx", line);
    out += std::string("    ") + part + " ";
    for (std::size_t i = line; i < line + 16; ++i) {
      if (i < data.size()) {
        std::snprintf(part, sizeof part, " %02x", data[i]);
        out += part;
      } else {
        out += "   ";
      }
    }
    out += "  |";
    for (std::size_t i = line; i < line + 16 && i < data.size(); ++i) {
      out += data[i] >= 0x20 && data[i] < 0x7F ? static_cast<char>(data[i]) : '.';
    }
    out += "|\n";
  }
  return out;
}

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

bool Write(std::FILE* file, const std::vector<std::uint8_t>& bytes) {
  return std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size() && std::fflush(file) == 0;
}

bool WritePcap(std::FILE* file, const TimedTraceEvent& timed) {
  const TraceEvent& event = timed.event;
  if (!IsDatagram(event.kind)) {
    return Write(file, PcapngNote(timed.time_ns, DescribeTraceEvent(event)));
  }
  const bool plain = event.kind == TraceKind::kToTerminal || event.kind == TraceKind::kFromTerminal;
  return Write(file, PcapngDatagram(timed.time_ns, event.from, event.to, event.data,
                                    plain ? std::string() : DescribeTraceEvent(event)));
}

// Blocks SIGINT and SIGTERM and gives them as a descriptor, so the loop can wait for either.
runtime::Fd StopSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  sigaddset(&set, SIGTERM);
  ::sigprocmask(SIG_BLOCK, &set, nullptr);
  return runtime::Fd(::signalfd(-1, &set, SFD_CLOEXEC));
}

}  // namespace

std::string FormatTraceEvent(const std::string& port, const TimedTraceEvent& timed) {
  return TimeText(timed.time_ns) + " " + port + " " + DescribeTraceEvent(timed.event) + "\n" +
         HexDump(timed.event.data);
}

int RunTrace(const std::string& socket_path, const std::string& port, const std::string& pcap_path,
             std::ostream& out, std::ostream& err) {
  std::unique_ptr<std::FILE, FileCloser> pcap;
  if (!pcap_path.empty()) {
    pcap.reset(std::fopen(pcap_path.c_str(), "wb"));
    if (!pcap || !Write(pcap.get(), PcapngHead(port))) {
      err << "ketra-vspd: cannot write " << pcap_path << ": " << std::strerror(errno) << "\n";
      return 1;
    }
  }
  const runtime::Fd stop = StopSignals();
  auto opened = device::OpenVspdTrace(socket_path, port, device::kDefaultVspdAnswerTimeout);
  if (!opened.ok()) {
    err << "ketra-vspd: " << opened.status().message() << "\n";
    return 1;
  }
  const runtime::Fd trace = std::move(opened).value();
  err << "tracing " << port << " (Ctrl-C ends)\n";
  std::vector<std::uint8_t> buffer(wire::kMaxMessageSize);
  for (;;) {
    pollfd watch[2] = {{trace.get(), POLLIN, 0}, {stop.get(), POLLIN, 0}};
    if (::poll(watch, 2, -1) < 0) {
      if (errno == EINTR) continue;
      break;
    }
    if ((watch[1].revents & POLLIN) != 0) break;
    const ssize_t size = ::recv(trace.get(), buffer.data(), buffer.size(), 0);
    if (size <= 0) {
      err << "ketra-vspd: the daemon ended the trace\n";
      break;
    }
    wire::ParseError error = wire::ParseError::kNone;
    const auto reply =
        wire::ParseReply(std::span(buffer.data(), static_cast<std::size_t>(size)), &error);
    const auto* record = reply ? std::get_if<wire::TraceRecord>(&*reply) : nullptr;
    const auto timed = record != nullptr ? ParseTraceRecord(record->bytes) : std::nullopt;
    if (!timed) {
      err << "ketra-vspd: the daemon sent something other than a trace record\n";
      return 1;
    }
    out << FormatTraceEvent(port, *timed) << std::flush;
    if (pcap && !WritePcap(pcap.get(), *timed)) {
      err << "ketra-vspd: cannot write " << pcap_path << ": " << std::strerror(errno) << "\n";
      return 1;
    }
  }
  return 0;
}

}  // namespace ketra::vspd
