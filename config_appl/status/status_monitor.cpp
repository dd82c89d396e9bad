#include "config_appl/status/status_monitor.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include "config_appl/form1/controls.h"
#include "platform/runtime/conversions.h"

namespace ketra {
namespace {

constexpr double kMin = std::numeric_limits<std::int16_t>::min();
constexpr double kMax = std::numeric_limits<std::int16_t>::max();

void CopyPicture(Panel& p, std::string_view from, std::string_view to) {
  forms::Form& form = p.form();
  form.SetPicture(form.Id(to), form.at(from).picture);
}

void Step(Panel& p, double delta) {
  const double value = runtime::LeadingNumber(p.Text(ctl::kInterval)) + delta;
  p.SetText(ctl::kInterval, runtime::SignedNumberText(value));
}

}  // namespace

void MonitorTick(Panel& p) {
  // The counter stops at the bottom of its range instead of failing, some 22 days after the
  // last Refresh.
  if (p.MonitorCountdown > std::numeric_limits<std::int16_t>::min()) --p.MonitorCountdown;
  if (p.MonitorCountdown == 0) {
    CopyPicture(p, ctl::kDisconnectedImage, ctl::kLamps[0]);
    CopyPicture(p, ctl::kConnectedImage, ctl::kLamps[1]);
    CopyPicture(p, ctl::kNotInstalledImage, ctl::kLamps[2]);
    CopyPicture(p, ctl::kConnectedImage, ctl::kLamps[3]);
  }
}

void RefreshClick(Panel& p) {
  // A count beyond the counter's range (an exponent form such as 9e9) is taken at the range's
  // end rather than refused: a countdown of 32767 minutes is as good as never.
  const double minutes = runtime::LeadingNumber(p.Text(ctl::kInterval));
  if (std::nearbyint(minutes) > kMax) {
    p.MonitorCountdown = std::numeric_limits<std::int16_t>::max();
  } else if (std::nearbyint(minutes) < kMin) {
    p.MonitorCountdown = std::numeric_limits<std::int16_t>::min();
  } else {
    p.MonitorCountdown = runtime::RoundToInt16(minutes);
  }
}

void IntervalUpClick(Panel& p) { Step(p, 1); }
void IntervalDownClick(Panel& p) { Step(p, -1); }

}  // namespace ketra
