#include "daemon/device_map.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/registry/faulty_registry.h"
#include "platform/registry/memory_registry.h"
#include "platform/registry/test_registry.h"

namespace ketra::vspd {
namespace {

using registry::HKey;
using Values = std::vector<std::pair<std::string, std::string>>;

// The map key's values as name and data, in order; empty when the key is missing.
Values MapValues(registry::Registry& registry) {
  Values values;
  HKey key = 0;
  if (registry.OpenKey(registry::kHKeyLocalMachine, std::string(kSerialCommKey), &key) != 0) {
    return values;
  }
  for (std::uint32_t i = 0;; ++i) {
    std::string name;
    std::uint32_t type = 0;
    std::vector<std::uint8_t> data;
    if (registry.EnumValue(key, i, &name, &type, &data) != 0) break;
    EXPECT_EQ(type, registry::kRegSz) << name;
    values.emplace_back(name, std::string(data.begin(), data.end()));
  }
  registry.CloseKey(key);
  return values;
}

void SetMapValue(registry::Registry& registry, const std::string& name, const std::string& data) {
  registry::PutValue(registry, kSerialCommKey, name, registry::kRegSz, data);
}

// Ours are the TesSerial names: a dead run's are replaced (whatever their case), others' stay.
TEST(DeviceMapTest, PublishesEachPortAndWithdrawsOnlyItsOwn) {
  auto registry = registry::MakeMemoryRegistry();
  SetMapValue(*registry, "\\Device\\Serial0", std::string("COM1\0", 5));
  SetMapValue(*registry, "\\Device\\TesSerial0", std::string("COM8\0", 5));
  SetMapValue(*registry, "\\device\\tesserial7", std::string("COM9\0", 5));
  const Values others{{"\\Device\\Serial0", std::string("COM1\0", 5)}};
  {
    DeviceMap map(*registry);
    const runtime::Status published = map.Publish({"COM3", "COM4", "COM12"});
    ASSERT_TRUE(published.ok()) << published.message();
    EXPECT_EQ(MapValues(*registry), (Values{others[0],
                                            {"\\Device\\TesSerial0", std::string("COM3\0", 5)},
                                            {"\\Device\\TesSerial1", std::string("COM4\0", 5)},
                                            {"\\Device\\TesSerial2", std::string("COM12\0", 6)}}));
    EXPECT_TRUE(map.Withdraw());
    EXPECT_EQ(MapValues(*registry), others);
    ASSERT_TRUE(map.Publish({"COM3"}).ok());
  }
  EXPECT_EQ(MapValues(*registry), others) << "the destructor withdraws too";
}

TEST(DeviceMapTest, AFailedWriteLeavesNothingOfOurs) {
  auto memory = registry::MakeMemoryRegistry();
  registry::FaultyRegistry registry(*memory);
  registry.FailWhen(registry::FaultyRegistry::Op::kSet, "TesSerial1");
  DeviceMap map(registry);
  const runtime::Status write_failed = map.Publish({"COM3", "COM4"});
  EXPECT_FALSE(write_failed.ok());
  EXPECT_NE(write_failed.message().find("TesSerial1"), std::string::npos);
  EXPECT_TRUE(MapValues(*memory).empty());

  // Only a lock is worth another try (the start waits for it); a failing file is not.
  registry.Clear();
  registry.FailWhen(registry::FaultyRegistry::Op::kCreate, "SERIALCOMM",
                    registry::kErrorLockViolation);
  const runtime::Status create_failed = map.Publish({"COM3"});
  EXPECT_TRUE(create_failed.IsBusy());
  EXPECT_NE(create_failed.message().find("cannot create"), std::string::npos);
  registry.Clear();
  registry.FailWhen(registry::FaultyRegistry::Op::kCreate, "SERIALCOMM",
                    registry::kErrorRegistryIoFailed);
  EXPECT_EQ(map.Publish({"COM3"}).code(), runtime::Status::Code::kIoError);
}

}  // namespace
}  // namespace ketra::vspd
