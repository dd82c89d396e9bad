// Applying the changes read from a registry export file. Uses the registry it is given from the
// calling thread only.
#ifndef KETRA_TOOLS_KETRA_REG_REG_APPLY_H_
#define KETRA_TOOLS_KETRA_REG_REG_APPLY_H_

#include <string>
#include <vector>

#include "platform/registry/registry.h"
#include "tools/ketra-reg/reg_parse.h"

namespace ketra::regtext {

// Applies the changes in order, all or nothing where the registry supports batches. Deleting
// what does not exist is no failure. On failure, the status and a message naming the line.
registry::Status ApplyChanges(registry::Registry& reg, const std::vector<RegChange>& changes,
                              std::string* message);

}  // namespace ketra::regtext

#endif  // KETRA_TOOLS_KETRA_REG_REG_APPLY_H_
