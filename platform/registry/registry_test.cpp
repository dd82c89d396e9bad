// The semantics every registry of this layer shares, run against the memory registry, the hive
// file and the failure-injecting wrapper with no failure set (which must pass everything on).
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/registry/faulty_registry.h"
#include "platform/registry/memory_registry.h"
#include "platform/registry/registry.h"
#include "platform/registry/registry_batch.h"
#include "platform/registry/sqlite_hive.h"
#include "platform/registry/test_registry.h"
#include "platform/runtime/test_temp_dir.h"

namespace ketra::registry {
namespace {

using Names = std::vector<std::string>;

struct MemoryKind {
  std::unique_ptr<Registry> Make() { return MakeMemoryRegistry(); }
};

struct SqliteKind {
  runtime::TestTempDir dir;
  std::unique_ptr<Registry> Make() { return OpenSqliteHive(dir.File("state/ketra/hive.db")); }
};

struct FaultyKind {
  std::unique_ptr<Registry> inner = MakeMemoryRegistry();
  std::unique_ptr<Registry> Make() { return std::make_unique<FaultyRegistry>(*inner); }
};

template <typename Kind>
class RegistryTest : public ::testing::Test {
 protected:
  RegistryTest() : reg_(kind_.Make()) {}

  HKey Create(std::string_view path) { return CreateKey(*reg_, path, kKeyRead | kKeyWrite); }
  void Set(HKey key, std::string_view name, std::uint32_t type, std::string_view data) {
    SetValue(*reg_, key, name, type, data);
  }
  HKey Open(std::string_view path) {
    HKey key = 0;
    EXPECT_EQ(reg_->OpenKey(kHKeyLocalMachine, path, &key), kErrorSuccess) << path;
    return key;
  }
  Names Values(HKey key) { return ValueNames(*reg_, key); }
  Names Subkeys(HKey key) { return SubkeyNames(*reg_, key); }

