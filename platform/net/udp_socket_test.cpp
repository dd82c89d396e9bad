#include "platform/net/udp_socket.h"

#include <cerrno>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

namespace ketra::net {
namespace {

TEST(UdpSocketTest, DatagramsCarryTheirSenderOnLoopback) {
  UdpSocket a;
  UdpSocket b;
  ASSERT_EQ(a.Open({kLoopbackAddress, 0}), 0);
  ASSERT_EQ(b.Open({kLoopbackAddress, 0}), 0);
  const std::vector<std::uint8_t> payload{1, 2, 3, 0, 255};
  ASSERT_EQ(a.SendTo(payload, b.LocalEndpoint()), 5);

  std::vector<std::uint8_t> buffer(64);
  Endpoint from;
  long received = -EAGAIN;
  for (int i = 0; i < 1000 && received == -EAGAIN; ++i) received = b.ReceiveFrom(buffer, &from);
  ASSERT_EQ(received, 5);
  buffer.resize(5);
  EXPECT_EQ(buffer, payload);
  EXPECT_EQ(from, a.LocalEndpoint());
  EXPECT_EQ(b.ReceiveFrom(buffer, &from), -EAGAIN);
}

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

TEST(FdTest, MovesOwnershipAndClosesOnce) {
  UdpSocket socket;
  ASSERT_EQ(socket.Open({kLoopbackAddress, 0}), 0);
  runtime::Fd first(::dup(socket.fd()));
  ASSERT_TRUE(first.valid());
  runtime::Fd second(std::move(first));
  EXPECT_FALSE(first.valid());  // NOLINT(bugprone-use-after-move): the moved-from state matters
  EXPECT_TRUE(second.valid());
  EXPECT_EQ(second.Reset(), 0);
  EXPECT_EQ(second.Reset(), 0);
}

}  // namespace
}  // namespace ketra::net
