#include <sys/socket.h>

#include <cerrno>
#include <ctime>

#include "daemon/log.h"
#include "daemon/trace_record.h"
#include "daemon/trace_server.h"
#include "platform/device/vspd_protocol.h"

namespace ketra::vspd {
namespace wire = ::ketra::device::wire;
namespace {

std::uint64_t NowNs() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000u +
         static_cast<std::uint64_t>(now.tv_nsec);
}

std::vector<std::uint8_t> Message(const TraceEvent& event, std::uint64_t time_ns) {
  wire::TraceRecord record;
  AppendTraceRecord(record.bytes, time_ns, event);
  return wire::EncodeReply(record);
}

// -1: the reader's socket is full; 0: sent; 1: the reader is gone.
int SendNow(int fd, const std::vector<std::uint8_t>& message) {
  const ssize_t sent = ::send(fd, message.data(), message.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  if (sent == static_cast<ssize_t>(message.size())) return 0;
  return sent < 0 && (errno == EAGAIN || errno == EINTR || errno == ENOBUFS) ? -1 : 1;
}

}  // namespace

TraceServer::~TraceServer() {
  for (auto& [port, fanout] : fanouts_) port->SetTraceSink(nullptr);
  for (auto& [id, reader] : readers_) poller_.Remove(reader.watch);
}

void TraceServer::Attach(VirtualPort& port, runtime::Fd connection, const std::string& peer) {
  if (readers_.size() >= kMaxReaders) {
    LogWarning("control: refused the trace of " + port.name() + " to " + peer + ": " +
               std::to_string(kMaxReaders) + " traces are read already");
    SendNow(connection.get(), wire::EncodeReply(wire::ErrorReply{wire::kErrorInvalidHandle,
                                                                 "too many traces at once"}));
    return;
  }
  if (SendNow(connection.get(), wire::EncodeReply(wire::TraceReply{wire::kErrorSuccess})) != 0) {
    return;
  }
  const std::uint64_t id = next_id_++;
  Reader reader;
  reader.port = &port;
  reader.peer = peer;
  reader.watch = poller_.Add(connection.get(), kReadable | kPeerClosed,
                             [this, id](std::uint32_t events) { OnEvents(id, events); });
  reader.fd = std::move(connection);
  readers_.emplace(id, std::move(reader));
  auto& fanout = fanouts_[&port];
  if (!fanout) {
    fanout = std::make_unique<Fanout>(*this);
    port.SetTraceSink(fanout.get());
  }
  fanout->readers.push_back(id);
  LogInfo(port.name() + ": traced for " + peer);
}

void TraceServer::Fanout::Record(const TraceEvent& event) {
  const std::vector<std::uint8_t> message = Message(event, NowNs());
  for (const std::uint64_t id : readers) server_.Deliver(server_.readers_.at(id), message);
}

void TraceServer::Deliver(Reader& reader, std::vector<std::uint8_t> message) {
  if (reader.queue.empty() && reader.left_out == 0) {
    const int sent = SendNow(reader.fd.get(), message);
    if (sent >= 0) return;  // sent, or gone: its hang-up removes it
    poller_.Modify(reader.watch, kReadable | kPeerClosed | kWritable);
  }
  if (reader.left_out > 0) {
    TraceEvent notice{TraceKind::kTraceDropped, {}, {}, {}, reader.left_out};
    auto said = Message(notice, NowNs());
    if (reader.queued_bytes + said.size() + message.size() > kQueueLimit) {
      ++reader.left_out;
      return;
    }
    reader.queued_bytes += said.size();
    reader.queue.push_back(std::move(said));
    reader.left_out = 0;
  }
  if (reader.queued_bytes + message.size() > kQueueLimit) {
    ++reader.left_out;
    return;
  }
  reader.queued_bytes += message.size();
  reader.queue.push_back(std::move(message));
}

bool TraceServer::Flush(std::uint64_t id) {
  Reader& reader = readers_.at(id);
  while (!reader.queue.empty()) {
    const int sent = SendNow(reader.fd.get(), reader.queue.front());
    if (sent < 0) return true;
    if (sent > 0) {
      Remove(id);
      return false;
    }
    reader.queued_bytes -= reader.queue.front().size();
    reader.queue.pop_front();
  }
  if (reader.left_out > 0) {
    // Said at once, not with the next event: a port may stay quiet for long.
    TraceEvent notice{TraceKind::kTraceDropped, {}, {}, {}, reader.left_out};
    reader.left_out = 0;
    const auto said = Message(notice, NowNs());
    if (SendNow(reader.fd.get(), said) < 0) {
      reader.queued_bytes += said.size();
      reader.queue.push_back(said);
      return true;
    }
  }
  poller_.Modify(reader.watch, kReadable | kPeerClosed);
  return true;
}

void TraceServer::OnEvents(std::uint64_t id, std::uint32_t events) {
  if ((events & kWritable) != 0 && !Flush(id)) return;
  // The reader sends nothing after its request: anything now is its hang-up or a mistake.
  if ((events & (kReadable | kPeerClosed | kHangUp | kFault)) != 0) Remove(id);
}

void TraceServer::Remove(std::uint64_t id) {
  const auto found = readers_.find(id);
  if (found == readers_.end()) return;
  VirtualPort* port = found->second.port;
  LogInfo(port->name() + ": trace for " + found->second.peer + " ended");
  poller_.Remove(found->second.watch);
  readers_.erase(found);
  const auto fanout = fanouts_.find(port);
  auto& ids = fanout->second->readers;
  std::erase(ids, id);
  if (ids.empty()) {
    port->SetTraceSink(nullptr);
    fanouts_.erase(fanout);
  }
}

}  // namespace ketra::vspd
