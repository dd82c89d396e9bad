#include "daemon/pcapng.h"

#include <string>

namespace ketra::vspd {
namespace {

constexpr std::uint32_t kSectionHeader = 0x0A0D0D0A;
constexpr std::uint32_t kInterfaceDescription = 1;
constexpr std::uint32_t kEnhancedPacket = 6;
constexpr std::uint16_t kLinkIpv4 = 228;   // LINKTYPE_IPV4: the packet starts at its IPv4 header
constexpr std::uint16_t kLinkUser0 = 147;  // LINKTYPE_USER0: the events' words
constexpr std::uint16_t kOptionEnd = 0, kOptionComment = 1, kOptionName = 2, kOptionTsresol = 9;

// Little-endian (the section header's byte-order mark says so).
class Block {
 public:
  explicit Block(std::uint32_t type) { U32(type).U32(0); }
  Block& U8(std::uint8_t v) { return Bytes(std::span(&v, 1)); }
  Block& U16(std::uint16_t v) { return U8(v & 0xFF).U8(v >> 8); }
  Block& U32(std::uint32_t v) { return U16(v & 0xFFFF).U16(v >> 16); }
  Block& Bytes(std::span<const std::uint8_t> bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return *this;
  }
  Block& Pad() {
    while (bytes_.size() % 4 != 0) bytes_.push_back(0);
    return *this;
  }
  Block& Option(std::uint16_t code, std::string_view value) {
    U16(code).U16(static_cast<std::uint16_t>(value.size()));
    return Bytes(std::span(reinterpret_cast<const std::uint8_t*>(value.data()), value.size()))
        .Pad();
  }
  // Ends the block: the options' end and the length at both ends.
  std::vector<std::uint8_t> Finish(bool options) {
    if (options) U16(kOptionEnd).U16(0);
    const auto total = static_cast<std::uint32_t>(bytes_.size() + 4);
    U32(total);
    for (int i = 0; i < 4; ++i) bytes_[4 + i] = static_cast<std::uint8_t>(total >> (8 * i));
    return std::move(bytes_);
  }

 private:
  std::vector<std::uint8_t> bytes_;
};

Block Packet(std::uint32_t interface, std::uint64_t time_ns, std::size_t length) {
  Block block(kEnhancedPacket);
  block.U32(interface)
      .U32(static_cast<std::uint32_t>(time_ns >> 32))
      .U32(static_cast<std::uint32_t>(time_ns))
      .U32(static_cast<std::uint32_t>(length))
      .U32(static_cast<std::uint32_t>(length));
  return block;
}

std::vector<std::uint8_t> Interface(std::uint16_t link, std::string_view name) {
  Block block(kInterfaceDescription);
  block.U16(link).U16(0).U32(0);  // no snapshot limit
  block.Option(kOptionName, name);
  const std::uint8_t nanoseconds = 9;
  block.U16(kOptionTsresol).U16(1).U8(nanoseconds).Pad();
  return block.Finish(true);
}

}  // namespace

std::vector<std::uint8_t> PcapngHead(std::string_view port) {
  Block section(kSectionHeader);
  section.U32(0x1A2B3C4D).U16(1).U16(0).U32(0xFFFFFFFF).U32(0xFFFFFFFF);  // length unknown
  std::vector<std::uint8_t> out = section.Finish(false);
  for (auto part : {Interface(kLinkIpv4, std::string(port) + " UDP"),
                    Interface(kLinkUser0, std::string(port) + " events")}) {
    out.insert(out.end(), part.begin(), part.end());
  }
  return out;
}

std::vector<std::uint8_t> PcapngDatagram(std::uint64_t time_ns, const net::Endpoint& from,
                                         const net::Endpoint& to,
                                         std::span<const std::uint8_t> payload,
                                         std::string_view comment) {
  const std::size_t length = 20 + 8 + payload.size();
  // The IPv4 header, its checksum over its ten 16-bit words.
  std::uint8_t ip[20] = {
      0x45, 0, static_cast<std::uint8_t>(length >> 8), static_cast<std::uint8_t>(length), 0, 0,
      0x40, 0,    // don't fragment
      64,   17};  // TTL, UDP
  for (int i = 0; i < 4; ++i) {
    ip[12 + i] = static_cast<std::uint8_t>(from.address >> (24 - 8 * i));
    ip[16 + i] = static_cast<std::uint8_t>(to.address >> (24 - 8 * i));
  }
  std::uint32_t sum = 0;
  for (int i = 0; i < 20; i += 2) sum += static_cast<std::uint32_t>(ip[i] << 8 | ip[i + 1]);
  while (sum > 0xFFFF) sum = (sum & 0xFFFF) + (sum >> 16);
  ip[10] = static_cast<std::uint8_t>(~sum >> 8);
  ip[11] = static_cast<std::uint8_t>(~sum);
  const std::size_t udp_length = 8 + payload.size();
  const std::uint8_t udp[8] = {static_cast<std::uint8_t>(from.port >> 8),
                               static_cast<std::uint8_t>(from.port),
                               static_cast<std::uint8_t>(to.port >> 8),
                               static_cast<std::uint8_t>(to.port),
                               static_cast<std::uint8_t>(udp_length >> 8),
                               static_cast<std::uint8_t>(udp_length),
                               0,
                               0};  // no checksum, as IPv4 allows
  Block block = Packet(0, time_ns, length);
  block.Bytes(ip).Bytes(udp).Bytes(payload).Pad();
  if (!comment.empty()) block.Option(kOptionComment, comment);
  return block.Finish(!comment.empty());
}

std::vector<std::uint8_t> PcapngNote(std::uint64_t time_ns, std::string_view text) {
  Block block = Packet(1, time_ns, text.size());
  block.Bytes(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size())).Pad();
  block.Option(kOptionComment, text);
  return block.Finish(true);
}

}  // namespace ketra::vspd
