#include "daemon/flow_control.h"

namespace ketra::vspd {

std::span<std::uint8_t> FlowControl::Filter(std::span<std::uint8_t> data) {
  if (!software_) return data;
  std::size_t kept = 0;
  for (const std::uint8_t byte : data) {
    if (byte == xoff_) {
      paused_ = true;
    } else if (byte == xon_) {
      paused_ = false;
    } else {
      data[kept++] = byte;
    }
  }
  return data.first(kept);
}

}  // namespace ketra::vspd
