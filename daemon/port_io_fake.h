// Fakes for the relay's tests: a PortIo whose program, terminal and kernel are plain fields, with
// failures (EAGAIN, ENOBUFS, EIO, short writes, a bind that fails) on demand, and a Poller that
// runs a watch's callback when the test fires it. No descriptor, no clock: every branch of the
// relay is reached by setting a field and firing an event. Single-threaded.
#ifndef KETRA_DAEMON_PORT_IO_FAKE_H_
#define KETRA_DAEMON_PORT_IO_FAKE_H_

#include <cerrno>
#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "daemon/event_loop.h"
#include "daemon/port_io.h"

namespace ketra::vspd {

class FakePortIo final : public PortIo {
 public:
  using Bytes = std::vector<std::uint8_t>;
  struct Datagram {
    Bytes bytes;
    net::Endpoint peer;
    friend bool operator==(const Datagram&, const Datagram&) = default;
  };
  enum class Call { kReadPty, kWritePty, kOpenSocket, kCloseSocket, kSendTo, kReceiveFrom };
  static constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();
  static constexpr int kPtyFd = 1000, kSocketFd = 1002;

  // The next `times` calls of `call` fail with `error` (as -error, or error for the socket's
  // open and close).
  void FailNext(Call call, int error, int times = 1) {
    for (int i = 0; i < times; ++i) failures_[call].push_back(error);
  }

  // The program on the pty.
  bool held = false;
  std::deque<Bytes> from_program;     // one chunk per ReadPty (cut to the buffer)
  std::uint8_t pty_events = 0;        // PtyEvent bits told before any data, as packet mode does
  Bytes to_program;                   // everything WritePty took
  std::size_t pty_room = kUnlimited;  // bytes WritePty takes before -EAGAIN
  int freshened = 0;
  Freshened freshen_result;     // what every Freshen reports
  int replaced = 0;             // ReplacePty calls that succeeded
  std::string replace_problem;  // "" or why ReplacePty fails
  // The terminal and the kernel.
  std::deque<Datagram> from_terminal;
  std::vector<Datagram> sent;
  std::uint32_t kernel_dropped = 0;  // told with every datagram received, and when asked
  net::Endpoint local{0x7F000001u, 0};

  int pty_fd() const override { return kPtyFd; }
  const std::string& pty_path() const override { return path_; }
  long ReadPty(std::span<std::uint8_t> buffer, std::uint8_t* events) override {
    *events = 0;
    if (const auto error = TakeFailure(Call::kReadPty)) return -*error;
    if (pty_events != 0) {
      *events = std::exchange(pty_events, 0);
      return 0;
    }
    if (from_program.empty()) return held ? -EAGAIN : -EIO;
    Bytes& chunk = from_program.front();
    const std::size_t size = std::min(buffer.size(), chunk.size());
    std::copy_n(chunk.begin(), size, buffer.begin());
    chunk.erase(chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(size));
    if (chunk.empty()) from_program.pop_front();
    return static_cast<long>(size);
  }
  long WritePty(std::span<const std::uint8_t> data) override {
    if (const auto error = TakeFailure(Call::kWritePty)) return -*error;
    if (pty_room == 0) return -EAGAIN;
    const std::size_t size = std::min(data.size(), pty_room);
    to_program.insert(to_program.end(), data.begin(), data.begin() + static_cast<long>(size));
    if (pty_room != kUnlimited) pty_room -= size;
    return static_cast<long>(size);
  }
  std::uint8_t TakePtyEvents() override { return std::exchange(pty_events, 0); }
  std::size_t DiscardProgramOutput() override {
    std::size_t size = 0;
    for (const Bytes& chunk : from_program) size += chunk.size();
    from_program.clear();
    return size;
  }
  std::optional<ProgramLine> ReadProgramLine() override { return std::nullopt; }
  bool Held() override { return held; }
  Freshened Freshen() override {
    ++freshened;
    // As the real one: its own flush of the input reaches the master.
    pty_events |= kInputFlushed;
    return freshen_result;
  }
  runtime::Status ReplacePty() override {
    if (!replace_problem.empty()) return runtime::Status::IoError(replace_problem);
    ++replaced;
    path_ = "/dev/pts/fake" + std::to_string(replaced);
    return runtime::Status::Ok();
  }

