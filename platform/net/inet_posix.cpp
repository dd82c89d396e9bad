// On POSIX the panel's address functions are the project's own: the C library's inet_addr reads
// several forms differently (every part must start with a digit, so " " is no address there).
#include "platform/net/inet.h"

namespace ketra::net {

std::uint32_t InetAddr(std::string_view text) { return OwnInetAddr(text); }
std::string InetNtoa(std::uint32_t address) { return OwnInetNtoa(address); }

}  // namespace ketra::net
