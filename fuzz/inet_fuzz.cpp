// The address functions on any text: an address read from a text writes as dotted text that
// reads back as the same address, and any 32-bit address survives the same round trip.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "fuzz/fuzz_check.h"
#include "platform/net/inet.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using ketra::net::InetAddr;
  using ketra::net::InetNtoa;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::uint32_t address = InetAddr(text);
  const std::string dotted = InetNtoa(address);
  FUZZ_CHECK(dotted.size() >= 7 && dotted.size() <= 15);
  // All bits set is both 255.255.255.255 and "no address"; every other answer round-trips.
  FUZZ_CHECK(InetAddr(dotted) == address);
  if (size >= 4) {
    std::uint32_t raw = 0;
    std::memcpy(&raw, data, sizeof raw);
    FUZZ_CHECK(InetAddr(InetNtoa(raw)) == raw);
  }
  return 0;
}
