#include "daemon/port.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace ketra::vspd {
namespace {

// Reads or datagrams handled per readiness event, so that one busy port cannot starve the rest.
constexpr int kRoundsPerEvent = 32;
constexpr std::size_t kLargestDatagram = 65536;
// Bytes gathered from queued datagrams for one pty write, about what a pty buffers.
constexpr std::size_t kMostGathered = 65536;
// Datagrams a flush of the program's input discards at most: more than a receive buffer holds,
// so that a terminal that never stops sending cannot hold the loop.
constexpr int kMostFlushed = 1 << 16;

bool SendSideFull(long result) { return result == -EAGAIN || result == -ENOBUFS; }

}  // namespace

VirtualPort::VirtualPort(Poller& poller, std::string name, std::unique_ptr<PortIo> io,
                         const PortOptions& options, std::optional<PortSettings> resumed)
    : poller_(poller), name_(std::move(name)), options_(options), io_(std::move(io)) {
  options_.max_datagram = std::clamp<std::size_t>(options_.max_datagram, 1, kLargestDatagram);
  scratch_ = options_.scratch ? options_.scratch : std::make_shared<std::vector<std::uint8_t>>();
  if (scratch_->size() < kLargestDatagram) scratch_->resize(kLargestDatagram);
  if (!options_.link_directory.empty()) {
    link_ = PortLink(options_.link_directory, name_, io_->pty_path());
  }
  if (resumed && io_->socket_open()) {
    settings_ = resumed;
    local_ = io_->LocalEndpoint();
    flow_ = resumed->software_flow ? FlowControl::Software(resumed->xon, resumed->xoff)
                                   : FlowControl::Hardware();
    socket_watch_ =
        poller_.Add(io_->socket_fd(), kReadable, [this](std::uint32_t e) { OnSocketEvents(e); });
    // The daemon before may have stopped the terminal; an XON it does not need does no harm.
    if (flow_.software()) SendFlowCharacter(flow_.xon());
  }
  if (io_->Held()) ProgramCame();
  UpdateInterest();
}

VirtualPort::~VirtualPort() {
  if (socket_watch_ != 0) poller_.Remove(socket_watch_);
  if (pty_watch_ != 0) poller_.Remove(pty_watch_);
}

void VirtualPort::Watch() {
  pty_watch_ = poller_.Add(io_->pty_fd(), kReadable | kPriority,
                           [this](std::uint32_t e) { OnPtyEvents(e); });
}

ControlOutcome VirtualPort::Connect(const PortSettings& settings) {
  if (connected()) return {device::kStatusAlreadyConnected, {}};
  const net::Endpoint local{options_.bind_address, settings.local_port};
  if (const int error = io_->OpenSocket(local, options_.socket_buffer_bytes); error != 0) {
    return {device::kStatusConnectionFailed,
            runtime::Status::FromErrno("cannot bind UDP " + local.ToString(), error)};
  }
  try {
    socket_watch_ =
        poller_.Add(io_->socket_fd(), kReadable, [this](std::uint32_t e) { OnSocketEvents(e); });
  } catch (const std::system_error& error) {
    io_->CloseSocket();
    return {device::kStatusConnectionFailed, runtime::Status::IoError(error.what())};
  }
  settings_ = settings;
  local_ = io_->LocalEndpoint();
  flow_ = settings.software_flow ? FlowControl::Software(settings.xon, settings.xoff)
                                 : FlowControl::Hardware();
  if (trace_ != nullptr) Emit(TraceKind::kConnect);
  UpdateInterest();
  if (on_change_) on_change_(*this);
  return {device::kStatusConnected, {}};
}

void VirtualPort::CountKernelDrops() {
  if (!connected()) return;
  const std::uint64_t dropped = dropped_before_ + io_->SocketDrops();
  if (dropped <= counters_.dropped_datagrams) return;
  if (trace_ != nullptr)
    Emit(TraceKind::kLostKernelDrop, {}, dropped - counters_.dropped_datagrams);
  counters_.dropped_datagrams = dropped;
}

