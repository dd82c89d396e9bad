// The semantics every registry of this layer shares, run against the memory registry and the
// hive file alike.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/registry/memory_registry.h"
#include "platform/registry/registry.h"
#include "platform/registry/registry_batch.h"
#include "platform/registry/sqlite_hive.h"
#include "platform/registry/test_hive_dir.h"

namespace ketra::registry {
namespace {

std::vector<std::uint8_t> Bytes(std::string_view text) {
  return std::vector<std::uint8_t>(text.begin(), text.end());
}

struct MemoryKind {
  std::unique_ptr<Registry> Make() { return MakeMemoryRegistry(); }
};

struct SqliteKind {
  TestHiveDir dir;
  std::unique_ptr<Registry> Make() { return OpenSqliteHive(dir.File("state/ketra/hive.db")); }
};

template <typename Kind>
class RegistryTest : public ::testing::Test {
 protected:
  RegistryTest() : reg_(kind_.Make()) {}

  HKey Create(std::string_view path) {
    HKey key = 0;
    EXPECT_EQ(reg_->CreateKeyEx(kHKeyLocalMachine, path, 0, kKeyWrite, &key, nullptr),
              kErrorSuccess)
        << path;
    return key;
  }
  void Set(HKey key, std::string_view name, std::uint32_t type, std::string_view data) {
    EXPECT_EQ(reg_->SetValueEx(key, name, type, reinterpret_cast<const std::uint8_t*>(data.data()),
                               static_cast<std::uint32_t>(data.size())),
              kErrorSuccess);
  }
  std::vector<std::string> ValueNames(HKey key) {
    std::vector<std::string> names;
    std::string name;
    for (std::uint32_t i = 0; reg_->EnumValue(key, i, &name, nullptr, nullptr) == kErrorSuccess;
         ++i) {
      names.push_back(name);
    }
    return names;
  }
  std::vector<std::string> SubkeyNames(HKey key) {
    std::vector<std::string> names;
    std::string name;
    for (std::uint32_t i = 0; reg_->EnumKey(key, i, &name) == kErrorSuccess; ++i) {
      names.push_back(name);
    }
    return names;
  }

