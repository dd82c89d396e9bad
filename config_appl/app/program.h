// The program object: one run of the panel. It builds Form1 from its layout, wires every event
// handler of the routine table to the form, runs the start-up, and runs any routine by the
// name scripts and messages know it by (`call CreateConfigFile2`). It is the layer above
// form/, store/, driver/ and status/, which know only the Panel it derives from; the window and
// ketra-session both drive the panel through it, so they run the very same code.
//
// Single-threaded, as the form engine is. Owns the form; does not own the platform services.
#ifndef KETRA_CONFIG_APPL_APP_PROGRAM_H_
#define KETRA_CONFIG_APPL_APP_PROGRAM_H_

#include <string_view>
#include <vector>

#include "config_appl/model/panel.h"
#include "platform/forms/form.h"

namespace ketra {

namespace internal {
// Holds the form so that it is built before the Panel that refers to it.
struct FormOwner {
  explicit FormOwner(forms::MessageBoxService& boxes);
  forms::Form owned_form;
};
}  // namespace internal

class Program : private internal::FormOwner, public Panel {
 public:
  explicit Program(const Platform& platform);

  // The process entry: the form is created and its load event runs, then the form is shown.
  // Throws forms::ProgramEnded when the program ended during the load.
  void Start() { form().Start(); }

  // Runs a routine or event handler by its table name ("ReadUI", "CMD_CONNECT_Click", ...).
  // Returns false for a name the program does not have. Failures propagate.
  bool Call(std::string_view routine);
  // Every name Call accepts.
  static std::vector<std::string_view> RoutineNames();
};

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_APP_PROGRAM_H_