ControlOutcome VirtualPort::Disconnect() {
  if (!connected()) return {device::kStatusAlreadyInState, {}};
  if (trace_ != nullptr) {
    if (!to_socket_.empty()) Emit(TraceKind::kLostDiscarded, to_socket_, to_socket_.size());
    Emit(TraceKind::kDisconnect);
  }
  poller_.Remove(socket_watch_);
  socket_watch_ = 0;
  CountKernelDrops();  // the socket's last word on its losses
  const int error = io_->CloseSocket();
  dropped_before_ = counters_.dropped_datagrams;
  settings_.reset();
  flow_ = FlowControl::Hardware();
  stopped_terminal_ = false;
  owed_flow_character_.reset();
  // A datagram read from the pty but never sent is lost with the connection, as bytes in a
  // line's transmitter are when the line goes; what came from the remote is still delivered.
  counters_.discarded_bytes += to_socket_.size();
  to_socket_.clear();
  UpdateInterest();
  if (on_change_) on_change_(*this);
  if (error != 0) {
    return {device::kStatusReleaseFailed,
            runtime::Status::FromErrno("releasing the UDP socket", error)};
  }
  return {device::kStatusDisconnected, {}};
}

void VirtualPort::OnPtyEvents(std::uint32_t events) {
  // What the program did comes first: a flush of its input must reach the backlog before the
  // backlog reaches the pty.
  if ((events & kPriority) != 0) OnProgramEvents(io_->TakePtyEvents());
  const bool socket_held_back = !to_pty_.empty();
  if ((events & kWritable) != 0) FlushToPty();
  if ((events & (kReadable | kHangUp | kFault)) != 0) {
    const Drain drained = RelayFromPty();
    // A hang-up while reading is held back (XOFF, a full send side) is still the last close.
    if (drained == Drain::kGone || ((events & kHangUp) != 0 && !io_->Held())) ProgramGone();
  }
  // The socket was held back for the pty; now that it drained, catch up (and start a stopped
  // terminal if nothing waits). Otherwise the socket is watched and speaks for itself.
  if (socket_held_back && connected() && to_pty_.empty()) RelayFromSocket();
  UpdateInterest();
}

void VirtualPort::OnSocketEvents(std::uint32_t events) {
  if ((events & kWritable) != 0) {
    if (owed_flow_character_) SendFlowCharacter(*owed_flow_character_);
    // Without a watch on the pty (no program holds it) what the last one wrote still goes out.
    if (RelayFromPty() == Drain::kGone && held_) ProgramGone();
  }
  if ((events & kReadable) != 0) RelayFromSocket();
  UpdateInterest();
}

void VirtualPort::DeviceTouched(bool closed_after_writing) {
  // While held, the master's hang-up tells when the last program goes.
  if (held_) return;
  // The kernel queues a close for the watchers before it hangs up the master, so the close of
  // a program the port saw leave comes in the first batch after it (with the open of the
  // reset that followed): it is not a program gone unseen. (Only one that opened and closed
  // within that moment would be taken for it.)
  const bool own_close_due = std::exchange(own_close_due_, false);
  // What a program wrote before it closed again, too quickly to be seen as holding the port.
  while (RelayFromPty() == Drain::kMore) {
  }
  if (io_->Held()) {
    ProgramCame();
  } else if (closed_after_writing && !own_close_due) {
    // A program came and went before the port saw it: it may have left its state behind. The
    // daemon's own opens close without writing, so they never lead here.
    ProgramCame();
    ProgramGone();
    own_close_due_ = false;
  }
  UpdateInterest();
}

void VirtualPort::ProgramCame() {
  held_ = true;
  if (trace_ != nullptr) Emit(TraceKind::kOpen);
  Watch();
}

