// The registry as the panel and the driver daemon see it: keys under HKEY_LOCAL_MACHINE, each
// with named values of a type and raw bytes. Key and value names compare without regard to case
// (ASCII letters) and keep the case of their creation; values keep their creation order.
// Every call is complete and atomic on its own. Handles are small numbers owned by the caller
// until CloseKey; a failed open or create yields none.
//
// Names and paths are 8-bit (Windows-1252) texts. Paths use backslashes and may not begin with
// one; a trailing backslash or a doubled one inside is taken as the platform takes it (dropped,
// read as one). Status codes are the platform's error numbers.
//
// Implementations: OpenSqliteHive (sqlite_hive.h, a hive file shared between processes),
// MakeMemoryRegistry (memory_registry.h, a fake for tests) and FaultyRegistry (faulty_registry.h,
// a wrapper that injects failures); the first two are a ModelRegistry (model_registry.h) over
// their store. One instance is used from one thread at a time; separate instances on one hive
// file may live in separate processes.
#ifndef KETRA_PLATFORM_REGISTRY_REGISTRY_H_
#define KETRA_PLATFORM_REGISTRY_REGISTRY_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/runtime/system_errors.h"

namespace ketra::registry {

using HKey = std::uint32_t;
using Status = std::int32_t;

inline constexpr HKey kHKeyLocalMachine = 0x80000002u;

using runtime::kErrorAccessDenied;
using runtime::kErrorBadDb;
using runtime::kErrorFileNotFound;
using runtime::kErrorInvalidHandle;
using runtime::kErrorInvalidParameter;
using runtime::kErrorKeyDeleted;
using runtime::kErrorLockViolation;
using runtime::kErrorMoreData;
using runtime::kErrorNoMoreItems;
using runtime::kErrorRegistryIoFailed;
using runtime::kErrorSuccess;

inline constexpr std::uint32_t kRegNone = 0;
inline constexpr std::uint32_t kRegSz = 1;
inline constexpr std::uint32_t kRegBinary = 3;
inline constexpr std::uint32_t kRegDword = 4;

inline constexpr std::uint32_t kKeyRead = 0x20019;
inline constexpr std::uint32_t kKeyWrite = 0x20006;
// The rights of a handle that the calls check; kKeyRead holds the first and the third,
// kKeyWrite the second.
inline constexpr std::uint32_t kKeyQueryValue = 0x0001;
inline constexpr std::uint32_t kKeySetValue = 0x0002;
inline constexpr std::uint32_t kKeyEnumerateSubKeys = 0x0008;
inline constexpr std::uint32_t kKeyAllAccess = 0xF003F;

inline constexpr std::uint32_t kRegCreatedNewKey = 1;
inline constexpr std::uint32_t kRegOpenedExistingKey = 2;

class Registry {
 public:
  virtual ~Registry() = default;

  // Opens parent\sub_key (one or more levels). On failure *result is set to 0.
  // An empty sub_key opens parent again. A handle allows only what `sam` asked for, checked at
  // each call: reading or listing values needs kKeyQueryValue, listing subkeys
  // kKeyEnumerateSubKeys, setting or deleting a value kKeySetValue; otherwise the call fails
  // with kErrorAccessDenied. OpenKey asks for every right; kHKeyLocalMachine has them all.
  virtual Status OpenKey(HKey parent, std::string_view sub_key, HKey* result) = 0;
  virtual Status OpenKeyEx(HKey parent, std::string_view sub_key, std::uint32_t options,
                           std::uint32_t sam, HKey* result) = 0;

  // Opens parent\sub_key, creating it and every missing key above it.
  virtual Status CreateKeyEx(HKey parent, std::string_view sub_key, std::uint32_t options,
                             std::uint32_t sam, HKey* result, std::uint32_t* disposition) = 0;

  // Reads one value. `type` and `data_length` may be null, `data` may be null (a size query).
  // When the value exists: *type is set; with data null, *data_length becomes the data's size;
  // with a buffer of *data_length bytes that holds the data, the data is copied and
  // *data_length becomes its size; with a buffer too small, kErrorMoreData, *data_length becomes
  // the size needed and the buffer is left untouched. A REG_SZ value stored without its NUL gets
  // one written behind the data when the buffer has room; *data_length still says the data's
  // size. When the value does not exist:
  // kErrorFileNotFound and neither *type, *data_length nor the buffer is written.
  virtual Status QueryValueEx(HKey key, std::string_view value_name, std::uint32_t* type,
                              std::uint8_t* data, std::uint32_t* data_length) = 0;

  // Creates or replaces one value; a replaced value keeps its place in the creation order.
  virtual Status SetValueEx(HKey key, std::string_view value_name, std::uint32_t type,
                            const std::uint8_t* data, std::uint32_t data_length) = 0;

  virtual Status CloseKey(HKey key) = 0;

  // Walking and editing, for the tools and the driver daemon.
  // Subkeys in case-insensitive alphabetical order; values in creation order.
  // Past the end: kErrorNoMoreItems.
  virtual Status EnumKey(HKey key, std::uint32_t index, std::string* name) = 0;
  virtual Status EnumValue(HKey key, std::uint32_t index, std::string* name, std::uint32_t* type,
                           std::vector<std::uint8_t>* data) = 0;
  virtual Status DeleteValue(HKey key, std::string_view value_name) = 0;
  // Deletes parent\sub_key with everything below it.
  virtual Status DeleteTree(HKey parent, std::string_view sub_key) = 0;
};

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_REGISTRY_H_