  Kind kind_;
  std::unique_ptr<Registry> reg_;
};

using Kinds = ::testing::Types<MemoryKind, SqliteKind>;
TYPED_TEST_SUITE(RegistryTest, Kinds);

TYPED_TEST(RegistryTest, CreateMakesParentsAndOpenFindsEveryLevel) {
  HKey key = 0;
  std::uint32_t disposition = 0;
  ASSERT_EQ(this->reg_->CreateKeyEx(kHKeyLocalMachine, "Software\\Tessaron\\VSP\\COM3", 0,
                                    kKeyWrite, &key, &disposition),
            kErrorSuccess);
  EXPECT_NE(key, 0u);
  EXPECT_EQ(disposition, kRegCreatedNewKey);
  EXPECT_EQ(this->reg_->CloseKey(key), kErrorSuccess);
  ASSERT_EQ(this->reg_->CreateKeyEx(kHKeyLocalMachine, "SOFTWARE\\tessaron\\vsp\\com3", 0,
                                    kKeyWrite, &key, &disposition),
            kErrorSuccess);
  EXPECT_EQ(disposition, kRegOpenedExistingKey);
  this->reg_->CloseKey(key);

  HKey software = 0, tessaron = 0, vsp = 0;
  ASSERT_EQ(this->reg_->OpenKey(kHKeyLocalMachine, "software", &software), kErrorSuccess);
  ASSERT_EQ(this->reg_->OpenKey(software, "TESSARON", &tessaron), kErrorSuccess);
  ASSERT_EQ(this->reg_->OpenKeyEx(tessaron, "Vsp\\Com3", 0, kKeyRead, &vsp), kErrorSuccess);
  EXPECT_NE(software, tessaron);
  EXPECT_NE(tessaron, vsp);
  EXPECT_LT(vsp, 100u);  // small numbers
  EXPECT_EQ(this->SubkeyNames(software), std::vector<std::string>{"Tessaron"});
  for (HKey h : {software, tessaron, vsp}) EXPECT_EQ(this->reg_->CloseKey(h), kErrorSuccess);
}

TYPED_TEST(RegistryTest, OpenOfAMissingKeyFailsAndZeroesTheHandle) {
  this->reg_->CloseKey(this->Create("Software\\Tessaron"));
  const char* missing[] = {"HARDWARE\\DEVICEMAP\\SERIALCOMM", "Software\\Tessaron\\VSP",
                           "Software\\Other"};
  for (const char* path : missing) {
    HKey key = 1234;
    EXPECT_EQ(this->reg_->OpenKeyEx(kHKeyLocalMachine, path, 0, kKeyRead, &key), kErrorFileNotFound)
        << path;
    EXPECT_EQ(key, 0u);
    key = 1234;
    EXPECT_EQ(this->reg_->OpenKey(kHKeyLocalMachine, path, &key), kErrorFileNotFound);
    EXPECT_EQ(key, 0u);
  }
  HKey key = 1234;
  EXPECT_EQ(this->reg_->OpenKey(kHKeyLocalMachine, "\\Software", &key), kErrorInvalidParameter);
  EXPECT_EQ(key, 0u);
  EXPECT_EQ(this->reg_->CreateKeyEx(kHKeyLocalMachine, "\\a", 0, kKeyWrite, &key, nullptr),
            kErrorInvalidParameter);
  EXPECT_EQ(key, 0u);
}

// A trailing backslash is dropped and a doubled one reads as one, at create and at open alike:
// a port named "COM\" has the key COM.
TYPED_TEST(RegistryTest, TrailingAndDoubledBackslashesNameTheSameKey) {
  const std::pair<const char*, const char*> cases[] = {
      {"Software\\Tessaron\\VSP\\COM\\", "Software\\Tessaron\\VSP\\COM"},
      {"a\\\\b", "a\\b"},
      {"c\\\\\\d\\\\", "c\\d"},
  };
  for (const auto& [odd, plain] : cases) {
    HKey created = 0;
    std::uint32_t disposition = 0;
    ASSERT_EQ(this->reg_->CreateKeyEx(kHKeyLocalMachine, odd, 0, kKeyWrite, &created, &disposition),
              kErrorSuccess)
        << odd;
    EXPECT_EQ(disposition, kRegCreatedNewKey) << odd;
    this->Set(created, "X", kRegNone, "1");
    HKey opened = 0;
    ASSERT_EQ(this->reg_->OpenKeyEx(kHKeyLocalMachine, plain, 0, kKeyRead, &opened), kErrorSuccess)
        << plain;
    EXPECT_EQ(this->ValueNames(opened), std::vector<std::string>{"X"}) << odd;
    HKey again = 0;
    ASSERT_EQ(this->reg_->OpenKey(kHKeyLocalMachine, odd, &again), kErrorSuccess) << odd;
    EXPECT_EQ(this->ValueNames(again), std::vector<std::string>{"X"}) << odd;
    for (HKey h : {created, opened, again}) this->reg_->CloseKey(h);
  }
}

TYPED_TEST(RegistryTest, EmptySubKeyOpensTheParentAgain) {
  HKey vsp = this->Create("Software\\Tessaron\\VSP");
  this->Set(vsp, "X", kRegNone, "1");
  HKey again = 0;
  ASSERT_EQ(this->reg_->OpenKey(vsp, "", &again), kErrorSuccess);
  EXPECT_NE(again, vsp);
  EXPECT_EQ(this->ValueNames(again), std::vector<std::string>{"X"});
  HKey root = 0;
  ASSERT_EQ(this->reg_->OpenKey(kHKeyLocalMachine, "", &root), kErrorSuccess);
  EXPECT_EQ(this->SubkeyNames(root), std::vector<std::string>{"Software"});
}

TYPED_TEST(RegistryTest, NamesCompareWithoutCaseAndKeepTheirFirstCase) {
  HKey key = this->Create("Software\\Tessaron\\VSP\\Com3");
  this->Set(key, "LocalPort", kRegNone, std::string("3000\0", 5));
  this->Set(key, "LOCALPORT", kRegNone, std::string("3001\0", 5));
  EXPECT_EQ(this->ValueNames(key), std::vector<std::string>{"LocalPort"});
  std::uint8_t buffer[16] = {};
  std::uint32_t length = sizeof buffer;
  std::uint32_t type = 99;
  ASSERT_EQ(this->reg_->QueryValueEx(key, "localport", &type, buffer, &length), kErrorSuccess);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), length), std::string("3001\0", 5));
  EXPECT_EQ(type, kRegNone);
  // Only ASCII letters fold: é and É are different names.
  this->Set(key, "\xE9", kRegNone, "a");
  this->Set(key, "\xC9", kRegNone, "b");
  EXPECT_EQ(this->ValueNames(key), (std::vector<std::string>{"LocalPort", "\xE9", "\xC9"}));
  // Past eight bytes, and the neighbours of the letters ('@' '[' '`' '{'), which do not fold.
  this->Set(key, "Remote@[Port`{xyz", kRegNone, "c");
  for (const auto& [name, found] :
       std::vector<std::pair<std::string, bool>>{{"REMOTE@[PORT`{XYZ", true},
                                                 {"remote@[port`{xyz", true},
                                                 {"REMOTE`{PORT@[XYZ", false},
                                                 {"Remote@[Port`{xy", false}}) {
    std::uint32_t size = 0;
    EXPECT_EQ(this->reg_->QueryValueEx(key, name, nullptr, nullptr, &size) == kErrorSuccess, found)
        << name;
  }
  HKey root = 0;
  ASSERT_EQ(this->reg_->OpenKey(kHKeyLocalMachine, "SOFTWARE\\TESSARON\\VSP", &root),
            kErrorSuccess);
  EXPECT_EQ(this->SubkeyNames(root), std::vector<std::string>{"Com3"});
}