  Kind kind_;
  std::unique_ptr<Registry> reg_;
};

using Kinds = ::testing::Types<MemoryKind, SqliteKind, FaultyKind>;
TYPED_TEST_SUITE(RegistryTest, Kinds);

TYPED_TEST(RegistryTest, CreateMakesParentsAndOpenFindsEveryLevel) {
  Registry& reg = *this->reg_;
  HKey key = 0;
  std::uint32_t disposition = 0;
  for (const auto& [path, expected] :
       {std::pair{"Software\\Tessaron\\VSP\\COM3", kRegCreatedNewKey},
        std::pair{"SOFTWARE\\tessaron\\vsp\\com3", kRegOpenedExistingKey}}) {
    ASSERT_EQ(reg.CreateKeyEx(kHKeyLocalMachine, path, 0, kKeyWrite, &key, &disposition),
              kErrorSuccess);
    EXPECT_NE(key, 0u);
    EXPECT_EQ(disposition, expected) << path;
    EXPECT_EQ(reg.CloseKey(key), kErrorSuccess);
  }
  HKey software = this->Open("software");
  HKey tessaron = 0, vsp = 0;
  ASSERT_EQ(reg.OpenKey(software, "TESSARON", &tessaron), kErrorSuccess);
  ASSERT_EQ(reg.OpenKeyEx(tessaron, "Vsp\\Com3", 0, kKeyRead, &vsp), kErrorSuccess);
  EXPECT_NE(software, tessaron);
  EXPECT_NE(tessaron, vsp);
  EXPECT_LT(vsp, 100u);  // small numbers
  EXPECT_EQ(this->Subkeys(software), Names{"Tessaron"});
  // An empty sub-key opens the parent again, as a handle of its own.
  this->Set(tessaron, "X", kRegNone, "1");
  HKey again = 0;
  ASSERT_EQ(reg.OpenKey(tessaron, "", &again), kErrorSuccess);
  EXPECT_NE(again, tessaron);
  EXPECT_EQ(this->Values(again), Names{"X"});
  EXPECT_EQ(this->Subkeys(this->Open("")), Names{"Software"});
  for (HKey h : {software, tessaron, vsp, again}) EXPECT_EQ(reg.CloseKey(h), kErrorSuccess);
}

// A handle allows what it was opened for, at each call, as the platform's does: a panel that
// read through its handle for writing would work here and fail there.
TYPED_TEST(RegistryTest, AHandleAllowsOnlyWhatItWasOpenedFor) {
  Registry& reg = *this->reg_;
  const HKey write_only = CreateKey(reg, "Software\\Tessaron", kKeyWrite);
  SetValue(reg, write_only, "X", kRegSz, "1");
  std::string name;
  std::vector<std::uint8_t> data;
  std::uint32_t length = 0;
  EXPECT_EQ(reg.QueryValueEx(write_only, "X", nullptr, nullptr, &length), kErrorAccessDenied);
  EXPECT_EQ(reg.EnumValue(write_only, 0, &name, nullptr, &data), kErrorAccessDenied);
  EXPECT_EQ(reg.EnumKey(write_only, 0, &name), kErrorAccessDenied);
  HKey read_only = 0;
  ASSERT_EQ(reg.OpenKeyEx(kHKeyLocalMachine, "Software\\Tessaron", 0, kKeyRead, &read_only),
            kErrorSuccess);
  EXPECT_EQ(reg.QueryValueEx(read_only, "X", nullptr, nullptr, &length), kErrorSuccess);
  EXPECT_EQ(reg.SetValueEx(read_only, "X", kRegSz, nullptr, 0), kErrorAccessDenied);
  EXPECT_EQ(reg.DeleteValue(read_only, "X"), kErrorAccessDenied);
}

TYPED_TEST(RegistryTest, AFailedOpenOrCreateZeroesTheHandle) {
  Registry& reg = *this->reg_;
  reg.CloseKey(this->Create("Software\\Tessaron"));
  const std::pair<const char*, Status> cases[] = {
      {"HARDWARE\\DEVICEMAP\\SERIALCOMM", kErrorFileNotFound},
      {"Software\\Tessaron\\VSP", kErrorFileNotFound},
      {"Software\\Other", kErrorFileNotFound},
      {"\\Software", kErrorInvalidParameter},
  };
  for (const auto& [path, status] : cases) {
    HKey key = 1234;
    EXPECT_EQ(reg.OpenKeyEx(kHKeyLocalMachine, path, 0, kKeyRead, &key), status) << path;
    EXPECT_EQ(key, 0u);
    key = 1234;
    EXPECT_EQ(reg.OpenKey(kHKeyLocalMachine, path, &key), status) << path;
    EXPECT_EQ(key, 0u);
  }
  HKey key = 1234;
  EXPECT_EQ(reg.CreateKeyEx(kHKeyLocalMachine, "\\a", 0, kKeyWrite, &key, nullptr),
            kErrorInvalidParameter);
  EXPECT_EQ(key, 0u);
}

// A trailing backslash is dropped and a doubled one reads as one, at create and at open alike:
// a port named "COM\" has the key COM.
TYPED_TEST(RegistryTest, TrailingAndDoubledBackslashesNameTheSameKey) {
  Registry& reg = *this->reg_;
  const std::pair<const char*, const char*> cases[] = {
      {"Software\\Tessaron\\VSP\\COM\\", "Software\\Tessaron\\VSP\\COM"},
      {"a\\\\b", "a\\b"},
      {"c\\\\\\d\\\\", "c\\d"},
  };
  for (const auto& [odd, plain] : cases) {
    std::uint32_t disposition = 0;
    HKey created = 0;
    ASSERT_EQ(reg.CreateKeyEx(kHKeyLocalMachine, odd, 0, kKeyWrite, &created, &disposition),
              kErrorSuccess)
        << odd;
    EXPECT_EQ(disposition, kRegCreatedNewKey) << odd;
    this->Set(created, "X", kRegNone, "1");
    HKey opened = this->Open(plain);
    HKey again = this->Open(odd);
    EXPECT_EQ(this->Values(opened), Names{"X"}) << odd;
    EXPECT_EQ(this->Values(again), Names{"X"}) << odd;
    for (HKey h : {created, opened, again}) reg.CloseKey(h);
  }
}

// Only ASCII letters fold, past eight bytes too; their neighbours ('@' '[' '`' '{') and é/É
// do not. A name keeps the case of its creation.
TYPED_TEST(RegistryTest, NamesCompareWithoutCaseAndKeepTheirFirstCase) {
  Registry& reg = *this->reg_;
  HKey key = this->Create("Software\\Tessaron\\VSP\\Com3");
  this->Set(key, "LocalPort", kRegNone, "3000");
  this->Set(key, "LOCALPORT", kRegSz, "3001");
  this->Set(key, "\xE9", kRegNone, "a");
  this->Set(key, "\xC9", kRegNone, "b");
  this->Set(key, "Remote@[Port`{xyz", kRegNone, "c");
  EXPECT_EQ(this->Values(key), (Names{"LocalPort", "\xE9", "\xC9", "Remote@[Port`{xyz"}));
  const std::pair<const char*, const char*> lookups[] = {
      {"localport", "3001"},
      {"\xE9", "a"},
      {"\xC9", "b"},
      {"REMOTE@[PORT`{XYZ", "c"},
      {"remote@[port`{xyz", "c"},
      {"REMOTE`{PORT@[XYZ", nullptr},
      {"Remote@[Port`{xy", nullptr},
  };
  for (const auto& [name, data] : lookups) {
    char buffer[8] = {};
    std::uint32_t length = sizeof buffer;
    const Status status =
        reg.QueryValueEx(key, name, nullptr, reinterpret_cast<std::uint8_t*>(buffer), &length);
    EXPECT_EQ(status, data ? kErrorSuccess : kErrorFileNotFound) << name;
    if (data && status == kErrorSuccess) {
      EXPECT_EQ(std::string(buffer, length), data) << name;
    }
  }
  EXPECT_EQ(this->Subkeys(this->Open("SOFTWARE\\TESSARON\\VSP")), Names{"Com3"});
  // Key names fold the same way, shorter and longer than eight bytes.
  this->Create("Software\\x@[y`{z");
  this->Create("Software\\Mixed@[`{Case");
  const std::pair<const char*, Status> opens[] = {
      {"SOFTWARE\\X@[Y`{Z", kErrorSuccess},
      {"software\\x@[y`{z", kErrorSuccess},
      {"Software\\x`{y@[z", kErrorFileNotFound},
      {"SOFTWARE\\MIXED@[`{CASE", kErrorSuccess},
      {"software\\mixed@[`{case", kErrorSuccess},
      {"Software\\Mixed`{@[Case", kErrorFileNotFound},
      {"Software\\Mixed@[`{Cas", kErrorFileNotFound},
  };
  for (const auto& [path, status] : opens) {
    HKey opened = 0;
    EXPECT_EQ(reg.OpenKey(kHKeyLocalMachine, path, &opened), status) << path;
    reg.CloseKey(opened);
  }
}

TYPED_TEST(RegistryTest, ValuesKeepCreationOrderAndAReplacedValueItsPlace) {
  Registry& reg = *this->reg_;
  HKey key = this->Create("Software\\Tessaron\\VSP\\COM3");
  const Names names = {"PORTNAME", "ENABLED",   "FLOWCONTROL", "XON",
                       "XOFF",     "LOCALPORT", "REMOTEPORT",  "REMOTEIP"};
  for (const std::string& name : names) this->Set(key, name, kRegNone, "0");
  this->Set(key, "flowcontrol", kRegSz, std::string("49\0", 3));
  EXPECT_EQ(this->Values(key), names);
  std::string name;
  std::uint32_t type = 0;
  std::vector<std::uint8_t> data;
  ASSERT_EQ(reg.EnumValue(key, 2, &name, &type, &data), kErrorSuccess);
  EXPECT_EQ(name, "FLOWCONTROL");
  EXPECT_EQ(type, kRegSz);
  EXPECT_EQ(data, (std::vector<std::uint8_t>{'4', '9', 0}));
  EXPECT_EQ(reg.EnumValue(key, 8, &name, &type, &data), kErrorNoMoreItems);
  // A deleted value gives up its place; created again, it goes to the end.
  ASSERT_EQ(reg.DeleteValue(key, "enabled"), kErrorSuccess);
  this->Set(key, "Enabled", kRegNone, "1");
  EXPECT_EQ(this->Values(key).back(), "Enabled");
  EXPECT_EQ(this->Values(key)[1], "FLOWCONTROL");
}

TYPED_TEST(RegistryTest, SubkeysEnumerateInCaseInsensitiveOrder) {
  for (const char* name : {"COM10", "com2", "Com1", "B", "a_b", "AB"}) {
    this->reg_->CloseKey(this->Create(std::string("Software\\Tessaron\\VSP\\") + name));
  }
  HKey vsp = this->Open("Software\\Tessaron\\VSP");
  // Upper-case folding puts '_' after the letters, as the platform's registry does.
  EXPECT_EQ(this->Subkeys(vsp), (Names{"AB", "a_b", "B", "Com1", "COM10", "com2"}));
  std::string name;
  EXPECT_EQ(this->reg_->EnumKey(vsp, 6, &name), kErrorNoMoreItems);
}

// A read into a buffer of blanks: status, type and size it reports, and what the buffer holds
// after it. A REG_SZ stored without its NUL gets one behind it when the buffer has room; other
// types, a buffer the data fills exactly, a buffer too small and a missing value get nothing.
TYPED_TEST(RegistryTest, QueryReportsTheSizeAndCopiesOnlyWhatFits) {
  struct Case {
    const char* name;
    std::uint32_t buffer_size;  // 0: a size query without a buffer, *length 42
    Status status;
    std::uint32_t type;    // after the call; 99 is the value before it
    std::uint32_t length;  // after the call
    std::string buffer;    // after the call
  };
  const Case cases[] = {
      {"LOCALPORT", 0, kErrorSuccess, kRegNone, 5, ""},
      {"LOCALPORT", 4, kErrorMoreData, kRegNone, 5, "    "},
      {"LOCALPORT", 7, kErrorSuccess, kRegNone, 5, std::string("3000\0  ", 7)},
      {"SZ", 8, kErrorSuccess, kRegSz, 4, std::string("COM5\0   ", 8)},
      {"SZ NUL", 8, kErrorSuccess, kRegSz, 5, std::string("COM5\0   ", 8)},
      {"SZ", 4, kErrorSuccess, kRegSz, 4, "COM5"},
      {"NONE", 8, kErrorSuccess, kRegNone, 4, "3000    "},
      {"BINARY", 4, kErrorSuccess, kRegBinary, 2, "ab  "},
      {"LONG", 255, kErrorMoreData, kRegBinary, 300, std::string(255, ' ')},
      {"MISSING", 8, kErrorFileNotFound, 99, 8, "        "},
      {"MISSING", 0, kErrorFileNotFound, 99, 42, ""},
  };
  HKey key = this->Create("Software\\Tessaron\\VSP\\COM3");
  this->Set(key, "LOCALPORT", kRegNone, std::string("3000\0", 5));
  this->Set(key, "SZ", kRegSz, "COM5");
  this->Set(key, "SZ NUL", kRegSz, std::string("COM5\0", 5));
  this->Set(key, "NONE", kRegNone, "3000");
  this->Set(key, "BINARY", kRegBinary, "ab");
  this->Set(key, "LONG", kRegBinary, std::string(300, 'z'));
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.name) + " into " + std::to_string(c.buffer_size));
    std::string buffer(c.buffer_size + 4, ' ');  // four bytes past the end, never written
    std::uint32_t type = 99;
    std::uint32_t length = c.buffer_size ? c.buffer_size : 42;
    auto* data = c.buffer_size ? reinterpret_cast<std::uint8_t*>(buffer.data()) : nullptr;
    EXPECT_EQ(this->reg_->QueryValueEx(key, c.name, &type, data, &length), c.status);
    EXPECT_EQ(type, c.type);
    EXPECT_EQ(length, c.length);
    EXPECT_EQ(buffer, c.buffer + "    ");
  }
  // Type and length are optional, but a buffer needs its length.
  std::uint8_t buffer[8];
  EXPECT_EQ(this->reg_->QueryValueEx(key, "SZ", nullptr, nullptr, nullptr), kErrorSuccess);
  EXPECT_EQ(this->reg_->QueryValueEx(key, "SZ", nullptr, buffer, nullptr), kErrorInvalidParameter);
}

