#include "daemon/port.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace ketra::vspd {
namespace {

// Reads or datagrams handled per readiness event, so that one busy port cannot starve the rest.
constexpr int kRoundsPerEvent = 32;
constexpr std::size_t kLargestDatagram = 65536;

}  // namespace

VirtualPort::VirtualPort(EventLoop& loop, std::string name, const PortOptions& options)
    : loop_(loop), name_(std::move(name)), options_(options), pty_([&] {
        std::string warning;
        Pty pty = Pty::Open(options.group, &warning);
        if (!warning.empty()) last_problem_ = warning;
        return pty;
      }()) {
  options_.max_datagram = std::clamp<std::size_t>(options_.max_datagram, 1, kLargestDatagram);
  buffer_.resize(kLargestDatagram);
  if (!options_.link_directory.empty()) {
    link_ = PortLink(options_.link_directory, name_, pty_.slave_path());
  }
  pty_watch_ = loop_.Add(pty_.master(), kReadable, [this](std::uint32_t e) { OnPtyEvents(e); });
}

VirtualPort::~VirtualPort() {
  if (socket_watch_ != 0) loop_.Remove(socket_watch_);
  loop_.Remove(pty_watch_);
}

std::uint8_t VirtualPort::Connect(const PortSettings& settings) {
  if (connected()) return kStatusAlreadyConnected;
  last_problem_.clear();
  net::UdpSocket socket;
  if (const int error = socket.Open({options_.bind_address, settings.local_port}); error != 0) {
    last_problem_ = "cannot bind UDP " +
                    net::Endpoint{options_.bind_address, settings.local_port}.ToString() + ": " +
                    std::strerror(error);
    return kStatusConnectionFailed;
  }
  socket.SetBufferSizes(options_.socket_buffer_bytes, options_.socket_buffer_bytes);
  try {
    socket_watch_ =
        loop_.Add(socket.fd(), kReadable, [this](std::uint32_t e) { OnSocketEvents(e); });
  } catch (const std::system_error& error) {
    last_problem_ = error.what();
    return kStatusConnectionFailed;
  }
  socket_ = std::move(socket);
  settings_ = settings;
  flow_ = settings.software_flow ? FlowControl::Software(settings.xon, settings.xoff)
                                 : FlowControl::Hardware();
  UpdateInterest();
  return kStatusConnected;
}

std::uint8_t VirtualPort::Disconnect() {
  if (!connected()) return kStatusAlreadyInState;
  loop_.Remove(socket_watch_);
  socket_watch_ = 0;
  const int error = socket_.Close();
  settings_.reset();
  flow_ = FlowControl::Hardware();
  // A datagram read from the pty but never sent is lost with the connection, as bytes in a
  // line's transmitter are when the line goes; what came from the remote is still delivered.
  to_socket_.clear();
  UpdateInterest();
  if (error != 0) {
    last_problem_ = std::string("releasing the UDP socket: ") + std::strerror(error);
    return kStatusReleaseFailed;
  }
  return kStatusDisconnected;
}

void VirtualPort::OnPtyEvents(std::uint32_t events) {
  if ((events & kWritable) != 0) FlushToPty();
  if ((events & (kReadable | kHangUp | kFault)) != 0) RelayFromPty();
  // The socket may have been held back for the pty; now that it drained, catch up.
  if (connected() && to_pty_.empty()) RelayFromSocket();
  UpdateInterest();
}

void VirtualPort::OnSocketEvents(std::uint32_t events) {
  if ((events & kWritable) != 0) RelayFromPty();
  if ((events & kReadable) != 0) RelayFromSocket();
  UpdateInterest();
}

bool VirtualPort::FlushToSocket() {
  const long sent = socket_.SendTo(to_socket_, settings_->remote);
  if (sent == -EAGAIN || sent == -ENOBUFS) return false;
  if (sent < 0) {
    ++counters_.send_errors;
  } else {
    counters_.bytes_to_udp += static_cast<std::uint64_t>(sent);
    ++counters_.datagrams_to_udp;
  }
  to_socket_.clear();
  return true;
}

void VirtualPort::RelayFromPty() {
  for (int round = 0; round < kRoundsPerEvent; ++round) {
    if (connected() && flow_.paused()) return;
    if (!to_socket_.empty() && !FlushToSocket()) return;
    const ssize_t got = ::read(pty_.master(), buffer_.data(), options_.max_datagram);
    if (got <= 0) return;  // nothing more now (EAGAIN), or no reader at all
    const auto size = static_cast<std::size_t>(got);
    if (!connected()) {
      counters_.discarded_bytes += size;
      continue;
    }
    const long sent = socket_.SendTo(std::span(buffer_.data(), size), settings_->remote);
    if (sent == -EAGAIN || sent == -ENOBUFS) {
      to_socket_.assign(buffer_.begin(), buffer_.begin() + got);
      return;
    }
    if (sent < 0) {
      ++counters_.send_errors;
    } else {
      counters_.bytes_to_udp += static_cast<std::uint64_t>(sent);
      ++counters_.datagrams_to_udp;
    }
  }
}

bool VirtualPort::FlushToPty() {
  while (to_pty_offset_ < to_pty_.size()) {
    const ssize_t wrote =
        ::write(pty_.master(), to_pty_.data() + to_pty_offset_, to_pty_.size() - to_pty_offset_);
    if (wrote < 0) {
      if (errno == EAGAIN || errno == EINTR) return false;
      // The pty refuses the bytes for good; nothing would ever take them.
      counters_.discarded_bytes += to_pty_.size() - to_pty_offset_;
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
  for (int round = 0; round < kRoundsPerEvent; ++round) {
    if (!to_pty_.empty() && !FlushToPty()) return;
    net::Endpoint from;
    const long got = socket_.ReceiveFrom(buffer_, &from);
    if (got < 0) return;
    if (from != settings_->remote) {
      ++counters_.stranger_datagrams;
      counters_.stranger_bytes += static_cast<std::uint64_t>(got);
      continue;
    }
    ++counters_.datagrams_from_udp;
    const auto passed = flow_.Filter(std::span(buffer_.data(), static_cast<std::size_t>(got)));
    // Straight from the receive buffer; only what the pty does not take now is kept.
    std::size_t written = 0;
    while (written < passed.size()) {
      const ssize_t wrote =
          ::write(pty_.master(), passed.data() + written, passed.size() - written);
      if (wrote < 0) break;
      written += static_cast<std::size_t>(wrote);
    }
    counters_.bytes_to_pty += written;
    if (written < passed.size()) {
      if (errno != EAGAIN && errno != EINTR) {
        counters_.discarded_bytes += passed.size() - written;
        continue;
      }
      to_pty_.assign(passed.begin() + static_cast<std::ptrdiff_t>(written), passed.end());
      to_pty_offset_ = 0;
      return;
    }
  }
}

void VirtualPort::UpdateInterest() {
  std::uint32_t pty_events = 0;
  if (!connected() || (!flow_.paused() && to_socket_.empty())) pty_events |= kReadable;
  if (!to_pty_.empty()) pty_events |= kWritable;
  loop_.Modify(pty_watch_, pty_events);
  if (connected()) {
    std::uint32_t socket_events = 0;
    if (to_pty_.empty()) socket_events |= kReadable;
    if (!to_socket_.empty() && !flow_.paused()) socket_events |= kWritable;
    loop_.Modify(socket_watch_, socket_events);
  }
}

}  // namespace ketra::vspd
