#include "tools/ketra-session/session.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "config_appl/app/program_fixture.h"
#include "platform/registry/test_registry.h"

namespace ketra::session {
namespace {

using nlohmann::json;

// A session on the program fixture's fakes, whose device map holds COM3 and COM4.
class SessionTest : public ::testing::Test {
 protected:
  SessionTest() { f_.AddPorts(2); }

  static std::vector<json> Lines(const std::string& text) {
    std::vector<json> lines;
    std::istringstream stream(text);
    std::string line;
    while (std::getline(stream, line)) lines.push_back(json::parse(line));
    return lines;
  }

  Environment Env() { return Environment{*f_.memory, f_.app, f_.files}; }

  ketra::testing::ProgramFixture f_;
};

TEST_F(SessionTest, AFailureNamesTheRoutineTheCommandRan) {
  // A stored XOFF that is no byte stops ShowStoredPort inside the port choice.
  std::ostringstream out;
  Session session(Env(), out);
  ASSERT_TRUE(session.Execute("start", 1));
  for (const auto& [name, text] : {std::pair{"FLOWCONTROL", "49"}, {"XOFF", "300"}}) {
    ASSERT_EQ(registry::SetText(*f_.memory, "Software\\Tessaron\\VSP\\COM4", name, text),
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