  int OpenSocket(const net::Endpoint& endpoint, int) override {
    if (const auto error = TakeFailure(Call::kOpenSocket)) return *error;
    local = endpoint;
    socket_open_ = true;
    return 0;
  }
  int CloseSocket() override {
    socket_open_ = false;
    return TakeFailure(Call::kCloseSocket).value_or(0);
  }
  bool socket_open() const override { return socket_open_; }
  int socket_fd() const override { return kSocketFd; }
  net::Endpoint LocalEndpoint() const override { return socket_open_ ? local : net::Endpoint{}; }
  long SendTo(std::span<const std::uint8_t> data, const net::Endpoint& to) override {
    if (const auto error = TakeFailure(Call::kSendTo)) return -*error;
    sent.push_back({Bytes(data.begin(), data.end()), to});
    return static_cast<long>(data.size());
  }
  long ReceiveFrom(std::span<std::uint8_t> buffer, net::Endpoint* from,
                   std::uint32_t* dropped) override {
    if (const auto error = TakeFailure(Call::kReceiveFrom)) return -*error;
    if (from_terminal.empty()) return -EAGAIN;
    const Datagram datagram = from_terminal.front();
    from_terminal.pop_front();
    const std::size_t size = std::min(buffer.size(), datagram.bytes.size());
    std::copy_n(datagram.bytes.begin(), size, buffer.begin());
    *from = datagram.peer;
    *dropped = kernel_dropped;
    return static_cast<long>(size);
  }
  bool DatagramWaiting() override { return !from_terminal.empty(); }
  std::uint32_t SocketDrops() const override { return socket_open_ ? kernel_dropped : 0; }
  runtime::Fd DuplicatePty() const override { return runtime::Fd(); }
  runtime::Fd DuplicateSocket() const override { return runtime::Fd(); }

 private:
  std::optional<int> TakeFailure(Call call) {
    auto& queue = failures_[call];
    if (queue.empty()) return std::nullopt;
    const int error = queue.front();
    queue.pop_front();
    return error;
  }

  std::string path_ = "/dev/pts/fake";
  bool socket_open_ = false;
  std::map<Call, std::deque<int>> failures_;
};

class FakePoller final : public Poller {
 public:
  WatchId Add(int fd, std::uint32_t events, Callback callback) override {
    watches_[next_] = Watch{fd, events, std::move(callback)};
    return next_++;
  }
  void Modify(WatchId id, std::uint32_t events) override {
    if (auto found = watches_.find(id); found != watches_.end()) found->second.events = events;
  }
  void Remove(WatchId id) override { watches_.erase(id); }

  // What the watch on `fd` waits for, or nullopt when nothing watches it.
  std::optional<std::uint32_t> Interest(int fd) const {
    for (const auto& [id, watch] : watches_) {
      if (watch.fd == fd) return watch.events;
    }
    return std::nullopt;
  }
  // Runs the callback of the watch on `fd` as epoll would: only with the events it waits for,
  // plus hang-up and error, which epoll always reports. False when nothing would run.
  bool Fire(int fd, std::uint32_t events) {
    for (const auto& [id, watch] : watches_) {
      if (watch.fd != fd) continue;
      const std::uint32_t ready = events & (watch.events | kHangUp | kFault);
      if (ready == 0) return false;
      const Callback callback = watch.callback;
      callback(ready);
      return true;
    }
    return false;
  }

 private:
  struct Watch {
    int fd;
    std::uint32_t events;
    Callback callback;
  };
  std::map<WatchId, Watch> watches_;
  WatchId next_ = 1;
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_PORT_IO_FAKE_H_
