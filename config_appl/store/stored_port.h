// Moved to config_appl/port/stored_port.h; this forward stays only until the daemon's start-up
// code includes it from there.
#include "config_appl/port/stored_port.h"