void VirtualPort::ProgramGone() {
  if (pty_watch_ != 0) poller_.Remove(pty_watch_);
  pty_watch_ = 0;
  held_ = false;
  own_close_due_ = true;
  if (trace_ != nullptr) {
    Emit(TraceKind::kClose);
    if (to_pty_.size() > to_pty_offset_) {
      Emit(TraceKind::kLostUnheld, {}, to_pty_.size() - to_pty_offset_);
    }
  }
  // What waited for the program will never be read: lost like everything that comes now.
  counters_.unheld_bytes += to_pty_.size() - to_pty_offset_;
  to_pty_.clear();
  to_pty_offset_ = 0;
  MakeFresh();
  // The terminal may go on: what it sends now is discarded, not held up.
  if (stopped_terminal_) SendFlowCharacter(flow_.xon());
  // The rest of what the program wrote, unless the terminal or the socket holds it back.
  while (RelayFromPty() == Drain::kMore) {
  }
}

void VirtualPort::MakeFresh() {
  const PortIo::Freshened freshened = io_->Freshen();
  // Left exclusive: the next program would get EBUSY too, until the daemon restarts.
  const runtime::Status status = freshened.reopen_error == EBUSY ? ReplacePty() : freshened.status;
  if (!status.ok() && on_freshen_failed_) on_freshen_failed_(*this, status);
  // The reset's own flush and restart reach the master as events; nobody holds the port, so
  // they are taken and dropped here, before a program comes whose events they are not.
  io_->TakePtyEvents();
  program_stopped_ = false;
}

void VirtualPort::OnProgramEvents(std::uint8_t events) {
  if ((events & kOutputStopped) != 0) ProgramOutputStopped(true);
  if ((events & kOutputStarted) != 0) ProgramOutputStopped(false);
  // Without a program the port holds nothing for one (a flush seen then is the daemon's own).
  if (!held_) return;
  if ((events & kInputFlushed) != 0) ProgramFlushedInput();
  if ((events & kOutputFlushed) != 0) ProgramFlushedOutput();
}

void VirtualPort::ProgramOutputStopped(bool stopped) { program_stopped_ = stopped; }

void VirtualPort::ProgramFlushedInput() {
  // A serial driver's input buffer is what the daemon holds for the program and what waits in
  // the socket; the pty's own queue the kernel has emptied. Datagrams that arrive between the
  // flush and this (normally microseconds) go with them.
  std::uint64_t discarded = to_pty_.size() - to_pty_offset_;
  to_pty_.clear();
  to_pty_offset_ = 0;
  if (connected()) {
    bool drained = false;
    for (int round = 0; round < kMostFlushed && !drained; ++round) {
      const auto passed = ReceiveDatagram(&drained);
      if (!passed) break;
      discarded += passed->size();
    }
  }
  counters_.discarded_bytes += discarded;
  if (trace_ != nullptr) Emit(TraceKind::kFlushInput, {}, discarded);
  // Nothing waits any more: a terminal the port stopped may send again.
  if (stopped_terminal_) SendFlowCharacter(flow_.xon());
}

void VirtualPort::ProgramFlushedOutput() {
  // The kernel emptied the pty's queue toward the master up to what the master had taken in
  // already. While the relay was held back (the terminal's XOFF, a full send side) that rest is
  // what the program wrote before its flush; otherwise the relay has read everything up to the
  // flush, and what waits came after it.
  const bool held_back = (connected() && flow_.paused()) || !to_socket_.empty();
  std::uint64_t discarded = to_socket_.size();
  to_socket_.clear();
  if (held_back) discarded += io_->DiscardProgramOutput();
  counters_.discarded_bytes += discarded;
  if (trace_ != nullptr) Emit(TraceKind::kFlushOutput, {}, discarded);
}

runtime::Status VirtualPort::ReplacePty() {
  // What the last program wrote goes out first; what the terminal's XOFF or a full send side
  // still holds back then goes with the old pty, as with a line that is swapped.
  while (RelayFromPty() == Drain::kMore) {
  }
  if (const runtime::Status replaced = io_->ReplacePty(); !replaced.ok()) {
    return runtime::Status::IoError("the device was left exclusive and " + replaced.message());
  }
  runtime::Status status;
  if (!link_.path().empty()) {
    try {
      link_.Repoint(io_->pty_path());
    } catch (const std::runtime_error& error) {
      status = runtime::Status::IoError(error.what());
    }
  }
  if (on_pty_replaced_) on_pty_replaced_(*this);
  return status;
}

