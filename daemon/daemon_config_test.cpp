#include "daemon/daemon_config.h"

#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/runtime/test_temp_dir.h"

namespace ketra::vspd {
namespace {

std::optional<Invocation> Parse(std::vector<std::string> args, int* exit_code = nullptr,
                                std::string* output = nullptr) {
  args.insert(args.begin(), "ketra-vspd");
  std::vector<const char*> argv;
  for (const auto& arg : args) argv.push_back(arg.c_str());
  std::string text;
  int code = 0;
  auto parsed = ParseCommandLine(static_cast<int>(argv.size()), argv.data(), &text, &code);
  if (exit_code != nullptr) *exit_code = code;
  if (output != nullptr) *output = text;
  return parsed;
}

// The daemon's runs end to end give it --ports, --hive, --socket and --link-dir, and run its
// status, connect and disconnect with the options behind them.
TEST(DaemonConfigTest, CommandLines) {
  struct Case {
    std::vector<std::string> args;
    Action action;
    std::vector<std::string> ports;
    std::string port;
  };
  const std::vector<std::string> usual = {"COM3", "COM4", "COM5", "COM6"};
  const std::vector<Case> cases = {
      {{}, Action::kRun, usual, ""},
      {{"--count", "3", "--first", "10"}, Action::kRun, {"COM10", "COM11", "COM12"}, ""},
      {{"--hive", "/h.db", "disconnect", "COM4"}, Action::kDisconnect, usual, "COM4"},
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
  const auto full = Parse({"--connect-enabled", "--bind-address", "127.0.0.1", "--group", ""});
  ASSERT_TRUE(full.has_value());
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
  const runtime::TestTempDir dir;
  const std::string file = dir.File("vspd.conf");
  std::ofstream(file) << "hive = \"/from/file.db\"\nsocket = /file.sock\n[daemon]\n"
                         "ports = \"COM7, COM8\"\nconnect-enabled = true\nmax-datagram = 512\n"
                         "bind-address = 127.0.0.1\n";
  const auto parsed = Parse({"--config", file, "--socket", "/cli.sock"});
  ASSERT_TRUE(parsed.has_value());
  EXPECT_EQ(parsed->config.hive, "/from/file.db");
  EXPECT_EQ(parsed->config.ports, (std::vector<std::string>{"COM7", "COM8"}));
  EXPECT_TRUE(parsed->config.connect_enabled);
  EXPECT_EQ(parsed->config.max_datagram, 512u);
  EXPECT_EQ(parsed->config.bind_address, 0x7F000001u);
  EXPECT_EQ(parsed->config.socket, "/cli.sock");
}

TEST(DaemonConfigTest, AConfigurationFileMistakeNamesFileAndLine) {
  const runtime::TestTempDir dir;
  const std::string file = dir.File("vspd.conf");
  const struct {
    const char* text;
    const char* message;
  } cases[] = {
      {"hive = /h.db\nports = COM3\n", ":2: unknown key 'ports'"},
      {"[daemon]\n\nhive = /h.db\n", ":3: unknown key 'hive' in [daemon]"},
      {"# note\n[panel]\nx = 1\n", ":2: unknown section [panel]"},
      {"[daemon]\nconnect-enabled = maybe\n", ":2: connect-enabled must be true or false"},
      {"[daemon]\nmax-datagram = 9x\n", ":2: max-datagram must be a number"},
      {"[daemon]\nports = COM3,,COM4\n", "bad port name ''"},
      {"socket\n", ":1: expected name = value"},
  };
  for (const auto& c : cases) {
    std::ofstream(file) << c.text;
    std::string output;
    int code = 0;
    EXPECT_FALSE(Parse({"--config", file}, &code, &output).has_value()) << c.text;
    EXPECT_EQ(code, 2);
    EXPECT_NE(output.find(c.message), std::string::npos) << output;
  }
  EXPECT_FALSE(Parse({"--config", file + ".missing"}).has_value());
}

}  // namespace
}  // namespace ketra::vspd