TYPED_TEST(RegistryTest, OddDataIsKeptByteForByte) {
  HKey key = this->Create("Software\\Odd");
  const std::string cases[][2] = {
      {"empty", ""},
      {"nul", std::string("\0", 1)},
      {"nuls", std::string("a\0b\0\0", 5)},
      {"high", "\x80\xFF\xE9"},
      {"long", std::string(300, 'z')},
      {"", "unnamed"},
  };
  for (const auto& [name, data] : cases) this->Set(key, name, kRegBinary, data);
  for (const auto& [name, data] : cases) {
    std::vector<std::uint8_t> buffer(400, 0xAA);
    std::uint32_t length = static_cast<std::uint32_t>(buffer.size());
    ASSERT_EQ(this->reg_->QueryValueEx(key, name, nullptr, buffer.data(), &length), kErrorSuccess)
        << name;
    EXPECT_EQ(std::string(buffer.begin(), buffer.begin() + length), data) << name;
  }
  EXPECT_EQ(this->reg_->SetValueEx(key, "bad", 3, nullptr, 4), kErrorInvalidParameter);
  EXPECT_EQ(this->reg_->SetValueEx(key, "none", 0, nullptr, 0), kErrorSuccess);
}

TYPED_TEST(RegistryTest, DeleteValueAndTree) {
  Registry& reg = *this->reg_;
  HKey com3 = this->Create("Software\\Tessaron\\VSP\\COM3");
  this->Set(com3, "XON", kRegNone, "66");
  reg.CloseKey(this->Create("Software\\Tessaron\\VSP\\COM4\\Deeper"));
  reg.CloseKey(this->Create("Software\\Tessaron\\Other"));
  EXPECT_EQ(reg.DeleteValue(com3, "xon"), kErrorSuccess);
  EXPECT_EQ(reg.DeleteValue(com3, "xon"), kErrorFileNotFound);
  EXPECT_EQ(reg.DeleteTree(kHKeyLocalMachine, "software\\tessaron\\vsp"), kErrorSuccess);
  EXPECT_EQ(reg.DeleteTree(kHKeyLocalMachine, "software\\tessaron\\vsp"), kErrorFileNotFound);
  HKey key = 0;
  EXPECT_EQ(reg.OpenKey(kHKeyLocalMachine, "Software\\Tessaron\\VSP\\COM4\\Deeper", &key),
            kErrorFileNotFound);
  EXPECT_EQ(this->Subkeys(this->Open("Software\\Tessaron")), Names{"Other"});
  // The handle of a deleted key stays a handle, but every use of it fails.
  std::uint32_t length = 0;
  EXPECT_NE(reg.QueryValueEx(com3, "XON", nullptr, nullptr, &length), kErrorSuccess);
  EXPECT_NE(reg.SetValueEx(com3, "XON", 0, nullptr, 0), kErrorSuccess);
  EXPECT_NE(reg.OpenKey(com3, "", &key), kErrorSuccess);
  std::string name;
  EXPECT_NE(reg.EnumValue(com3, 0, &name, nullptr, nullptr), kErrorSuccess);
  EXPECT_EQ(reg.CloseKey(com3), kErrorSuccess);
  // A key made again under the same name is a new key.
  EXPECT_TRUE(this->Values(this->Create("Software\\Tessaron\\VSP\\COM3")).empty());
  // Values on the root key, and a delete of everything below it.
  this->Set(kHKeyLocalMachine, "top", kRegDword, std::string("\x01\0\0\0", 4));
  EXPECT_EQ(this->Values(kHKeyLocalMachine), Names{"top"});
  EXPECT_EQ(reg.DeleteTree(kHKeyLocalMachine, ""), kErrorSuccess);
  EXPECT_TRUE(this->Values(kHKeyLocalMachine).empty());
  EXPECT_TRUE(this->Subkeys(kHKeyLocalMachine).empty());
}

