// A remote address in each of the forms it takes, and the one place that turns between them:
//   text     "192.168.1.35", as the form and the row hold it;
//   stored   the 32-bit number inet_addr gives, first octet in the lowest byte, which the store
//            keeps as decimal signed text and the driver record carries;
//   record   the driver record's four address bytes, first octet first;
//   host     first octet in the highest byte, as the sockets' endpoints hold it.
// Pure functions; thread-safe.
#ifndef KETRA_CONFIG_APPL_PORT_ADDRESS_H_
#define KETRA_CONFIG_APPL_PORT_ADDRESS_H_

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace ketra {

// The platform's inet_addr: all 32 bits set for a text that is no address.
std::uint32_t StoredFromText(std::string_view dotted);
// The dotted text of a stored number.
std::string TextFromStored(std::int32_t stored);
// The store's text of an address: the decimal signed 32-bit stored number.
std::string StoredAddressText(std::string_view dotted);

void StoredToRecordBytes(std::uint32_t stored, std::span<std::uint8_t, 4> bytes);
std::uint32_t StoredFromRecordBytes(std::span<const std::uint8_t, 4> bytes);

std::uint32_t HostFromStored(std::uint32_t stored);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_PORT_ADDRESS_H_
