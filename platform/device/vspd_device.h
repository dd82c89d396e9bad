// The device calls of this machine: each open connects to the driver daemon's control socket and
// names the device path; each control call is one request and one answer on that connection;
// close ends it. Handles are small numbers of this object, one connection each.
//
// When the daemon is absent, untrusted or refuses the path, CreateFile gives kInvalidHandleValue.
// When the daemon does not answer a control call within the answer time-out, the call succeeds with
// the output record all zero but Status 19 ("Connection Timed Out"), and the connection is dropped;
// a daemon that goes away mid-call makes the call fail with the output unwritten.
// Owns its connections; one thread at a time.
#ifndef KETRA_PLATFORM_DEVICE_VSPD_DEVICE_H_
#define KETRA_PLATFORM_DEVICE_VSPD_DEVICE_H_

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "platform/device/device.h"
#include "platform/runtime/fd.h"
#include "platform/runtime/status.h"

namespace ketra::device {

inline constexpr std::chrono::milliseconds kDefaultVspdAnswerTimeout{10000};

std::unique_ptr<DeviceIo> MakeVspdDevice(std::string socket_path);
std::unique_ptr<DeviceIo> MakeVspdDevice(std::string socket_path,
                                         std::chrono::milliseconds answer_timeout);

// The daemon's status document (JSON text), for its client; nullopt when the daemon is absent,
// silent or answers anything else.
std::optional<std::string> QueryVspdStatus(const std::string& socket_path,
                                           std::chrono::milliseconds answer_timeout);

// A connection that carries `port`'s trace: each following message is one trace record
// (vspd_protocol.h). NotFound when no daemon answers or it has no such port, PermissionDenied
// when it may not be used, IoError when it refuses or answers something else.
runtime::StatusOr<runtime::Fd> OpenVspdTrace(const std::string& socket_path,
                                             const std::string& port,
                                             std::chrono::milliseconds answer_timeout);

// Why no daemon can be reached at `socket_path`, in words for the user: no socket, nobody
// listening, permission denied (not in the service's group), or a daemon run by an untrusted
// user (only root, the service user and the caller are trusted, by the socket's peer
// credentials). "" when a trusted daemon accepts the connection.
std::string DescribeVspdSocketProblem(const std::string& socket_path);

}  // namespace ketra::device

#endif  // KETRA_PLATFORM_DEVICE_VSPD_DEVICE_H_
