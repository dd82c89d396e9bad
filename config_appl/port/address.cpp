#include "config_appl/port/address.h"

#include "platform/net/inet.h"

namespace ketra {

std::uint32_t StoredFromText(std::string_view dotted) { return net::InetAddr(dotted); }

std::string TextFromStored(std::int32_t stored) {
  // Cut at a NUL, as the platform's copy of the C text it returns would be.
  const std::string dotted = net::InetNtoa(static_cast<std::uint32_t>(stored));
  return dotted.substr(0, dotted.find('\0'));
}

std::string StoredAddressText(std::string_view dotted) {
  return std::to_string(static_cast<std::int32_t>(StoredFromText(dotted)));
}

void StoredToRecordBytes(std::uint32_t stored, std::span<std::uint8_t, 4> bytes) {
  for (std::size_t i = 0; i < 4; ++i) bytes[i] = static_cast<std::uint8_t>(stored >> (8 * i));
}

std::uint32_t StoredFromRecordBytes(std::span<const std::uint8_t, 4> bytes) {
  std::uint32_t stored = 0;
  for (std::size_t i = 0; i < 4; ++i) stored |= static_cast<std::uint32_t>(bytes[i]) << (8 * i);
  return stored;
}

std::uint32_t HostFromStored(std::uint32_t stored) {
  return (stored & 0xFF) << 24 | (stored & 0xFF00) << 8 | (stored >> 8 & 0xFF00) | stored >> 24;
}

}  // namespace ketra
