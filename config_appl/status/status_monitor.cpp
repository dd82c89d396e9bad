#include "config_appl/status/status_monitor.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include "platform/runtime/conversions.h"

namespace ketra {
namespace {

constexpr double kMin = std::numeric_limits<std::int16_t>::min();
constexpr double kMax = std::numeric_limits<std::int16_t>::max();

void CopyPicture(Program& p, std::string_view from, std::string_view to) {
  forms::Form& form = p.form();
  form.SetPicture(form.Id(to), form.at(from).picture);
}

void Step(Program& p, double delta) {
  const double value = runtime::LeadingNumber(p.Text("Interval_Time")) + delta;
  p.SetText("Interval_Time", runtime::SignedNumberText(value));
}

}  // namespace

void Timer1_Timer(Program& p) {
  // The counter stops at the bottom of its range instead of failing, some 22 days after the
  // last Refresh.
  if (p.MonitorCountdown > std::numeric_limits<std::int16_t>::min()) --p.MonitorCountdown;
  if (p.MonitorCountdown == 0) {
    CopyPicture(p, "Disconnected", "VSP1Picture");
    CopyPicture(p, "Connected", "VSP2Picture");
    CopyPicture(p, "Notinstalled", "VSP3Picture");
    CopyPicture(p, "Connected", "VSP4Picture");
  }
}

void Command3_Click(Program& p) {
  // A count beyond the counter's range (an exponent form such as 9e9) is taken at the range's
  // end rather than refused: a countdown of 32767 minutes is as good as never.
  const double minutes = runtime::LeadingNumber(p.Text("Interval_Time"));
  if (std::nearbyint(minutes) > kMax) {
    p.MonitorCountdown = std::numeric_limits<std::int16_t>::max();
  } else if (std::nearbyint(minutes) < kMin) {
    p.MonitorCountdown = std::numeric_limits<std::int16_t>::min();
  } else {
    p.MonitorCountdown = runtime::RoundToInt16(minutes);
  }
}

void UpDown1_UpClick(Program& p) { Step(p, 1); }
void UpDown1_DownClick(Program& p) { Step(p, -1); }

}  // namespace ketra
