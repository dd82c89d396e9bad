// What only the parser and the apply step show: the line a malformed file fails on, and an import
// that fails half-way. The text form itself (every value form, the export, an export imported and
// exported again, one key in any case) is checked through the real ketra-reg by
// tests/tools/reg_text.sh.
#include "tools/ketra-reg/reg_apply.h"
#include "tools/ketra-reg/reg_export.h"
#include "tools/ketra-reg/reg_parse.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/registry/faulty_registry.h"
#include "platform/registry/memory_registry.h"
#include "platform/registry/sqlite_hive.h"
#include "platform/registry/test_registry.h"
#include "platform/runtime/test_temp_dir.h"

namespace ketra::regtext {
namespace {

using registry::kErrorSuccess;
using registry::PutValue;
using registry::Registry;

std::string Export(Registry& reg) {
  std::string text;
  EXPECT_EQ(ExportText(reg, "", &text), kErrorSuccess);
  return text;
}

TEST(RegTextTest, MalformedLinesAreReportedWithTheirNumber) {
  const std::pair<std::string, int> cases[] = {
      {"", 1},
      {"\n\nWindows Registry Editor Version 5.00\n", 3},
      {"REGEDIT4\n\"A\"=\"x\"\n", 2},                       // value before any key
      {"REGEDIT4\n[HKLM\\K]\nA=\"x\"\n", 3},                // unquoted name
      {"REGEDIT4\n[HKLM\\K]\n\"A\"\"x\"\n", 3},             // no =
      {"REGEDIT4\n[HKLM\\K]\n\"A\"=\"x\n", 3},              // text never closed
      {"REGEDIT4\n[HKLM\\K]\n\"A\"=\"x\"y\n", 3},           // junk after the text
      {"REGEDIT4\n[HKLM\\K]\n\"A\"=\"c:\\temp\"\n", 3},     // unknown escape
      {"REGEDIT4\n[HKLM\\K]\n\"A\"=dword:123456789\n", 3},  // nine digits
      {"REGEDIT4\n[HKLM\\K]\n\"A\"=dword:\n", 3},
      {"REGEDIT4\n[HKLM\\K]\n\"A\"=dword:12g\n", 3},
      {"REGEDIT4\n[HKLM\\K]\n\"A\"=hex:1,2,\n", 3},  // trailing comma
      {"REGEDIT4\n[HKLM\\K]\n\"A\"=hex:100\n", 3},
      {"REGEDIT4\n[HKLM\\K]\n\"A\"=hex(x):00\n", 3},
      {"REGEDIT4\n[HKLM\\K]\n\"A\"=hex(1)00\n", 3},
      {"REGEDIT4\n[HKLM\\K]\n\"A\"=str:x\n", 3},
      {"REGEDIT4\n[HKLM\\K]\n\"A\"=hex:01,\\\n  02,\\\n  zz\n", 3},  // statement's first line
      {"REGEDIT4\n[HKLM\\K]\n\"A\"=\"ok\"\n\n[HKEY_CURRENT_USER\\K]\n", 5},
      {"REGEDIT4\n[HKLM\\K\n", 2},
      {"REGEDIT4\n[HKLM\\\\K]\n", 2},
      {"REGEDIT4\n[HKLM\\K\\]\n", 2},
      {"REGEDIT4\n[HKLMX\\K]\n", 2},
      {"REGEDIT4\n[HKLM\\]\n", 2},
      {"REGEDIT4\n[-HKLM\\K]\n\"A\"=\"x\"\n", 3},  // value after a deleted key
      // Lines counted across CRLF line ends, a continuation and a text over two lines.
      {"REGEDIT4\r\n[HKLM\\K]\r\n\"B\"=hex:01,\\\r\n  02\r\n\"T\"=\"two\r\nlines\"\r\nA=1\r\n", 7},
  };
  for (const auto& [file, line] : cases) {
    std::vector<RegChange> changes;
    ParseError error;
    EXPECT_FALSE(ParseText(file, &changes, &error)) << file;
    EXPECT_EQ(error.line, line) << file;
    EXPECT_FALSE(error.message.empty());
  }
}

// The registry refuses a change half-way (one after CRLF line ends, a continuation and a text
// over two lines): the message names the line the file gave it, and the hive is as it was.
TEST(RegTextTest, AFailingChangeLeavesTheHiveAsItWas) {
  runtime::TestTempDir dir;
  std::unique_ptr<Registry> registries[] = {registry::MakeMemoryRegistry(),
                                            registry::OpenSqliteHive(dir.File("hive.db"))};
  for (auto& inner : registries) {
    PutValue(*inner, "Software\\Keep", "v", 1, std::string("1\0", 2));
    const std::string before = Export(*inner);
    registry::FaultyRegistry reg(*inner);
    reg.FailWhen(registry::FaultyRegistry::Op::kSet, "refused");
    std::vector<RegChange> changes;
    ParseError error;
    ASSERT_TRUE(
        ParseText("REGEDIT4\r\n[HKLM\\Software\\New]\r\n\"b\"=hex:01,\\\r\n  02\r\n"
                  "\"t\"=\"two\r\nlines\"\r\n[-HKLM\\Software\\Keep]\r\n"
                  "[HKLM\\Software\\New]\r\n\"refused\"=\"x\"\r\n",
                  &changes, &error))
        << error.line << ": " << error.message;
    std::string message;
    EXPECT_NE(ApplyChanges(reg, changes, &message), kErrorSuccess);
    EXPECT_NE(message.find("line 9"), std::string::npos) << message;
    EXPECT_EQ(Export(*inner), before);
  }
}

}  // namespace
}  // namespace ketra::regtext
