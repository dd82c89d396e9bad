// Dotted IPv4 text to a 32-bit address and back, with the behaviour the panel relies on rather
// than the C library's. InetAddr and InetNtoa are the platform's: wsock32's own on Windows, and
// on POSIX this project's reader and writer, OwnInetAddr and OwnInetNtoa, which every build keeps
// so that a test can hold them against the platform's. Parts in decimal, octal (leading 0) or
// hexadecimal (0x); the 1- to 4-part forms; all 32 bits set for a text that is no address. The
// first octet is in the lowest byte of the result. Stateless and thread-safe.
#ifndef KETRA_PLATFORM_NET_INET_H_
#define KETRA_PLATFORM_NET_INET_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace ketra::net {

inline constexpr std::uint32_t kInaddrNone = 0xFFFFFFFFu;

std::uint32_t InetAddr(std::string_view text);
std::string InetNtoa(std::uint32_t address);

std::uint32_t OwnInetAddr(std::string_view text);
std::string OwnInetNtoa(std::uint32_t address);

}  // namespace ketra::net

#endif  // KETRA_PLATFORM_NET_INET_H_
