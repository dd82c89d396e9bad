// Datagrams and their sender on loopback are checked through the users of the socket: the echo
// terminal's test (ReceiveFrom), the port I/O contract (ReceiveFrom with the kernel's drops) and
// the daemon's end-to-end runs; here the conflict that only a second bind shows.
#include "platform/net/udp_socket.h"

#include <cerrno>

#include <gtest/gtest.h>

namespace ketra::net {
namespace {

TEST(UdpSocketTest, APortHeldElsewhereIsAConflictEvenOnTheAnyAddress) {
  UdpSocket holder;
  ASSERT_EQ(holder.Open({kLoopbackAddress, 0}), 0);
  const std::uint16_t port = holder.LocalEndpoint().port;
  for (const std::uint32_t address : {kLoopbackAddress, kAnyAddress}) {
    UdpSocket second;
    EXPECT_EQ(second.Open({address, port}), EADDRINUSE);
    EXPECT_FALSE(second.is_open());
  }
}

}  // namespace
}  // namespace ketra::net
