// The start of the program, the load event of Form1: the single-instance test, discovery, the
// test for no ports, the port list, the load of the stored settings or the defaults of a first
// run, a save of every port, and the choice of the first port, whose Click fills the form.
// From the instance test on, a failed conversion ends only the step it happens in.
#ifndef KETRA_CONFIG_APPL_APP_START_UP_H_
#define KETRA_CONFIG_APPL_APP_START_UP_H_

#include "config_appl/model/panel.h"

namespace ketra {

void StartUp(Panel& p);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_APP_START_UP_H_
