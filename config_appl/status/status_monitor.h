// The monitor of the Status page: a countdown in minutes set by Refresh from Interval_Time and
// counted down by Timer1; the tick that takes it from 1 to 0 gives the four lamps a fixed
// pattern. It reads nothing of the ports, the store or the driver.
#ifndef KETRA_CONFIG_APPL_STATUS_STATUS_MONITOR_H_
#define KETRA_CONFIG_APPL_STATUS_STATUS_MONITOR_H_

#include "config_appl/model/panel.h"

namespace ketra {

void MonitorTick(Panel& p);
void RefreshClick(Panel& p);
void IntervalUpClick(Panel& p);
void IntervalDownClick(Panel& p);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_STATUS_STATUS_MONITOR_H_
