// The system registry as the panel uses it, on the real advapi32 functions (under Wine in the
// cross build's tests). Each test works below a scratch key of its own that stands in for
// HKEY_LOCAL_MACHINE, and removes it at the end.
#include <windows.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/registry/registry.h"
#include "platform/registry/test_registry.h"
#include "platform/registry/win32_registry.h"

namespace ketra::registry {
namespace {

class Win32RegistryTest : public ::testing::Test {
 protected:
  Win32RegistryTest()
      : root_(std::string("Software\\KetraTest\\") +
              ::testing::UnitTest::GetInstance()->current_test_info()->name()),
        reg_(OpenWin32RegistryBelow(root_)) {}
  ~Win32RegistryTest() override {
    reg_.reset();
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, root_.c_str());
  }

  // The system checks access: a handle created for writing only cannot be read, so these take
  // both.
  HKey Create(std::string_view path, std::uint32_t* disposition = nullptr) {
    return CreateKey(*reg_, path, kKeyRead | kKeyWrite, disposition);
  }
  void Set(HKey key, std::string_view name, std::uint32_t type, std::string_view data) {
    SetValue(*reg_, key, name, type, data);
  }

  std::string root_;
  std::unique_ptr<Registry> reg_;
};

TEST_F(Win32RegistryTest, CreateOpenAndHandles) {
  ASSERT_NE(reg_, nullptr);
  // As the panel writes: a handle for writing, which the system refuses to read with.
  const HKey write_only = CreateKey(*reg_, "Software\\Tessaron", kKeyWrite);
  std::uint32_t length = 0;
  EXPECT_EQ(reg_->QueryValueEx(write_only, "X", nullptr, nullptr, &length), kErrorAccessDenied);
  EXPECT_EQ(reg_->CloseKey(write_only), kErrorSuccess);
  std::uint32_t disposition = 0;
  HKey key = Create("Software\\Tessaron\\VSP\\COM3", &disposition);
  EXPECT_EQ(disposition, kRegCreatedNewKey);
  EXPECT_EQ(reg_->CloseKey(Create("software\\tessaron\\vsp\\com3", &disposition)), kErrorSuccess);
  EXPECT_EQ(disposition, kRegOpenedExistingKey);

  HKey level = 0;
  for (std::string_view part : {"Software", "Tessaron", "VSP", "COM3"}) {
    HKey next = 0;
    ASSERT_EQ(reg_->OpenKey(level == 0 ? kHKeyLocalMachine : level, part, &next), kErrorSuccess);
    if (level != 0) reg_->CloseKey(level);
    level = next;
  }
  EXPECT_EQ(reg_->CloseKey(level), kErrorSuccess);

  HKey missing = 7;
  EXPECT_EQ(
      reg_->OpenKeyEx(kHKeyLocalMachine, "Software\\Tessaron\\VSP\\COM9", 0, kKeyRead, &missing),
      kErrorFileNotFound);
  EXPECT_EQ(missing, 0u);
  EXPECT_EQ(reg_->OpenKey(kHKeyLocalMachine, "Software\\Nothing", &missing), kErrorFileNotFound);

  ASSERT_EQ(reg_->CloseKey(key), kErrorSuccess);
  EXPECT_EQ(reg_->CloseKey(key), kErrorInvalidHandle);
  length = 0;
  EXPECT_EQ(reg_->QueryValueEx(key, "X", nullptr, nullptr, &length), kErrorInvalidHandle);
  EXPECT_EQ(reg_->CloseKey(kHKeyLocalMachine), kErrorSuccess);
  // A freed number is handed out again.
  HKey again = Create("Software\\Tessaron");
  EXPECT_EQ(again, key);
}

TEST_F(Win32RegistryTest, QueryAsThePanelReads) {
  HKey key = Create("Software\\Tessaron\\VSP\\COM3");
  Set(key, "LOCALPORT", kRegNone, std::string("3000\0", 5));
  Set(key, "EMPTY", kRegNone, std::string("\0", 1));

  // Size query, then data.
  std::uint32_t type = 77, length = 0;
  ASSERT_EQ(reg_->QueryValueEx(key, "localport", &type, nullptr, &length), kErrorSuccess);
  EXPECT_EQ(type, kRegNone);
  EXPECT_EQ(length, 5u);
  std::uint8_t buffer[255];
  std::fill(std::begin(buffer), std::end(buffer), ' ');
  length = sizeof buffer;
  ASSERT_EQ(reg_->QueryValueEx(key, "LOCALPORT", &type, buffer, &length), kErrorSuccess);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), 7), std::string("3000\0  ", 7));
  EXPECT_EQ(length, 5u);
  length = sizeof buffer;
  ASSERT_EQ(reg_->QueryValueEx(key, "EMPTY", &type, buffer, &length), kErrorSuccess);
  EXPECT_EQ(length, 1u);

  // A missing value: the panel relies on type, length and buffer staying as they were.
  type = 0;
  length = 255;
  buffer[0] = ' ';
  EXPECT_EQ(reg_->QueryValueEx(key, "XON", &type, buffer, &length), kErrorFileNotFound);
  EXPECT_EQ(type, 0u);
  EXPECT_EQ(length, 255u);
  EXPECT_EQ(buffer[0], ' ');

  // A buffer too small: more data, the size needed, the buffer untouched.
  std::uint8_t small[2] = {'x', 'y'};
  length = 2;
  EXPECT_EQ(reg_->QueryValueEx(key, "LOCALPORT", &type, small, &length), kErrorMoreData);
  EXPECT_EQ(length, 5u);

  // A replaced value takes the new type and data.
  Set(key, "LOCALPORT", kRegSz, std::string("3001\0", 5));
  length = sizeof buffer;
  ASSERT_EQ(reg_->QueryValueEx(key, "LOCALPORT", &type, buffer, &length), kErrorSuccess);
  EXPECT_EQ(type, kRegSz);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), 4), "3001");
}

