// Moved to config_appl/port/driver_record.h; this forward stays only until the daemon's
// start-up code includes it from there.
#include "config_appl/port/driver_record.h"
