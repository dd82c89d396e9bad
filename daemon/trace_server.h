// The readers of ports' traces (`ketra-vspd trace PORT`): a control connection that asked for a
// port's trace is handed over here, and from then on gets each of the port's events as a trace
// record. A port is traced (has a sink) only while someone reads its trace.
//
// A slow reader never slows the port: records go out without blocking, what the reader's socket
// does not take waits here up to kQueueLimit bytes, and what does not fit is left out and
// counted; once there is room again the reader gets a record saying how many events it missed.
// Anything the reader sends, or its hang-up, ends its trace.
//
// Owns the readers' connections and the ports' sinks; the ports outlive it (it detaches from
// them when it goes). Single-threaded (the loop's).
#ifndef KETRA_DAEMON_TRACE_SERVER_H_
#define KETRA_DAEMON_TRACE_SERVER_H_

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "daemon/event_loop.h"
#include "daemon/port.h"
#include "platform/runtime/fd.h"

namespace ketra::vspd {

class TraceServer {
 public:
  static constexpr std::size_t kMaxReaders = 16;
  static constexpr std::size_t kQueueLimit = 4 << 20;  // bytes waiting for one reader

  explicit TraceServer(Poller& poller) : poller_(poller) {}
  TraceServer(const TraceServer&) = delete;
  TraceServer& operator=(const TraceServer&) = delete;
  ~TraceServer();

  // Takes `connection`, which asked for `port`'s trace: answers it (error 0, or a refusal when
  // kMaxReaders read already) and from then on sends it the port's events.
  void Attach(VirtualPort& port, runtime::Fd connection, const std::string& peer);
  std::size_t reader_count() const { return readers_.size(); }

 private:
  struct Reader {
    runtime::Fd fd;
    Poller::WatchId watch = 0;
    VirtualPort* port = nullptr;
    std::string peer;
    std::deque<std::vector<std::uint8_t>> queue;
    std::size_t queued_bytes = 0;
    std::uint64_t left_out = 0;  // events not sent since the last notice
  };
  // A port's sink: each event to each of its readers.
  class Fanout final : public TraceSink {
   public:
    explicit Fanout(TraceServer& server) : server_(server) {}
    void Record(const TraceEvent& event) override;
    std::vector<std::uint64_t> readers;

   private:
    TraceServer& server_;
  };

  // Sends `message` or keeps it, or leaves it out when the reader is too far behind.
  void Deliver(Reader& reader, std::vector<std::uint8_t> message);
  // Sends what waits; false when the reader went.
  bool Flush(std::uint64_t id);
  void OnEvents(std::uint64_t id, std::uint32_t events);
  void Remove(std::uint64_t id);

  Poller& poller_;
  std::map<std::uint64_t, Reader> readers_;
  std::map<VirtualPort*, std::unique_ptr<Fanout>> fanouts_;
  std::uint64_t next_id_ = 1;
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_TRACE_SERVER_H_