TYPED_TEST(RegistryTest, ValuesKeepCreationOrderAndAReplacedValueItsPlace) {
  HKey key = this->Create("Software\\Tessaron\\VSP\\COM3");
  const char* names[] = {"PORTNAME", "ENABLED",   "FLOWCONTROL", "XON",
                         "XOFF",     "LOCALPORT", "REMOTEPORT",  "REMOTEIP"};
  for (const char* name : names) this->Set(key, name, kRegNone, "0");
  this->Set(key, "flowcontrol", kRegSz, std::string("49\0", 3));
  EXPECT_EQ(this->ValueNames(key), std::vector<std::string>(std::begin(names), std::end(names)));
  std::string name;
  std::uint32_t type = 0;
  std::vector<std::uint8_t> data;
  ASSERT_EQ(this->reg_->EnumValue(key, 2, &name, &type, &data), kErrorSuccess);
  EXPECT_EQ(name, "FLOWCONTROL");
  EXPECT_EQ(type, kRegSz);
  EXPECT_EQ(data, Bytes(std::string("49\0", 3)));
  EXPECT_EQ(this->reg_->EnumValue(key, 8, &name, &type, &data), kErrorNoMoreItems);
  // A deleted value gives up its place; created again, it goes to the end.
  ASSERT_EQ(this->reg_->DeleteValue(key, "enabled"), kErrorSuccess);
  this->Set(key, "Enabled", kRegNone, "1");
  EXPECT_EQ(this->ValueNames(key).back(), "Enabled");
  EXPECT_EQ(this->ValueNames(key)[1], "FLOWCONTROL");
}

TYPED_TEST(RegistryTest, SubkeysEnumerateInCaseInsensitiveOrder) {
  for (const char* name : {"COM10", "com2", "Com1", "B", "a_b", "AB"}) {
    this->reg_->CloseKey(this->Create(std::string("Software\\Tessaron\\VSP\\") + name));
  }
  HKey vsp = 0;
  ASSERT_EQ(this->reg_->OpenKey(kHKeyLocalMachine, "Software\\Tessaron\\VSP", &vsp), kErrorSuccess);
  // Upper-case folding puts '_' after the letters, as the platform's registry does.
  EXPECT_EQ(this->SubkeyNames(vsp),
            (std::vector<std::string>{"AB", "a_b", "B", "Com1", "COM10", "com2"}));
  std::string name;
  EXPECT_EQ(this->reg_->EnumKey(vsp, 6, &name), kErrorNoMoreItems);
}

