// A port's trace as a pcapng file that Wireshark and tshark read: the UDP side as IPv4/UDP
// packets with the real addresses and ports (interface 0, raw IPv4), and every event without a
// datagram (opens, closes, flushes, XOFF/XON from the terminal, losses) as a packet on interface
// 1 (link type USER0) whose bytes and comment are the event in words. Datagrams carry a comment
// too when they are more than plain data (XOFF/XON to the terminal, a stranger's, a refused one).
// Time stamps in nanoseconds. Pure functions returning the blocks' bytes; thread-safe.
#ifndef KETRA_DAEMON_PCAPNG_H_
#define KETRA_DAEMON_PCAPNG_H_

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "platform/net/udp_socket.h"

namespace ketra::vspd {

// The section header and the two interfaces' descriptions: the start of every file.
std::vector<std::uint8_t> PcapngHead(std::string_view port);
// One datagram from `from` to `to` as an IPv4/UDP packet; `comment` may be empty.
std::vector<std::uint8_t> PcapngDatagram(std::uint64_t time_ns, const net::Endpoint& from,
                                         const net::Endpoint& to,
                                         std::span<const std::uint8_t> payload,
                                         std::string_view comment);
// An event without a datagram.
std::vector<std::uint8_t> PcapngNote(std::uint64_t time_ns, std::string_view text);

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_PCAPNG_H_