TYPED_TEST(RegistryTest, HandlesAfterClose) {
  Registry& reg = *this->reg_;
  HKey key = this->Create("Software\\Tessaron");
  ASSERT_EQ(reg.CloseKey(key), kErrorSuccess);
  EXPECT_EQ(reg.CloseKey(key), kErrorInvalidHandle);
  std::uint32_t length = 0;
  EXPECT_EQ(reg.QueryValueEx(key, "X", nullptr, nullptr, &length), kErrorInvalidHandle);
  EXPECT_EQ(reg.SetValueEx(key, "X", 0, nullptr, 0), kErrorInvalidHandle);
  HKey sub = 99;
  EXPECT_EQ(reg.OpenKey(key, "", &sub), kErrorInvalidHandle);
  EXPECT_EQ(sub, 0u);
  for (HKey bogus : {0u, 12345u, 0x80000001u}) {
    EXPECT_EQ(reg.CloseKey(bogus), kErrorInvalidHandle) << bogus;
  }
  // The root is always a handle, and closing it changes nothing. OpenKey asks for every right.
  EXPECT_EQ(reg.CloseKey(kHKeyLocalMachine), kErrorSuccess);
  EXPECT_EQ(reg.OpenKey(kHKeyLocalMachine, "Software\\Tessaron", &key), kErrorSuccess);
  EXPECT_EQ(reg.SetValueEx(key, "X", 0, nullptr, 0), kErrorSuccess);
  // A freed number is handed out again, so handles stay small.
  HKey first = this->Open("Software");
  reg.CloseKey(first);
  EXPECT_EQ(this->Open("Software"), first);
}

