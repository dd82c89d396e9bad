// On Windows the panel's address functions are the platform's own, inet_addr and inet_ntoa of
// wsock32, called as the panel calls them: narrow text in, and the platform's text copied out
// of its buffer at once. Both are pure conversions that need no WSAStartup.
#include <winsock.h>

#include <string>

#include "platform/net/inet.h"

namespace ketra::net {

std::uint32_t InetAddr(std::string_view text) {
  const std::string narrow(text);
  return static_cast<std::uint32_t>(::inet_addr(narrow.c_str()));
}

std::string InetNtoa(std::uint32_t address) {
  in_addr in{};
  in.s_addr = address;
  const char* dotted = ::inet_ntoa(in);
  return dotted == nullptr ? std::string() : std::string(dotted);
}

}  // namespace ketra::net
