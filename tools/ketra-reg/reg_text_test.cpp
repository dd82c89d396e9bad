#include "tools/ketra-reg/reg_apply.h"
#include "tools/ketra-reg/reg_export.h"
#include "tools/ketra-reg/reg_parse.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/registry/memory_registry.h"
#include "platform/registry/sqlite_hive.h"
#include "platform/runtime/test_temp_dir.h"
#include "platform/registry/test_registry.h"

namespace ketra::regtext {
namespace {

using registry::HKey;
using registry::kErrorSuccess;
using registry::kHKeyLocalMachine;
using registry::PutValue;
using registry::Registry;

std::string Export(Registry& reg, std::string_view key = "") {
  std::string text;
  EXPECT_EQ(ExportText(reg, key, &text), kErrorSuccess);
  return text;
}

void Import(Registry& reg, std::string_view text) {
  std::vector<RegChange> changes;
  ParseError error;
  ASSERT_TRUE(ParseText(text, &changes, &error)) << error.line << ": " << error.message;
  std::string message;
  ASSERT_EQ(ApplyChanges(reg, changes, &message), kErrorSuccess) << message;
}

// The session scripts check the export of the settings keys; here the forms they do not meet.
TEST(RegTextTest, ExportsEveryKeyAndTheOddNamesAndTypes) {
  auto reg = registry::MakeMemoryRegistry();
  PutValue(*reg, "Software\\Tessaron\\VSP\\com10", "ENABLED", 0, std::string("49\0", 3));
  PutValue(*reg, "HARDWARE\\DEVICEMAP\\SERIALCOMM", "\\Device\\TesSerial0", 1,
           std::string("COM3\0", 5));
  PutValue(*reg, "HARDWARE\\DEVICEMAP\\SERIALCOMM", "Say \"hi\"", 1, std::string("a\\b\xE9\0", 5));
  PutValue(*reg, "HARDWARE\\DEVICEMAP\\SERIALCOMM", "", 4, std::string("\x01\0\0\0", 4));
  PutValue(*reg, "HARDWARE\\DEVICEMAP\\SERIALCOMM", "empty", 0, "");
  EXPECT_EQ(Export(*reg),
            "REGEDIT4\n"
            "\n"
            "[HKEY_LOCAL_MACHINE]\n"
            "\n"
            "[HKEY_LOCAL_MACHINE\\HARDWARE]\n"
            "\n"
            "[HKEY_LOCAL_MACHINE\\HARDWARE\\DEVICEMAP]\n"
            "\n"
            "[HKEY_LOCAL_MACHINE\\HARDWARE\\DEVICEMAP\\SERIALCOMM]\n"
            "\"\\\\Device\\\\TesSerial0\"=\"COM3\"\n"
            "\"Say \\\"hi\\\"\"=\"a\\\\b\xC3\xA9\"\n"
            "@=hex(4):01,00,00,00\n"
            "\"empty\"=hex(0):\n"
            "\n"
            "[HKEY_LOCAL_MACHINE\\Software]\n"
            "\n"
            "[HKEY_LOCAL_MACHINE\\Software\\Tessaron]\n"
            "\n"
            "[HKEY_LOCAL_MACHINE\\Software\\Tessaron\\VSP]\n"
            "\n"
            "[HKEY_LOCAL_MACHINE\\Software\\Tessaron\\VSP\\com10]\n"
            "\"ENABLED\"=hex(0):34,39,00\n");
  // One key, named in any case, is shown in the case it was made in.
  EXPECT_EQ(Export(*reg, "hklm\\software\\TESSARON\\vsp\\com10"),
            "REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\Software\\Tessaron\\VSP\\com10]\n"
            "\"ENABLED\"=hex(0):34,39,00\n");
  std::string text;
  EXPECT_EQ(ExportText(*reg, "HKEY_LOCAL_MACHINE\\Software\\Nothing", &text),
            registry::kErrorFileNotFound);
  EXPECT_EQ(ExportText(*reg, "HKEY_CURRENT_USER\\Software", &text),
            registry::kErrorInvalidParameter);
}

TEST(RegTextTest, OnlyATextWithOneClosingNulIsWrittenAsText) {
  const std::pair<std::string, std::string> cases[] = {
      {std::string("COM3\0", 5), "\"COM3\""},
      {std::string("\0", 1), "\"\""},
      {"COM3", "hex(1):43,4f,4d,33"},
      {std::string("A\0B\0", 4), "hex(1):41,00,42,00"},
      {std::string("A\0\0", 3), "hex(1):41,00,00"},
      {"", "hex(1):"},
  };
  for (const auto& [data, form] : cases) {
    auto reg = registry::MakeMemoryRegistry();
    PutValue(*reg, "K", "v", registry::kRegSz, data);
    EXPECT_EQ(Export(*reg, "HKLM\\K"), "REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\K]\n\"v\"=" + form + "\n");
  }
}

TEST(RegTextTest, ParsesEveryValueForm) {
  struct Case {
    std::string line;
    RegChange::Kind kind;
    std::string name;
    std::uint32_t type;
    std::string data;
  };
  const Case cases[] = {
      {"\"A\"=\"COM3\"", RegChange::Kind::kSetValue, "A", 1, std::string("COM3\0", 5)},
      {"\"A\"=\"\"", RegChange::Kind::kSetValue, "A", 1, std::string("\0", 1)},
      {"\"A\" = \"x\"", RegChange::Kind::kSetValue, "A", 1, std::string("x\0", 2)},
      {"\"a\\\\b\\\"c\"=\"d\\\\e\\\"f\"", RegChange::Kind::kSetValue, "a\\b\"c", 1,
       std::string("d\\e\"f\0", 6)},
      {"\"\xC3\xA9\xE2\x82\xAC\"=\"\xC3\xBF\"", RegChange::Kind::kSetValue, "\xE9\x80", 1,
       std::string("\xFF\0", 2)},
      {"@=\"unnamed\"", RegChange::Kind::kSetValue, "", 1, std::string("unnamed\0", 8)},
      {"\"D\"=dword:00000102", RegChange::Kind::kSetValue, "D", 4, std::string("\x02\x01\0\0", 4)},
      {"\"D\"=dword:FFFFFFFF", RegChange::Kind::kSetValue, "D", 4, "\xFF\xFF\xFF\xFF"},
      {"\"D\"=dword:1", RegChange::Kind::kSetValue, "D", 4, std::string("\x01\0\0\0", 4)},
      {"\"B\"=hex:01,ab,FF", RegChange::Kind::kSetValue, "B", 3, "\x01\xAB\xFF"},
      {"\"B\"=hex:", RegChange::Kind::kSetValue, "B", 3, ""},
      {"\"N\"=hex(0):34,39,00", RegChange::Kind::kSetValue, "N", 0, std::string("49\0", 3)},
      {"\"M\"=hex(7):61,00,00", RegChange::Kind::kSetValue, "M", 7, std::string("a\0\0", 3)},
      {"\"M\"=HEX(A): 1 , 2", RegChange::Kind::kSetValue, "M", 10, "\x01\x02"},
      {"\"A\"=-", RegChange::Kind::kDeleteValue, "A", 0, ""},
  };
  for (const auto& c : cases) {
    std::vector<RegChange> changes;
    ParseError error;
    ASSERT_TRUE(ParseText("REGEDIT4\n[HKLM\\K]\n" + c.line + "\n", &changes, &error))
        << c.line << ": " << error.message;
    ASSERT_EQ(changes.size(), 2u) << c.line;
    const RegChange& change = changes[1];
    EXPECT_EQ(change.kind, c.kind) << c.line;
    EXPECT_EQ(change.key, "K");
    EXPECT_EQ(change.line, 3);
    EXPECT_EQ(change.name, c.name) << c.line;
    if (c.kind == RegChange::Kind::kSetValue) {
      EXPECT_EQ(change.type, c.type) << c.line;
      EXPECT_EQ(std::string(change.data.begin(), change.data.end()), c.data) << c.line;
    }
  }
}

TEST(RegTextTest, KeysCommentsLineEndsAndContinuations) {
  const std::string file =
      "\xEF\xBB\xBFREGEDIT4\r\n"
      "; a comment \"with a quote\\\r\n"
      "\r\n"
      "[HKEY_LOCAL_MACHINE\\Software\\Tessaron]\r\n"
      "\"B\"=hex:01,02,\\\r\n"
      "  03,04\r\n"
      "\"T\"=\"two\r\n"
      "lines\"\r\n"
      "[-HKLM\\Software\\Old]\n"
      "  [hklm]  \n"
      "[hkey_local_machine\\\xC3\x84nderung]\n"
      "\"after\"=dword:2";
  std::vector<RegChange> changes;
  ParseError error;
  ASSERT_TRUE(ParseText(file, &changes, &error)) << error.line << ": " << error.message;
  ASSERT_EQ(changes.size(), 7u);
  EXPECT_EQ(changes[0].kind, RegChange::Kind::kOpenKey);
  EXPECT_EQ(changes[0].key, "Software\\Tessaron");
  EXPECT_EQ(changes[0].line, 4);
  EXPECT_EQ(std::string(changes[1].data.begin(), changes[1].data.end()), "\x01\x02\x03\x04");
  EXPECT_EQ(changes[1].line, 5);
  EXPECT_EQ(std::string(changes[2].data.begin(), changes[2].data.end()),
            std::string("two\r\nlines\0", 11));
  EXPECT_EQ(changes[2].line, 7);
  EXPECT_EQ(changes[3].kind, RegChange::Kind::kDeleteKey);
  EXPECT_EQ(changes[3].key, "Software\\Old");
  EXPECT_EQ(changes[3].line, 9);
  EXPECT_EQ(changes[4].kind, RegChange::Kind::kOpenKey);
  EXPECT_EQ(changes[4].key, "");
  EXPECT_EQ(changes[5].key, "\xC4nderung");  // UTF-8 in the file, Windows-1252 in the hive
  EXPECT_EQ(changes[6].line, 12);
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
  };
  for (const auto& [file, line] : cases) {
    std::vector<RegChange> changes;
    ParseError error;
    EXPECT_FALSE(ParseText(file, &changes, &error)) << file;
    EXPECT_EQ(error.line, line) << file;
    EXPECT_FALSE(error.message.empty());
  }
}

TEST(RegTextTest, ImportAppliesDeletions) {
  auto reg = registry::MakeMemoryRegistry();
  Import(*reg,
         "REGEDIT4\n[HKLM\\Software\\A\\Deep]\n\"x\"=\"1\"\n[HKLM\\Software\\B]\n\"y\"=\"2\"\n"
         "\"z\"=\"3\"\n");
  Import(*reg,
         "REGEDIT4\n[-HKEY_LOCAL_MACHINE\\Software\\A]\n[HKLM\\Software\\B]\n\"Y\"=-\n"
         "\"missing\"=-\n[-HKLM\\Software\\Missing]\n");
  EXPECT_EQ(Export(*reg, "HKLM\\Software"),
            "REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\Software]\n\n[HKEY_LOCAL_MACHINE\\Software\\B]\n"
            "\"z\"=\"3\"\n");
}

// A hive with every odd kind of value; export, import into an empty hive and export again must
// give the same text. Texts and names are written as they stand, line ends and all.
void FillOddHive(Registry& reg) {
  PutValue(reg, "Software\\Tessaron\\VSP\\COM3", "PORTNAME", 0, std::string("COM3\0", 5));
  PutValue(reg, "Software\\Odd", "nul inside", 0, std::string("a\0b\0", 4));
  PutValue(reg, "Software\\Odd", "empty", 0, "");
  PutValue(reg, "Software\\Odd", "empty text", 1, std::string("\0", 1));
  PutValue(reg, "Software\\Odd", "binary", 3, "\x00\x01\xFE\xFF");
  PutValue(reg, "Software\\Odd", "long", 0, std::string(300, 'L') + '\0');
  PutValue(reg, "Software\\Odd", "caf\xE9 \x80", 1, std::string("\xE9t\xE9 \"q\" \\ \x9F\0", 13));
  PutValue(reg, "Software\\Odd", "", 7, std::string("a\0b\0\0", 5));
  for (const std::string text : {"a\nb", "a\r\nb", "a\r\r\nb", "a\rb", "\r\n"}) {
    PutValue(reg, "Software\\Line ends", text, registry::kRegSz, text + '\0');
  }
  PutValue(reg, "Software\\Odd", "big type", 0x12345678, "z");
  PutValue(reg, "Software\\Odd\\\xC4nderung", "v", 4, std::string("\x2A\0\0\0", 4));
  HKey key = 0;
  reg.CreateKeyEx(kHKeyLocalMachine, "Software\\Empty key", 0, registry::kKeyWrite, &key, nullptr);
  reg.CloseKey(key);
}

TEST(RegTextTest, ExportImportExportIsTheSame) {
  runtime::TestTempDir dir;
  std::unique_ptr<Registry> sources[] = {registry::MakeMemoryRegistry(),
                                         registry::OpenSqliteHive(dir.File("source.db"))};
  std::unique_ptr<Registry> targets[] = {registry::OpenSqliteHive(dir.File("target.db")),
                                         registry::MakeMemoryRegistry()};
  for (int i = 0; i < 2; ++i) {
    FillOddHive(*sources[i]);
    const std::string first = Export(*sources[i]);
    Import(*targets[i], first);
    EXPECT_EQ(Export(*targets[i]), first);
    EXPECT_NE(first.find("\"long\"=hex(0):4c,4c,"), std::string::npos);
  }
}

TEST(RegTextTest, AFailingChangeLeavesTheHiveAsItWas) {
  runtime::TestTempDir dir;
  std::unique_ptr<Registry> registries[] = {registry::MakeMemoryRegistry(),
                                            registry::OpenSqliteHive(dir.File("hive.db"))};
  for (auto& reg : registries) {
    PutValue(*reg, "Software\\Keep", "v", 1, std::string("1\0", 2));
    const std::string before = Export(*reg);
    std::vector<RegChange> changes;
    ParseError error;
    ASSERT_TRUE(ParseText("REGEDIT4\n[HKLM\\Software\\New]\n\"a\"=\"b\"\n[-HKLM\\Software\\Keep]\n",
                          &changes, &error));
    // A value with no key open: the registry refuses it, after the other changes went in.
    RegChange orphan;
    orphan.kind = RegChange::Kind::kSetValue;
    orphan.line = 9;
    orphan.name = "x";
    changes.push_back(orphan);
    std::string message;
    EXPECT_NE(ApplyChanges(*reg, changes, &message), kErrorSuccess);
    EXPECT_NE(message.find("line 9"), std::string::npos) << message;
    EXPECT_EQ(Export(*reg), before);
  }
}

}  // namespace
}  // namespace ketra::regtext
