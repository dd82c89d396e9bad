// Reading the form into the row of the port that CMB_PORT names. The tests are for emptiness
// only, in a fixed order; at a refusal the message is shown, InputInvalid becomes -1 and what
// was stored in the row by then stays there.
#ifndef KETRA_CONFIG_APPL_FORM_READ_UI_H_
#define KETRA_CONFIG_APPL_FORM_READ_UI_H_

#include <cstdint>
#include <optional>
#include <string_view>

#include "config_appl/model/program.h"

namespace ketra {

void ReadUI(Program& p);

// The byte a flow control character field stands for: "&" first reads the number ("&H11" 17),
// any other first character is that character's code. nullopt when it does not fit a byte.
std::optional<std::uint8_t> FlowCharValue(std::string_view text);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_FORM_READ_UI_H_
