#include "config_appl/form/option_groups.h"

#include "config_appl/form1/controls.h"

#include <array>
#include <string_view>

namespace ketra {
namespace {

constexpr std::array<std::string_view, 15> kPortFields = {ctl::kHardwareFlow,
                                                          ctl::kSoftwareFlow,
                                                          ctl::kXon,
                                                          ctl::kXoff,
                                                          ctl::kRemotePort,
                                                          ctl::kAddressBox,
                                                          ctl::kRemotePortLabel,
                                                          ctl::kAddressLabel,
                                                          ctl::kFlowFrame,
                                                          ctl::kRemoteFrame,
                                                          ctl::kLocalPort,
                                                          ctl::kAddressParts[0],
                                                          ctl::kAddressParts[1],
                                                          ctl::kAddressParts[2],
                                                          ctl::kAddressParts[3]};
constexpr std::array<std::string_view, 4> kFlowFields = {ctl::kXonLabel, ctl::kXoffLabel, ctl::kXon,
                                                         ctl::kXoff};

template <std::size_t N>
void SetAll(Panel& p, const std::array<std::string_view, N>& names, bool on) {
  for (std::string_view name : names) p.SetEnabled(name, on);
}

}  // namespace

void PortEnabledClick(Panel& p) { SetAll(p, kPortFields, true); }
void PortDisabledClick(Panel& p) { SetAll(p, kPortFields, false); }
void SoftwareFlowClick(Panel& p) { SetAll(p, kFlowFields, true); }
void HardwareFlowClick(Panel& p) { SetAll(p, kFlowFields, false); }

}  // namespace ketra
