// The platform's system error numbers that the panel and the driver daemon pass around: what the
// registry functions return and what the driver's device calls fail with. One table for both, so
// that the hive, the registry backends and the daemon's wire format agree on every number. Plain
// constants; thread-safe.
#ifndef KETRA_PLATFORM_RUNTIME_SYSTEM_ERRORS_H_
#define KETRA_PLATFORM_RUNTIME_SYSTEM_ERRORS_H_

#include <cstdint>

namespace ketra::runtime {

inline constexpr std::int32_t kErrorSuccess = 0;
inline constexpr std::int32_t kErrorInvalidFunction = 1;
inline constexpr std::int32_t kErrorFileNotFound = 2;
inline constexpr std::int32_t kErrorAccessDenied = 5;
inline constexpr std::int32_t kErrorInvalidHandle = 6;
inline constexpr std::int32_t kErrorLockViolation = 33;  // another program holds the hive locked
inline constexpr std::int32_t kErrorInvalidParameter = 87;
inline constexpr std::int32_t kErrorInvalidName = 123;
inline constexpr std::int32_t kErrorMoreData = 234;
inline constexpr std::int32_t kErrorNoMoreItems = 259;
inline constexpr std::int32_t kErrorBadDb = 1009;             // the hive file is not a hive
inline constexpr std::int32_t kErrorRegistryIoFailed = 1016;  // the hive cannot be read or written
inline constexpr std::int32_t kErrorKeyDeleted = 1018;  // the key of an open handle was deleted

}  // namespace ketra::runtime

#endif  // KETRA_PLATFORM_RUNTIME_SYSTEM_ERRORS_H_