VirtualPort::Drain VirtualPort::RelayFromPty() {
  for (int round = 0; round < kRoundsPerEvent; ++round) {
    if (connected() && flow_.paused()) return Drain::kBlocked;
    if (!to_socket_.empty() && !FlushToSocket()) return Drain::kBlocked;
    std::uint8_t events = 0;
    const long got = io_->ReadPty(std::span(scratch_->data(), options_.max_datagram), &events);
    if (events != 0) {
      OnProgramEvents(events);
      continue;
    }
    if (got == -EIO) return Drain::kGone;  // no program holds the port, and all it wrote went
    if (got <= 0) return Drain::kBlocked;  // nothing more now (EAGAIN)
    const auto size = static_cast<std::size_t>(got);
    if (!connected()) {
      counters_.discarded_bytes += size;
      if (trace_ != nullptr)
        Emit(TraceKind::kLostDiscarded, std::span(scratch_->data(), size), size);
      continue;
    }
    to_socket_.assign(scratch_->begin(), scratch_->begin() + got);
    if (!FlushToSocket()) return Drain::kBlocked;
  }
  return Drain::kMore;
}

bool VirtualPort::FlushToSocket() {
  const long sent = io_->SendTo(to_socket_, settings_->remote);
  if (SendSideFull(sent)) return false;
  if (sent < 0) {
    ++counters_.send_errors;
    counters_.send_error_bytes += to_socket_.size();
    if (trace_ != nullptr) Emit(TraceKind::kLostSendError, to_socket_, to_socket_.size());
  } else {
    counters_.bytes_to_udp += static_cast<std::uint64_t>(sent);
    ++counters_.datagrams_to_udp;
    if (trace_ != nullptr) Emit(TraceKind::kToTerminal, to_socket_);
  }
  to_socket_.clear();
  return true;
}

bool VirtualPort::FlushToPty() {
  while (to_pty_offset_ < to_pty_.size()) {
    const long wrote = io_->WritePty(std::span(to_pty_).subspan(to_pty_offset_));
    if (wrote == -EAGAIN || wrote == -EINTR) return false;
    if (wrote < 0) {
      // The pty refuses the bytes for good; nothing would ever take them.
      counters_.pty_error_bytes += to_pty_.size() - to_pty_offset_;
      if (trace_ != nullptr) Emit(TraceKind::kLostPtyError, {}, to_pty_.size() - to_pty_offset_);
      break;
    }
    to_pty_offset_ += static_cast<std::size_t>(wrote);
    counters_.bytes_to_pty += static_cast<std::uint64_t>(wrote);
  }
  to_pty_.clear();
  to_pty_offset_ = 0;
  return true;
}

void VirtualPort::RelayFromSocket() {
  if (!to_pty_.empty() && !FlushToPty()) return;
  // What is already queued goes into the pty in one write: every pty write wakes the kernel's
  // pty worker, and with one per datagram a burst ran at three quarters speed in about a
  // quarter of the runs (bench/daemon/vspd_peers_bench.py).
  bool drained = false;
  for (int round = 0; round < kRoundsPerEvent && to_pty_.size() < kMostGathered; ++round) {
    const auto passed = ReceiveDatagram(&drained);
    if (!passed) break;  // EAGAIN, or an error the socket reports once
    if (!held_) {
      counters_.unheld_bytes += passed->size();
      if (trace_ != nullptr && !passed->empty()) Emit(TraceKind::kLostUnheld, {}, passed->size());
      continue;
    }
    to_pty_.insert(to_pty_.end(), passed->begin(), passed->end());
  }
  if (!to_pty_.empty() && !FlushToPty()) {
    // The program reads slower than the terminal sends.
    if (flow_.software() && !stopped_terminal_) SendFlowCharacter(flow_.xoff());
    return;
  }
  // Everything the terminal sent has gone into the pty: it may send again. When the rounds ran
  // out or a read failed first, a stopped terminal sends nothing more that could wake the port
  // for its XON, so whether anything still waits is asked.
  if (stopped_terminal_ && (drained || !io_->DatagramWaiting())) {
    SendFlowCharacter(flow_.xon());
  }
}

