// The guards on the Config page's text boxes. They act on the field's own text alone and never
// repair it: a guard empties the field.
//  - numeric guard (Change of the address fields, TXT_LOCPORT, TXT_UDP): a text that is not one
//    number is emptied at once, without a message;
//  - select all (GotFocus of those fields and of TXT_XON, TXT_XOFF);
//  - bound guard (LostFocus of the address fields): above 255 shows "Invalid Ip Address" and
//    empties the field;
//  - distinctness guard (LostFocus of TXT_XON, TXT_XOFF): equal texts show "Please select
//    distinct values for XON and XOFF" and empty the field that lost the focus.
#ifndef KETRA_CONFIG_APPL_FORM_FIELD_GUARDS_H_
#define KETRA_CONFIG_APPL_FORM_FIELD_GUARDS_H_

#include <string_view>

#include "config_appl/model/panel.h"

namespace ketra {

void NumericGuard(Panel& p, std::string_view field);
void SelectAll(Panel& p, std::string_view field);
void BoundGuard(Panel& p, std::string_view field);
void DistinctnessGuard(Panel& p, std::string_view field);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_FORM_FIELD_GUARDS_H_
