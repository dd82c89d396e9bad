#include "tools/ketra-session/session.h"

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "platform/registry/memory_registry.h"
#include "platform/registry/test_registry.h"
#include "platform/runtime/text_file.h"

namespace ketra::session {
namespace {

using nlohmann::json;

class FixedApp : public forms::AppServices {
 public:
  std::string Path() const override { return "/opt/ketra"; }
  bool PrevInstance() override { return false; }
};

// A session on an in-memory registry whose device map holds COM3 and COM4.
class SessionTest : public ::testing::Test {
 protected:
  SessionTest() : registry_(registry::MakeMemoryRegistry()) {
    AddDevice(0, "COM3");
    AddDevice(1, "COM4");
  }

  void AddDevice(int device, const std::string& port) {
    registry::PutValue(*registry_, "HARDWARE\\DEVICEMAP\\SERIALCOMM",
                       "\\Device\\TesSerial" + std::to_string(device), registry::kRegSz,
                       port + '\0');
  }

  // Runs a script through a fresh session and gives back its output lines as JSON.
  std::vector<json> Run(const std::string& script) {
    std::ostringstream out;
    Session session(Environment{*registry_, app_, files_}, out);
    std::istringstream in(script);
    session.Run(in);
    return Lines(out.str());
  }

  static std::vector<json> Lines(const std::string& text) {
    std::vector<json> lines;
    std::istringstream stream(text);
    std::string line;
    while (std::getline(stream, line)) lines.push_back(json::parse(line));
    return lines;
  }

  std::unique_ptr<registry::Registry> registry_;
  FixedApp app_;
  runtime::MemoryFileSystem files_;
};

TEST_F(SessionTest, TextsRoundTripBetweenUtf8AndTheProgramsCodePage) {
  const std::vector<json> lines =
      Run("set TXT_XON \"\\u00e9\\u20ac\"\n"
          "set Label1 \"caf\\u00e9 \\\"quoted\\\" back\\\\slash\"\n"
          "dump control TXT_XON\n"
          "dump control Label1\n");
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0]["text"], "\xC3\xA9\xE2\x82\xAC");
  EXPECT_EQ(lines[1]["caption"], "caf\xC3\xA9 \"quoted\" back\\slash");
}

TEST_F(SessionTest, AFailureNamesTheRoutineTheCommandRan) {
  // A stored XOFF that is no byte stops ShowStoredPort inside the port choice.
  std::ostringstream out;
  Session session(Environment{*registry_, app_, files_}, out);
  ASSERT_TRUE(session.Execute("start", 1));
  for (const auto& [name, text] : {std::pair{"FLOWCONTROL", "49"}, {"XOFF", "300"}}) {
    ASSERT_EQ(registry::SetText(*registry_, "Software\\Tessaron\\VSP\\COM4", name, text),
              registry::kErrorSuccess);
  }
  ASSERT_TRUE(session.Execute("choose CMB_PORT \"COM4\"", 2));
  ASSERT_TRUE(session.Execute("call ConfigureFromTheFile2", 3));
  const std::vector<json> failures = Lines(out.str());
  ASSERT_EQ(failures.size(), 2u) << out.str();
  EXPECT_EQ(failures[0]["event"], "failure");
  EXPECT_EQ(failures[0]["routine"], "CMB_PORT_Click");
  EXPECT_EQ(failures[1]["routine"], "ConfigureFromTheFile2");
  EXPECT_FALSE(failures[1]["error"].get<std::string>().empty());
}

}  // namespace
}  // namespace ketra::session