std::optional<std::span<std::uint8_t>> VirtualPort::ReceiveDatagram(bool* drained) {
  net::Endpoint from;
  std::uint32_t dropped = 0;
  const long got = io_->ReceiveFrom(*scratch_, &from, &dropped);
  if (trace_ != nullptr && dropped_before_ + dropped > counters_.dropped_datagrams) {
    Emit(TraceKind::kLostKernelDrop, {}, dropped_before_ + dropped - counters_.dropped_datagrams);
  }
  counters_.dropped_datagrams = std::max(counters_.dropped_datagrams, dropped_before_ + dropped);
  *drained = got == -EAGAIN;
  if (got < 0) return std::nullopt;
  const auto datagram = std::span(scratch_->data(), static_cast<std::size_t>(got));
  if (from != settings_->remote) {
    ++counters_.stranger_datagrams;
    counters_.stranger_bytes += static_cast<std::uint64_t>(got);
    if (trace_ != nullptr) Emit(TraceKind::kStranger, datagram, 0, &from);
    return std::span<std::uint8_t>();
  }
  ++counters_.datagrams_from_udp;
  if (trace_ != nullptr) Emit(TraceKind::kFromTerminal, datagram, 0, &from);
  const bool was_paused = flow_.paused();
  const auto passed = flow_.Filter(datagram);
  if (trace_ != nullptr && was_paused != flow_.paused()) {
    Emit(flow_.paused() ? TraceKind::kTerminalXoff : TraceKind::kTerminalXon);
  }
  if (was_paused && !flow_.paused() && !held_) {
    // XON: what the last program wrote before it closed may go now.
    while (RelayFromPty() == Drain::kMore) {
    }
  }
  return passed;
}

void VirtualPort::SendFlowCharacter(std::uint8_t character) {
  owed_flow_character_.reset();
  if (!connected()) return;
  const std::uint8_t byte[1] = {character};
  const long sent = io_->SendTo(byte, settings_->remote);
  if (SendSideFull(sent)) {
    owed_flow_character_ = character;
  } else if (sent < 0) {
    ++counters_.send_errors;
    ++counters_.send_error_bytes;
    if (trace_ != nullptr) Emit(TraceKind::kLostSendError, byte, 1);
  }
  // Counted when asked for: an XOFF that waits for the send side still holds the terminal's
  // next bytes in the receive buffer, which is where they would wait anyway.
  const bool xoff = character == flow_.xoff();
  if (trace_ != nullptr) Emit(xoff ? TraceKind::kSentXoff : TraceKind::kSentXon, byte);
  stopped_terminal_ = xoff;
  ++(xoff ? counters_.xoff_sent : counters_.xon_sent);
}

void VirtualPort::UpdateInterest() {
  if (pty_watch_ != 0) {
    // The program's events are always taken; its data only while the relay can pass it on.
    std::uint32_t pty_events = kPriority;
    if (!connected() || (!flow_.paused() && to_socket_.empty())) pty_events |= kReadable;
    if (!to_pty_.empty()) pty_events |= kWritable;
    poller_.Modify(pty_watch_, pty_events);
  }
  if (connected()) {
    std::uint32_t socket_events = 0;
    if (to_pty_.empty()) socket_events |= kReadable;
    if ((!to_socket_.empty() && !flow_.paused()) || owed_flow_character_) {
      socket_events |= kWritable;
    }
    poller_.Modify(socket_watch_, socket_events);
  }
}

void VirtualPort::Emit(TraceKind kind, std::span<const std::uint8_t> data, std::uint64_t count,
                       const net::Endpoint* sender) {
  TraceEvent event{kind, data, local_, {}, count};
  if (sender != nullptr) {
    event.from = *sender;
    event.to = local_;
  } else if (settings_) {
    event.to = settings_->remote;
  }
  trace_->Record(event);
}

}  // namespace ketra::vspd