TYPED_TEST(RegistryTest, QueryIsATwoStepSizeThenData) {
  HKey key = this->Create("Software\\Tessaron\\VSP\\COM3");
  this->Set(key, "LOCALPORT", kRegNone, std::string("3000\0", 5));
  std::uint32_t type = 1;
  std::uint32_t length = 0;
  ASSERT_EQ(this->reg_->QueryValueEx(key, "LOCALPORT", &type, nullptr, &length), kErrorSuccess);
  EXPECT_EQ(type, kRegNone);
  EXPECT_EQ(length, 5u);

  // A buffer too small: more data, the size needed, the buffer untouched.
  std::uint8_t small[4] = {'x', 'x', 'x', 'x'};
  length = sizeof small;
  type = 77;
  EXPECT_EQ(this->reg_->QueryValueEx(key, "LOCALPORT", &type, small, &length), kErrorMoreData);
  EXPECT_EQ(length, 5u);
  EXPECT_EQ(type, kRegNone);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(small), 4), "xxxx");

  // A buffer large enough: the data, its size; the rest of the buffer untouched.
  std::uint8_t buffer[255];
  std::fill(std::begin(buffer), std::end(buffer), ' ');
  length = 255;
  ASSERT_EQ(this->reg_->QueryValueEx(key, "LOCALPORT", &type, buffer, &length), kErrorSuccess);
  EXPECT_EQ(length, 5u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), 7), std::string("3000\0  ", 7));

  // Type and length are optional.
  EXPECT_EQ(this->reg_->QueryValueEx(key, "LOCALPORT", nullptr, nullptr, nullptr), kErrorSuccess);
  EXPECT_EQ(this->reg_->QueryValueEx(key, "LOCALPORT", nullptr, buffer, nullptr),
            kErrorInvalidParameter);
}

// Text read back into a buffer of blanks: what follows the data, by type and stored form. A
// REG_SZ stored without its NUL gets one behind it when the buffer has room; other types, and a
// buffer that the data fills exactly, get nothing.
TYPED_TEST(RegistryTest, TextWithoutItsNulReadsBackWithOne) {
  struct Case {
    std::uint32_t type;
    std::string stored;
    std::uint32_t buffer_size;
    std::string read;  // the first buffer_size bytes after the query, blanks where untouched
  };
  const Case cases[] = {
      {kRegSz, "COM5", 8, std::string("COM5\0   ", 8)},
      {kRegSz, std::string("COM5\0", 5), 8, std::string("COM5\0   ", 8)},
      {kRegSz, "COM5", 4, "COM5"},
      {kRegNone, "3000", 8, "3000    "},
      {kRegBinary, "ab", 4, "ab  "},
  };
  HKey key = this->Create("HARDWARE\\DEVICEMAP\\SERIALCOMM");
  for (const Case& c : cases) {
    this->Set(key, "V", c.type, c.stored);
    std::uint8_t buffer[16];
    std::fill(std::begin(buffer), std::end(buffer), ' ');
    std::uint32_t length = c.buffer_size;
    std::uint32_t type = 99;
    ASSERT_EQ(this->reg_->QueryValueEx(key, "V", &type, buffer, &length), kErrorSuccess);
    EXPECT_EQ(type, c.type);
    EXPECT_EQ(length, c.stored.size()) << c.stored;
    EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), c.buffer_size), c.read) << c.stored;
  }
}