TYPED_TEST(RegistryTest, AnAbortedBatchLeavesNothingAndACommittedOneAll) {
  Registry& reg = *this->reg_;
  auto* batch = dynamic_cast<BatchWriter*>(&reg);
  ASSERT_NE(batch, nullptr);
  ASSERT_EQ(SetText(reg, "Software\\Keep", "A", "1"), kErrorSuccess);
  const HKey held = this->Open("Software\\Keep");
  // Once with value writes alone, once with a deleted tree too: a handle opened before the batch
  // reads none of its writes, before any other call looks.
  for (const bool delete_tree : {false, true}) {
    ASSERT_EQ(batch->BeginBatch(), kErrorSuccess);
    EXPECT_EQ(SetText(reg, "Software\\Keep", "A", "2"), kErrorSuccess);
    EXPECT_EQ(SetText(reg, "Software\\Gone", "B", "3"), kErrorSuccess);
    if (delete_tree) {
      ASSERT_EQ(reg.DeleteTree(kHKeyLocalMachine, "Software\\Keep"), kErrorSuccess);
    }
    batch->AbortBatch();
    char text[8] = {};
    std::uint32_t length = sizeof text;
    EXPECT_EQ(reg.QueryValueEx(held, "A", nullptr, reinterpret_cast<std::uint8_t*>(text), &length),
              kErrorSuccess);
    EXPECT_STREQ(text, "1") << delete_tree;
    EXPECT_EQ(this->Subkeys(this->Open("Software")), Names{"Keep"}) << delete_tree;
    EXPECT_EQ(GetText(reg, "Software\\Keep", "A"), "1") << delete_tree;
  }

  ASSERT_EQ(batch->BeginBatch(), kErrorSuccess);
  EXPECT_NE(batch->BeginBatch(), kErrorSuccess);
  EXPECT_EQ(SetText(reg, "Software\\New", "C", "4"), kErrorSuccess);
  ASSERT_EQ(batch->CommitBatch(), kErrorSuccess);
  EXPECT_EQ(GetText(reg, "Software\\New", "C"), "4");
}

}  // namespace
}  // namespace ketra::registry
