// Pass-through of every call without a rule is the typed registry suite's (its FaultyKind).
#include "platform/registry/faulty_registry.h"

#include <gtest/gtest.h>

#include "platform/registry/memory_registry.h"

namespace ketra::registry {
namespace {

TEST(FaultyRegistryTest, FailsTheCallsWhoseNameHoldsTheFragmentAndPassesTheRest) {
  auto inner = MakeMemoryRegistry();
  FaultyRegistry reg(*inner);
  reg.FailWhen(FaultyRegistry::Op::kCreate, "vsp\\com4");
  reg.FailWhen(FaultyRegistry::Op::kSet, "XON", kErrorRegistryIoFailed);
  reg.FailWhen(FaultyRegistry::Op::kOpen, "Other");
  reg.FailWhen(FaultyRegistry::Op::kQuery, "XOFF", kErrorFileNotFound);
  HKey key = 9;
  EXPECT_EQ(reg.CreateKeyEx(kHKeyLocalMachine, "Software\\Tessaron\\VSP\\COM4", 0, kKeyWrite, &key,
                            nullptr),
            kErrorAccessDenied);
  EXPECT_EQ(key, 0u);
  ASSERT_EQ(reg.CreateKeyEx(kHKeyLocalMachine, "Software\\Tessaron\\VSP\\COM3", 0, kKeyWrite, &key,
                            nullptr),
            kErrorSuccess);
  const std::uint8_t data[] = {'6', '6', 0};
  EXPECT_EQ(reg.SetValueEx(key, "xon", 0, data, 3), kErrorRegistryIoFailed);
  EXPECT_EQ(reg.SetValueEx(key, "XOFF", 0, data, 3), kErrorSuccess);
  HKey opened = 4;
  EXPECT_EQ(reg.OpenKey(kHKeyLocalMachine, "Software\\Other", &opened), kErrorAccessDenied);
  EXPECT_EQ(opened, 0u);
  std::uint32_t length = 77;
  EXPECT_EQ(reg.QueryValueEx(key, "XOFF", nullptr, nullptr, &length), kErrorFileNotFound);
  EXPECT_EQ(length, 77u);
  EXPECT_EQ(reg.CloseKey(key), kErrorSuccess);
}

}  // namespace
}  // namespace ketra::registry