TYPED_TEST(RegistryTest, QueryOfAMissingValueWritesNothing) {
  HKey key = this->Create("HARDWARE\\DEVICEMAP\\SERIALCOMM");
  this->Set(key, "\\Device\\TesSerial0", kRegSz, std::string("COM5\0", 5));
  std::uint32_t type = 1;
  std::uint32_t length = 42;
  std::uint8_t buffer[8] = {'C', 'O', 'M', '9', 0, 0, 0, 0};
  EXPECT_EQ(this->reg_->QueryValueEx(key, "\\Device\\TesSerial1", &type, buffer, &length),
            kErrorFileNotFound);
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(length, 42u);
  EXPECT_EQ(buffer[3], '9');
  EXPECT_EQ(this->reg_->QueryValueEx(key, "\\Device\\TesSerial1", &type, nullptr, &length),
            kErrorFileNotFound);
  EXPECT_EQ(length, 42u);
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
  for (const auto& [name, data] : cases) this->Set(key, name, 3, data);
  for (const auto& [name, data] : cases) {
    std::vector<std::uint8_t> buffer(400, 0xAA);
    std::uint32_t length = static_cast<std::uint32_t>(buffer.size());
    ASSERT_EQ(this->reg_->QueryValueEx(key, name, nullptr, buffer.data(), &length), kErrorSuccess)
        << name;
    EXPECT_EQ(std::string(buffer.begin(), buffer.begin() + length), data) << name;
  }
  // Longer than a 255-byte buffer: more data, the buffer untouched.
  std::vector<std::uint8_t> buffer(255, ' ');
  std::uint32_t length = 255;
  EXPECT_EQ(this->reg_->QueryValueEx(key, "long", nullptr, buffer.data(), &length), kErrorMoreData);
  EXPECT_EQ(length, 300u);
  EXPECT_EQ(buffer, std::vector<std::uint8_t>(255, ' '));
  EXPECT_EQ(this->reg_->SetValueEx(key, "bad", 3, nullptr, 4), kErrorInvalidParameter);
  EXPECT_EQ(this->reg_->SetValueEx(key, "none", 0, nullptr, 0), kErrorSuccess);
}

TYPED_TEST(RegistryTest, DeleteValueAndTree) {
  HKey com3 = this->Create("Software\\Tessaron\\VSP\\COM3");
  this->Set(com3, "XON", kRegNone, "66");
  this->reg_->CloseKey(this->Create("Software\\Tessaron\\VSP\\COM4\\Deeper"));
  this->reg_->CloseKey(this->Create("Software\\Tessaron\\Other"));
  EXPECT_EQ(this->reg_->DeleteValue(com3, "xon"), kErrorSuccess);
  EXPECT_EQ(this->reg_->DeleteValue(com3, "xon"), kErrorFileNotFound);
  EXPECT_EQ(this->reg_->DeleteTree(kHKeyLocalMachine, "software\\tessaron\\vsp"), kErrorSuccess);
  EXPECT_EQ(this->reg_->DeleteTree(kHKeyLocalMachine, "software\\tessaron\\vsp"),
            kErrorFileNotFound);
  HKey key = 0;
  EXPECT_EQ(this->reg_->OpenKey(kHKeyLocalMachine, "Software\\Tessaron\\VSP\\COM4\\Deeper", &key),
            kErrorFileNotFound);
  HKey tessaron = 0;
  ASSERT_EQ(this->reg_->OpenKey(kHKeyLocalMachine, "Software\\Tessaron", &tessaron), kErrorSuccess);
  EXPECT_EQ(this->SubkeyNames(tessaron), std::vector<std::string>{"Other"});
  // The handle of a deleted key stays a handle, but every use of it fails.
  std::uint32_t length = 0;
  EXPECT_NE(this->reg_->QueryValueEx(com3, "XON", nullptr, nullptr, &length), kErrorSuccess);
  EXPECT_NE(this->reg_->SetValueEx(com3, "XON", 0, nullptr, 0), kErrorSuccess);
  EXPECT_NE(this->reg_->OpenKey(com3, "", &key), kErrorSuccess);
  std::string name;
  EXPECT_NE(this->reg_->EnumValue(com3, 0, &name, nullptr, nullptr), kErrorSuccess);
  EXPECT_EQ(this->reg_->CloseKey(com3), kErrorSuccess);
  // A key made again under the same name is a new key.
  HKey again = this->Create("Software\\Tessaron\\VSP\\COM3");
  EXPECT_TRUE(this->ValueNames(again).empty());
}

