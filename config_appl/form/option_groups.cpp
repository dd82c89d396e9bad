#include "config_appl/form/option_groups.h"

#include <array>
#include <string_view>

namespace ketra {
namespace {

constexpr std::array<std::string_view, 15> kPortFields = {
    "OPT_HWF",     "OPT_SWF", "TXT_XON", "TXT_XOFF",     "TXT_UDP",
    "TXT_IP",      "LBL_UDP", "LBL_IP",  "FRM_FLWCNTRL", "FRM_REMOTE",
    "TXT_LOCPORT", "TXT_IP1", "TXT_IP2", "TXT_IP3",      "TXT_IP4"};
constexpr std::array<std::string_view, 4> kFlowFields = {"LBL_XON", "LBL_XOFF", "TXT_XON",
                                                         "TXT_XOFF"};

template <std::size_t N>
void SetAll(Program& p, const std::array<std::string_view, N>& names, bool on) {
  for (std::string_view name : names) p.SetEnabled(name, on);
}

}  // namespace

void OPT_ENB_Click(Program& p) { SetAll(p, kPortFields, true); }
void OPT_DSB_Click(Program& p) { SetAll(p, kPortFields, false); }
void OPT_SWF_Click(Program& p) { SetAll(p, kFlowFields, true); }
void OPT_HWF_Click(Program& p) { SetAll(p, kFlowFields, false); }

}  // namespace ketra
