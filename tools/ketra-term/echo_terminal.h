// A loopback stand-in of the satellite terminal: one UDP socket per port, each sending every
// datagram it receives back to its sender and printing a line about it, so that a newcomer sees
// bytes cross the bridge (scripts/run.sh starts it on the demo ports' remote UDP ports).
// Owns its sockets; single-threaded.
#ifndef KETRA_TOOLS_KETRA_TERM_ECHO_TERMINAL_H_
#define KETRA_TOOLS_KETRA_TERM_ECHO_TERMINAL_H_

#include <chrono>
#include <cstdint>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "platform/net/udp_socket.h"

namespace ketra::term {

// "hello\r\n" as `hello\r\n`: printable ASCII as it is, anything else escaped.
std::string Printable(std::span<const std::uint8_t> bytes);

class EchoTerminal {
 public:
  // Binds `address`:port for each port; throws std::runtime_error naming a port that fails.
  EchoTerminal(std::uint32_t address, const std::vector<std::uint16_t>& ports, std::ostream& out);

  // Waits up to `timeout` for datagrams and answers every one waiting. Returns how many.
  int RunOnce(std::chrono::milliseconds timeout);

  std::vector<net::Endpoint> LocalEndpoints() const;

 private:
  std::vector<net::UdpSocket> sockets_;
  std::ostream& out_;
};

}  // namespace ketra::term

#endif  // KETRA_TOOLS_KETRA_TERM_ECHO_TERMINAL_H_
