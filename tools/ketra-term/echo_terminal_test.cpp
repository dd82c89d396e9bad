#include "tools/ketra-term/echo_terminal.h"

#include <gtest/gtest.h>

#include <sstream>

namespace ketra::term {
namespace {

TEST(EchoTerminalTest, EchoesToTheSenderAndShowsTheBytes) {
  std::ostringstream shown;
  EchoTerminal terminal(net::kLoopbackAddress, {0, 0}, shown);
  const auto endpoints = terminal.LocalEndpoints();
  ASSERT_EQ(endpoints.size(), 2u);
  net::UdpSocket peer;
  ASSERT_EQ(peer.Open({net::kLoopbackAddress, 0}), 0);
  const std::uint8_t hello[] = {'h', 'i', '\r', '\n', 0x00, 0xFF};
  ASSERT_EQ(peer.SendTo(hello, endpoints[1]), 6);
  int answered = 0;
  for (int i = 0; i < 50 && answered == 0; ++i)
    answered = terminal.RunOnce(std::chrono::milliseconds(100));
  EXPECT_EQ(answered, 1);
  std::uint8_t buffer[16];
  net::Endpoint from;
  long size = -EAGAIN;
  for (int i = 0; i < 50 && size == -EAGAIN; ++i) {
    size = peer.ReceiveFrom(buffer, &from);
    if (size == -EAGAIN) terminal.RunOnce(std::chrono::milliseconds(20));
  }
  ASSERT_EQ(size, 6);
  EXPECT_EQ(from, endpoints[1]);
  EXPECT_EQ(std::string(buffer, buffer + 6), std::string(hello, hello + 6));
  EXPECT_NE(shown.str().find("(6 bytes, echoed): hi\\r\\n\\x00\\xff"), std::string::npos)
      << shown.str();
}

}  // namespace
}  // namespace ketra::term
