#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "platform/net/udp_socket.h"

namespace ketra::net {
namespace {

sockaddr_in ToSockaddr(const Endpoint& endpoint) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(endpoint.address);
  address.sin_port = htons(endpoint.port);
  return address;
}

Endpoint FromSockaddr(const sockaddr_in& address) {
  return Endpoint{ntohl(address.sin_addr.s_addr), ntohs(address.sin_port)};
}

}  // namespace

std::string Endpoint::ToString() const {
  return std::to_string(address >> 24) + "." + std::to_string((address >> 16) & 0xFF) + "." +
         std::to_string((address >> 8) & 0xFF) + "." + std::to_string(address & 0xFF) + ":" +
         std::to_string(port);
}

int UdpSocket::Open(const Endpoint& local) {
  fd_.Reset();
  runtime::Fd fd(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!fd) return errno;
  const sockaddr_in address = ToSockaddr(local);
  if (::bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return errno;
  }
  fd_ = std::move(fd);
  return 0;
}

Endpoint UdpSocket::LocalEndpoint() const {
  sockaddr_in address{};
  socklen_t length = sizeof address;
  if (::getsockname(fd_.get(), reinterpret_cast<sockaddr*>(&address), &length) != 0) return {};
  return FromSockaddr(address);
}

long UdpSocket::SendTo(std::span<const std::uint8_t> data, const Endpoint& to) {
  const sockaddr_in address = ToSockaddr(to);
  const ssize_t sent = ::sendto(fd_.get(), data.data(), data.size(), MSG_NOSIGNAL,
                                reinterpret_cast<const sockaddr*>(&address), sizeof address);
  return sent < 0 ? -errno : static_cast<long>(sent);
}

long UdpSocket::ReceiveFrom(std::span<std::uint8_t> buffer, Endpoint* from) {
  sockaddr_in address{};
  socklen_t length = sizeof address;
  const ssize_t received = ::recvfrom(fd_.get(), buffer.data(), buffer.size(), 0,
                                      reinterpret_cast<sockaddr*>(&address), &length);
  if (received < 0) return -errno;
  if (from != nullptr) *from = FromSockaddr(address);
  return static_cast<long>(received);
}

long UdpSocket::ReceiveFrom(std::span<std::uint8_t> buffer, Endpoint* from,
                            std::uint32_t* dropped) {
  sockaddr_in address{};
  iovec vector{buffer.data(), buffer.size()};
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(std::uint32_t))];
  msghdr message{};
  message.msg_name = &address;
  message.msg_namelen = sizeof address;
  message.msg_iov = &vector;
  message.msg_iovlen = 1;
  message.msg_control = control;
  message.msg_controllen = sizeof control;
  const ssize_t received = ::recvmsg(fd_.get(), &message, 0);
  if (received < 0) return -errno;
  if (from != nullptr) *from = FromSockaddr(address);
  for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr;
       header = CMSG_NXTHDR(&message, header)) {
    if (header->cmsg_level == SOL_SOCKET && header->cmsg_type == SO_RXQ_OVFL &&
        dropped != nullptr) {
      std::memcpy(dropped, CMSG_DATA(header), sizeof *dropped);
    }
  }
  return static_cast<long>(received);
}

void UdpSocket::CountDrops() {
  const int on = 1;
  ::setsockopt(fd_.get(), SOL_SOCKET, SO_RXQ_OVFL, &on, sizeof on);
}

std::uint32_t UdpSocket::DropCount() const {
  std::uint32_t memory[SK_MEMINFO_VARS] = {};
  socklen_t length = sizeof memory;
  if (::getsockopt(fd_.get(), SOL_SOCKET, SO_MEMINFO, memory, &length) != 0 ||
      length <= SK_MEMINFO_DROPS * sizeof memory[0]) {
    return 0;
  }
  return memory[SK_MEMINFO_DROPS];
}

void UdpSocket::SetBufferSizes(int receive_bytes, int send_bytes) {
  ::setsockopt(fd_.get(), SOL_SOCKET, SO_RCVBUF, &receive_bytes, sizeof receive_bytes);
  ::setsockopt(fd_.get(), SOL_SOCKET, SO_SNDBUF, &send_bytes, sizeof send_bytes);
}

}  // namespace ketra::net