TEST_F(Win32RegistryTest, WalkingAndDeleting) {
  HKey vsp = Create("Software\\Tessaron\\VSP");
  for (std::string_view name : {"com4", "COM3", "Com10"})
    reg_->CloseKey(Create(std::string("Software\\Tessaron\\VSP\\") + std::string(name)));
  EXPECT_EQ(SubkeyNames(*reg_, vsp), (std::vector<std::string>{"Com10", "COM3", "com4"}));

  Set(vsp, "PORTNAME", kRegNone, std::string("COM3\0", 5));
  Set(vsp, "ENABLED", kRegNone, std::string("49\0", 3));
  std::string name;
  std::uint32_t type = 0;
  std::vector<std::uint8_t> data;
  ASSERT_EQ(reg_->EnumValue(vsp, 0, &name, &type, &data), kErrorSuccess);
  EXPECT_EQ(data.size(), name == "ENABLED" ? 3u : 5u);
  EXPECT_EQ(reg_->EnumValue(vsp, 2, &name, &type, &data), kErrorNoMoreItems);

  EXPECT_EQ(reg_->DeleteValue(vsp, "enabled"), kErrorSuccess);
  EXPECT_EQ(reg_->DeleteValue(vsp, "ENABLED"), kErrorFileNotFound);
  EXPECT_EQ(reg_->DeleteTree(kHKeyLocalMachine, "Software\\Tessaron\\VSP\\COM3"), kErrorSuccess);
  EXPECT_EQ(SubkeyNames(*reg_, vsp), (std::vector<std::string>{"Com10", "com4"}));
  EXPECT_EQ(reg_->DeleteTree(kHKeyLocalMachine, "Software\\Tessaron"), kErrorSuccess);
  HKey gone = 0;
  EXPECT_EQ(reg_->OpenKey(kHKeyLocalMachine, "Software\\Tessaron", &gone), kErrorFileNotFound);
}

}  // namespace
}  // namespace ketra::registry
