// Reading the form into the row of the port that CMB_PORT names. The tests are for emptiness
// only, in a fixed order; at a refusal the message is shown, ReadForm returns false and what
// was stored in the row by then stays there. True when every field was accepted.
#ifndef KETRA_CONFIG_APPL_FORM_READ_FORM_H_
#define KETRA_CONFIG_APPL_FORM_READ_FORM_H_

#include <cstdint>
#include <optional>
#include <string_view>

#include "config_appl/model/panel.h"

namespace ketra {

[[nodiscard]] bool ReadForm(Panel& p);

// The byte a flow control character field stands for: "&" first reads the number ("&H11" 17),
// any other first character is that character's code. nullopt when it does not fit a byte.
std::optional<std::uint8_t> FlowCharValue(std::string_view text);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_FORM_READ_FORM_H_
