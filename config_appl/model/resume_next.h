// The "go on after a failed statement" mode the start-up and the settings file reader run
// under: a failed conversion (runtime::ConversionError), or a statement that gives up
// (StatementFailed), ends only the statement it happens in, and the next one runs. Anything else
// propagates, forms::ProgramEnded first of all.
#ifndef KETRA_CONFIG_APPL_MODEL_RESUME_NEXT_H_
#define KETRA_CONFIG_APPL_MODEL_RESUME_NEXT_H_

#include "platform/runtime/conversion_error.h"

namespace ketra {

struct StatementFailed {};

template <typename Statement>
void ResumeNext(Statement&& statement) {
  try {
    statement();
  } catch (const runtime::ConversionError&) {
  } catch (const StatementFailed&) {
  }
}

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_MODEL_RESUME_NEXT_H_
