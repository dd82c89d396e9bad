// Filling the form with the stored settings of the port that CMB_PORT names: every value is
// read again from the store, put into the port's row and shown in its control. Handlers of the
// controls it sets run inside the assignments.
#ifndef KETRA_CONFIG_APPL_FORM_SHOW_STORED_PORT_H_
#define KETRA_CONFIG_APPL_FORM_SHOW_STORED_PORT_H_

#include <string>

#include "config_appl/model/panel.h"

namespace ketra {

void ShowStoredPort(Panel& p);

// How a flow control character is shown: the character itself for codes 33 to 126, else "&H"
// and the code in upper-case hexadecimal ("&H11").
std::string FlowCharDisplay(double code);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_FORM_SHOW_STORED_PORT_H_
