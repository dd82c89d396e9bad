#include "platform/device/vspd_protocol.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ketra::device::wire {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes Msg(std::uint8_t kind, Bytes payload = {}) {
  payload.insert(payload.begin(), {kMagic, kVersion, kind, 0});
  return payload;
}

Bytes Text(std::string_view text) { return Bytes(text.begin(), text.end()); }

// The exact bytes of the requests are pinned by the daemon's end-to-end run, whose own client
// speaks the wire format independently; that every message encodes back to the bytes it was
// parsed from is the protocol fuzzer's, on its seeds in every clang build.
TEST(VspdProtocolTest, MalformedRequestsAreRefusedWithTheirReason) {
  Bytes long_path = Msg(1, Bytes(kMaxPathLength + 1, 'A'));
  Bytes longest_path = Msg(1, Bytes(kMaxPathLength, 'A'));
  struct Case {
    const char* what;
    Bytes bytes;
    ParseError error;
  };
  const std::vector<Case> cases = {
      {"empty", {}, ParseError::kTooShort},
      {"three bytes", {kMagic, kVersion, 3}, ParseError::kTooShort},
      {"bad magic", {0x4C, kVersion, 3, 0}, ParseError::kBadMagic},
      {"version 2", {kMagic, 2, 3, 0}, ParseError::kBadVersion},
      {"reserved set", {kMagic, kVersion, 3, 1}, ParseError::kBadReserved},
      {"kind 0", Msg(0), ParseError::kUnknownKind},
      {"a reply kind as request", Msg(129, {0, 0, 0, 0}), ParseError::kUnknownKind},
      {"open without path", Msg(1), ParseError::kBadLength},
      {"open too long", long_path, ParseError::kBadLength},
      {"open with NUL", Msg(1, {'C', 0, 'M'}), ParseError::kBadText},
      {"open with blank", Msg(1, Text("\\\\.\\COM 5")), ParseError::kBadText},
      {"open with high byte", Msg(1, {'C', 0xE9}), ParseError::kBadText},
      {"ioctl short", Msg(2, Bytes(15, 0)), ParseError::kBadLength},
      {"ioctl long", Msg(2, Bytes(17, 0)), ParseError::kBadLength},
      {"close with payload", Msg(3, {0}), ParseError::kBadLength},
      {"status with payload", Msg(4, {0}), ParseError::kBadLength},
  };
  for (const auto& c : cases) {
    ParseError error = ParseError::kNone;
    EXPECT_FALSE(ParseRequest(c.bytes, &error).has_value()) << c.what;
    EXPECT_EQ(error, c.error) << c.what << ": " << ParseErrorText(error);
  }
  ParseError error = ParseError::kNone;
  EXPECT_TRUE(ParseRequest(longest_path, &error).has_value());
}

TEST(VspdProtocolTest, MalformedRepliesAreRefused) {
  struct Case {
    const char* what;
    Bytes bytes;
    ParseError error;
  };
  const std::vector<Case> cases = {
      {"open reply short", Msg(129, {0, 0, 0}), ParseError::kBadLength},
      {"ioctl reply without record", Msg(130, {0, 0, 0, 0}), ParseError::kBadLength},
      {"close reply long", Msg(131, {0, 0, 0, 0, 0}), ParseError::kBadLength},
      {"status with NUL", Msg(132, {'{', 0, '}'}), ParseError::kBadText},
      {"refusal without error", Msg(255, {0, 0}), ParseError::kBadLength},
      {"refusal with control byte", Msg(255, {0, 0, 0, 0, '\n'}), ParseError::kBadText},
      {"request kind as reply", Msg(1, Text("x")), ParseError::kUnknownKind},
  };
  for (const auto& c : cases) {
    ParseError error = ParseError::kNone;
    EXPECT_FALSE(ParseReply(c.bytes, &error).has_value()) << c.what;
    EXPECT_EQ(error, c.error) << c.what;
  }
}

TEST(VspdProtocolTest, DevicePaths) {
  struct Case {
    std::string path;
    std::optional<DevicePath> expected;
  };
  const std::vector<Case> cases = {
      {"\\\\.\\COM5", DevicePath{"COM5", false}},
      {"\\\\.\\COM5\\p", DevicePath{"COM5", true}},
      {"\\\\.\\COM123", DevicePath{"COM123", false}},
      {"\\\\.\\com_x-1", DevicePath{"com_x-1", false}},
      {"\\\\.\\p", DevicePath{"p", false}},
      {"\\\\.\\", std::nullopt},
      {"\\\\.\\\\p", std::nullopt},
      {"COM5", std::nullopt},
      {"\\\\?\\COM5", std::nullopt},
      {"\\\\.\\COM5\\P", std::nullopt},
      {"\\\\.\\COM5\\p\\p", std::nullopt},
      {"\\\\.\\..\\COM5", std::nullopt},
      {"\\\\.\\COM/5", std::nullopt},
      {"\\\\.\\" + std::string(kMaxPortName + 1, 'C'), std::nullopt},
  };
  for (const auto& c : cases) EXPECT_EQ(ParseDevicePath(c.path), c.expected) << c.path;
}

}  // namespace
}  // namespace ketra::device::wire
