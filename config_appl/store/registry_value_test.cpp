#include "config_appl/store/registry_value.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config_appl/app/program_fixture.h"
#include "platform/registry/test_registry.h"

namespace ketra {
namespace {

using testing::ProgramFixture;

constexpr const char* kCom3 = "Software\\Tessaron\\VSP\\COM3";

void Set(Program& p, std::string_view section, std::string_view name, std::string_view value) {
  SetRegistryValue(p, registry::kHKeyLocalMachine, kCompany, kProduct, section, name, value);
}

std::string Get(Program& p, std::string_view section, std::string_view name) {
  return GetRegistryValue(p.registry(), p.decl().RegValue, registry::kHKeyLocalMachine, kCompany,
                          kProduct, section, name, "default");
}

// A text and its NUL as type 0 stand in every session's hive afterwards; the empty text and the
// replacement of a value of another type do not.
TEST(SetRegistryValue, StoresTheTextAndOneNulAsTypeZero) {
  ProgramFixture f;
  registry::PutValue(*f.memory, kCom3, "XON", registry::kRegSz, std::string("17\0", 3));
  const std::vector<std::pair<const char*, const char*>> cases = {{"EMPTY", ""}, {"XON", "66"}};
  for (const auto& [name, text] : cases) {
    Set(f.p(), "COM3", name, text);
    std::uint32_t type = 99;
    std::vector<std::uint8_t> data;
    ASSERT_TRUE(f.StoredRaw("COM3", name, &type, &data)) << name;
    EXPECT_EQ(type, registry::kRegNone) << name;
    EXPECT_EQ(std::string(data.begin(), data.end()), std::string(text) + '\0') << name;
  }
}

TEST(SetRegistryValue, AFailedWriteIsSilent) {
  ProgramFixture f;
  Set(f.p(), "COM3", "XON", "66");
  f.registry.FailWhen(registry::FaultyRegistry::Op::kSet, "XON");
  Set(f.p(), "COM3", "XON", "17");
  EXPECT_TRUE(f.TakeBoxes().empty());
  EXPECT_EQ(f.Stored("COM3", "XON"), "66");
}

TEST(GetRegistryValue, ReadsBackWhatWasWritten) {
  ProgramFixture f;
  for (const std::string& text :
       std::vector<std::string>{"", "3000", "-939415360", "COM3", std::string(254, 'x')}) {
    Set(f.p(), "COM3", "V", text);
    EXPECT_EQ(Get(f.p(), "COM3", "V"), text);
    EXPECT_EQ(f.p().decl().RegValue, text);
  }
}

TEST(GetRegistryValue, AKeyThatDoesNotOpenKeepsTheLastText) {
  ProgramFixture f;
  EXPECT_EQ(Get(f.p(), "COM9", "V"), "default");
  EXPECT_EQ(f.p().decl().RegValue, "");
  Set(f.p(), "COM3", "V", "49");
  Get(f.p(), "COM3", "V");
  EXPECT_EQ(Get(f.p(), "COM9", "V"), "default");
  EXPECT_EQ(Get(f.p(), "COM9", "W"), "default");
  EXPECT_EQ(f.p().decl().RegValue, "49");
}

TEST(GetRegistryValue, MissingValueAndOtherTypesKeepTheBlanksOfTheBuffer) {
  ProgramFixture f;
  Set(f.p(), "COM3", "V", "1");
  EXPECT_EQ(Get(f.p(), "COM3", "MISSING"), std::string(254, ' '));

  registry::PutValue(*f.memory, kCom3, "SZ", registry::kRegSz, std::string("49\0", 3));
  // A text stored without its NUL: the read ends it with one, as with a stored NUL.
  registry::PutValue(*f.memory, kCom3, "SZBARE", registry::kRegSz, "49");
  registry::PutValue(*f.memory, kCom3, "EMPTY0", registry::kRegNone, "");
  registry::PutValue(*f.memory, kCom3, "LONG", registry::kRegNone, std::string(300, '7'));

  EXPECT_EQ(Get(f.p(), "COM3", "SZ"), std::string("49\0", 3) + std::string(252, ' '));
  EXPECT_EQ(Get(f.p(), "COM3", "SZBARE"), std::string("49\0", 3) + std::string(252, ' '));
  EXPECT_EQ(Get(f.p(), "COM3", "EMPTY0"), "");
  // Too long for the buffer: the buffer stays blank.
  EXPECT_EQ(Get(f.p(), "COM3", "LONG"), std::string(255, ' '));
}

}  // namespace
}  // namespace ketra
