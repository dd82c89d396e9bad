#include "platform/runtime/site_config.h"

#include <gtest/gtest.h>

#include <fstream>

namespace ketra::runtime {
namespace {

TEST(SiteConfigTest, ParsesSectionsQuotesAndComments) {
  const std::string text =
      "# machine\n"
      "hive = /var/lib/ketra/hive.db\r\n"
      "  socket=\"/run/ketra/vspd.sock\"  \n"
      "; note\n"
      "\n"
      "[ daemon ]\n"
      "ports = \"COM3,COM4\"\n"
      "group =\n";
  const auto parsed = ParseConfigText(text);
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  const std::vector<ConfigEntry>& entries = *parsed;
  ASSERT_EQ(entries.size(), 4u);
  EXPECT_EQ(entries[0].key, "hive");
  EXPECT_EQ(entries[0].value, "/var/lib/ketra/hive.db");
  EXPECT_EQ(entries[1].value, "/run/ketra/vspd.sock");
  EXPECT_EQ(entries[1].section, "");
  EXPECT_EQ(entries[2].section, "daemon");
  EXPECT_EQ(entries[2].value, "COM3,COM4");
  EXPECT_EQ(entries[2].line, 7);
  EXPECT_EQ(entries[3].value, "");
}

TEST(SiteConfigTest, MalformedLinesNameTheirNumber) {
  const struct {
    const char* text;
    const char* line;
  } cases[] = {
      {"hive\n", "1: "},       {"a = 1\n[daemon\n", "2: "},
      {"[]\n", "1: "},         {"a = 1\n\nbad key = 2\n", "3: "},
      {"a = \"open\n", "1: "},
  };
  for (const auto& c : cases) {
    const auto parsed = ParseConfigText(c.text);
    ASSERT_FALSE(parsed.ok()) << c.text;
    EXPECT_TRUE(parsed.status().IsInvalidArgument());
    EXPECT_EQ(parsed.status().message().rfind(c.line, 0), 0u) << parsed.status().message();
  }
}

TEST(SiteConfigTest, ValuesComeFromTheTopOnlyAndNeverFail) {
  const std::string path = ::testing::TempDir() + "site_config_test.conf";
  std::ofstream(path) << "hive = /h.db\n[daemon]\nsocket = /not-for-clients.sock\n";
  EXPECT_EQ(SiteConfigValue(path, "hive"), "/h.db");
  EXPECT_EQ(SiteConfigValue(path, "socket"), "");
  EXPECT_EQ(SiteConfigValue(path + ".missing", "hive"), "");
  std::ofstream(path) << "hive = /h.db\nbroken\n";
  EXPECT_EQ(SiteConfigValue(path, "hive"), "");
  EXPECT_EQ(ReadConfigFile(path).status(),
            Status::InvalidArgument(path + ":2: expected name = value"));
  EXPECT_TRUE(ReadConfigFile(path + ".missing").status().IsNotFound());
}

}  // namespace
}  // namespace ketra::runtime
