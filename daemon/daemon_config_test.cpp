#include "daemon/daemon_config.h"

#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ketra::vspd {
namespace {

std::optional<Invocation> Parse(std::vector<std::string> args, int* exit_code = nullptr) {
  args.insert(args.begin(), "ketra-vspd");
  std::vector<const char*> argv;
  for (const auto& arg : args) argv.push_back(arg.c_str());
  std::string output;
  int code = 0;
  auto parsed = ParseCommandLine(static_cast<int>(argv.size()), argv.data(), &output, &code);
  if (exit_code != nullptr) *exit_code = code;
  return parsed;
}

TEST(DaemonConfigTest, CommandLines) {
  struct Case {
    std::vector<std::string> args;
    Action action;
    std::vector<std::string> ports;
    std::string port;
  };
  const std::vector<Case> cases = {
      {{}, Action::kRun, {"COM3", "COM4", "COM5", "COM6"}, ""},
      {{"run", "--ports", "COM3,COM12"}, Action::kRun, {"COM3", "COM12"}, ""},
      {{"--count", "3", "--first", "10"}, Action::kRun, {"COM10", "COM11", "COM12"}, ""},
      {{"status", "--socket", "/x.sock"}, Action::kStatus, {"COM3", "COM4", "COM5", "COM6"}, ""},
      {{"connect", "COM5", "--hive", "/h.db"},
       Action::kConnect,
       {"COM3", "COM4", "COM5", "COM6"},
       "COM5"},
      {{"--hive", "/h.db", "disconnect", "COM4"},
       Action::kDisconnect,
       {"COM3", "COM4", "COM5", "COM6"},
       "COM4"},
  };
  for (const auto& c : cases) {
    const auto parsed = Parse(c.args);
    ASSERT_TRUE(parsed.has_value()) << testing::PrintToString(c.args);
    EXPECT_EQ(parsed->action, c.action);
    EXPECT_EQ(parsed->config.ports, c.ports);
    EXPECT_EQ(parsed->port, c.port);
    EXPECT_FALSE(parsed->config.socket.empty());
    EXPECT_FALSE(parsed->config.hive.empty());
    EXPECT_FALSE(parsed->config.link_directory.empty());
  }
  const auto full = Parse({"--hive", "/h.db", "--socket", "/s", "--link-dir", "/l",
                           "--connect-enabled", "--bind-address", "127.0.0.1", "--group", ""});
  ASSERT_TRUE(full.has_value());
  EXPECT_EQ(full->config.hive, "/h.db");
  EXPECT_EQ(full->config.socket, "/s");
  EXPECT_EQ(full->config.link_directory, "/l");
  EXPECT_TRUE(full->config.connect_enabled);
  EXPECT_EQ(full->config.bind_address, 0x7F000001u);
  EXPECT_EQ(full->config.group, "");
}

TEST(DaemonConfigTest, RefusedCommandLines) {
  const std::vector<std::vector<std::string>> cases = {
      {"--ports", "COM3,COM3"},
      {"--ports", "com3,COM3"},
      {"--ports", "COM 3"},
      {"--ports", "../COM3"},
      {"--ports", "COM3", "--count", "2"},
      {"--count", "0"},
      {"--count", "1025"},
      {"--bind-address", "localhost"},
      {"--bind-address", "1.2.3"},
      {"connect"},
      {"frobnicate"},
      {"--max-datagram", "70000"},
  };
  for (const auto& args : cases) {
    int exit_code = 0;
    EXPECT_FALSE(Parse(args, &exit_code).has_value()) << testing::PrintToString(args);
    EXPECT_NE(exit_code, 0) << testing::PrintToString(args);
  }
}

TEST(DaemonConfigTest, AConfigurationFileGivesOptionsTheCommandLineOverrides) {
  const std::string file = ::testing::TempDir() + "vspd-" + std::to_string(::getpid()) + ".conf";
  std::ofstream(file) << "hive = \"/from/file.db\"\nports = \"COM7,COM8\"\nconnect-enabled = true\n"
                         "socket = \"/file.sock\"\n";
  const auto parsed = Parse({"--config", file, "--socket", "/cli.sock"});
  ASSERT_TRUE(parsed.has_value());
  EXPECT_EQ(parsed->config.hive, "/from/file.db");
  EXPECT_EQ(parsed->config.ports, (std::vector<std::string>{"COM7", "COM8"}));
  EXPECT_TRUE(parsed->config.connect_enabled);
  EXPECT_EQ(parsed->config.socket, "/cli.sock");
  ::unlink(file.c_str());
}

}  // namespace
}  // namespace ketra::vspd
