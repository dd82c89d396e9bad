#include <poll.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "tools/ketra-term/echo_terminal.h"

namespace ketra::term {

std::string Printable(std::span<const std::uint8_t> bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    if (byte == '\r') {
      text += "\\r";
    } else if (byte == '\n') {
      text += "\\n";
    } else if (byte == '\\') {
      text += "\\\\";
    } else if (byte >= 0x20 && byte < 0x7F) {
      text += static_cast<char>(byte);
    } else {
      text += "\\x";
      text += kDigits[byte >> 4];
      text += kDigits[byte & 15];
    }
  }
  return text;
}

EchoTerminal::EchoTerminal(std::uint32_t address, const std::vector<std::uint16_t>& ports,
                           std::ostream& out)
    : out_(out) {
  for (const std::uint16_t port : ports) {
    net::UdpSocket socket;
    if (const int error = socket.Open({address, port}); error != 0) {
      throw std::runtime_error("cannot listen on " + net::Endpoint{address, port}.ToString() +
                               ": " + std::strerror(error));
    }
    sockets_.push_back(std::move(socket));
  }
}

std::vector<net::Endpoint> EchoTerminal::LocalEndpoints() const {
  std::vector<net::Endpoint> endpoints;
  for (const auto& socket : sockets_) endpoints.push_back(socket.LocalEndpoint());
  return endpoints;
}

int EchoTerminal::RunOnce(std::chrono::milliseconds timeout) {
  std::vector<pollfd> watches;
  for (const auto& socket : sockets_) watches.push_back({socket.fd(), POLLIN, 0});
  if (::poll(watches.data(), watches.size(), static_cast<int>(timeout.count())) <= 0) return 0;
  int answered = 0;
  std::vector<std::uint8_t> buffer(65536);
  for (std::size_t i = 0; i < sockets_.size(); ++i) {
    if ((watches[i].revents & POLLIN) == 0) continue;
    net::Endpoint from;
    for (long size; (size = sockets_[i].ReceiveFrom(buffer, &from)) >= 0;) {
      const std::span<const std::uint8_t> data(buffer.data(), static_cast<std::size_t>(size));
      sockets_[i].SendTo(data, from);
      out_ << sockets_[i].LocalEndpoint().ToString() << " <- " << from.ToString() << " (" << size
           << " bytes, echoed): " << Printable(data) << std::endl;
      ++answered;
    }
  }
  return answered;
}

}  // namespace ketra::term