TYPED_TEST(RegistryTest, HandlesAfterClose) {
  HKey key = this->Create("Software\\Tessaron");
  ASSERT_EQ(this->reg_->CloseKey(key), kErrorSuccess);
  EXPECT_EQ(this->reg_->CloseKey(key), kErrorInvalidHandle);
  std::uint32_t length = 0;
  EXPECT_EQ(this->reg_->QueryValueEx(key, "X", nullptr, nullptr, &length), kErrorInvalidHandle);
  EXPECT_EQ(this->reg_->SetValueEx(key, "X", 0, nullptr, 0), kErrorInvalidHandle);
  HKey sub = 99;
  EXPECT_EQ(this->reg_->OpenKey(key, "", &sub), kErrorInvalidHandle);
  EXPECT_EQ(sub, 0u);
  for (HKey bogus : {0u, 12345u, 0x80000001u}) {
    EXPECT_EQ(this->reg_->CloseKey(bogus), kErrorInvalidHandle) << bogus;
  }
  // The root is always a handle, and closing it changes nothing.
  EXPECT_EQ(this->reg_->CloseKey(kHKeyLocalMachine), kErrorSuccess);
  EXPECT_EQ(this->reg_->OpenKey(kHKeyLocalMachine, "Software\\Tessaron", &key), kErrorSuccess);
  // A freed number is handed out again, so handles stay small.
  HKey first = 0, second = 0;
  this->reg_->OpenKey(kHKeyLocalMachine, "Software", &first);
  this->reg_->CloseKey(first);
  this->reg_->OpenKey(kHKeyLocalMachine, "Software", &second);
  EXPECT_EQ(first, second);
}

TYPED_TEST(RegistryTest, ValuesOnTheRootKey) {
  this->Set(kHKeyLocalMachine, "top", kRegDword, std::string("\x01\0\0\0", 4));
  EXPECT_EQ(this->ValueNames(kHKeyLocalMachine), std::vector<std::string>{"top"});
  EXPECT_EQ(this->reg_->DeleteTree(kHKeyLocalMachine, ""), kErrorSuccess);
  EXPECT_TRUE(this->ValueNames(kHKeyLocalMachine).empty());
}

TYPED_TEST(RegistryTest, AnAbortedBatchLeavesNothingAndACommittedOneAll) {
  auto* batch = dynamic_cast<BatchWriter*>(this->reg_.get());
  ASSERT_NE(batch, nullptr);
  HKey keep = this->Create("Software\\Keep");
  this->Set(keep, "A", kRegNone, "1");
  ASSERT_EQ(batch->BeginBatch(), kErrorSuccess);
  this->Set(keep, "A", kRegNone, "2");
  this->Set(this->Create("Software\\Gone"), "B", kRegNone, "3");
  ASSERT_EQ(this->reg_->DeleteTree(kHKeyLocalMachine, "Software\\Keep"), kErrorSuccess);
  batch->AbortBatch();
  HKey key = 0;
  EXPECT_EQ(this->reg_->OpenKey(kHKeyLocalMachine, "Software\\Gone", &key), kErrorFileNotFound);
  ASSERT_EQ(this->reg_->OpenKey(kHKeyLocalMachine, "Software\\Keep", &key), kErrorSuccess);
  std::uint8_t byte = 0;
  std::uint32_t length = 1;
  ASSERT_EQ(this->reg_->QueryValueEx(key, "A", nullptr, &byte, &length), kErrorSuccess);
  EXPECT_EQ(byte, '1');

  ASSERT_EQ(batch->BeginBatch(), kErrorSuccess);
  EXPECT_NE(batch->BeginBatch(), kErrorSuccess);
  this->Set(this->Create("Software\\New"), "C", kRegNone, "4");
  ASSERT_EQ(batch->CommitBatch(), kErrorSuccess);
  EXPECT_EQ(this->reg_->OpenKey(kHKeyLocalMachine, "Software\\New", &key), kErrorSuccess);
}

}  // namespace
}  // namespace ketra::registry
