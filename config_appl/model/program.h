// One instance of the panel: the port table and the module-level state beside it, Form1 built
// from its layout with every handler wired, and the platform services it runs on. Everything a
// run of the program holds lives here, so tests can run many instances side by side.
//
// The routines of the system are free functions over a Program (ReadRegistry(p), ReadUI(p), ...),
// each in the file of its own concept; Call runs any of them, or any event handler, by its name.
// Single-threaded, as the form engine is. Does not own the platform services.
#ifndef KETRA_CONFIG_APPL_MODEL_PROGRAM_H_
#define KETRA_CONFIG_APPL_MODEL_PROGRAM_H_

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "config_appl/port/port_record.h"
#include "platform/device/device.h"
#include "platform/forms/form.h"
#include "platform/forms/services.h"
#include "platform/registry/registry.h"
#include "platform/runtime/text_file.h"

namespace ketra {

inline constexpr int kPortTableRows = 101;

struct Declarations {
  std::array<PortRecord, kPortTableRows> PortTable{};
  std::int16_t PortCount = 0;
  std::int16_t LastPort = 0;
  std::int16_t InputInvalid = 0;
  std::string RegValue;
  std::string AppPath;
  device::Handle DeviceHandle = 0;
};

// The platform services a program instance runs on; all must outlive it.
struct Platform {
  registry::Registry& registry;
  device::DeviceIo& device;
  forms::AppServices& app;
  runtime::FileSystem& files;
  forms::MessageBoxService& boxes;
};

class Program {
 public:
  explicit Program(const Platform& platform);
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  // The process entry: the form is created and its load event runs, then the form is shown.
  // Throws forms::ProgramEnded when the program ended during the load.
  void Start() { form_.Start(); }

  // Runs a routine or event handler by its own name ("ReadUI", "CMD_CONNECT_Click", ...).
  // Returns false for a name the program does not have. Failures propagate.
  bool Call(std::string_view routine);
  // Every name Call accepts.
  static std::vector<std::string_view> RoutineNames();

  Declarations& decl() { return decl_; }
  const Declarations& decl() const { return decl_; }
  forms::Form& form() { return form_; }
  const forms::Form& form() const { return form_; }
  registry::Registry& registry() { return platform_.registry; }
  device::DeviceIo& device() { return platform_.device; }
  forms::AppServices& app() { return platform_.app; }
  runtime::FileSystem& files() { return platform_.files; }

  // A member of Form1: the status page's countdown, in ticks of Timer1.
  std::int16_t MonitorCountdown = 0;

  // Short-hands for the form's controls by name.
  const forms::Control& Ctl(std::string_view name) const { return form_.at(name); }
  const std::string& Text(std::string_view name) const { return form_.at(name).text; }
  bool Value(std::string_view name) const { return form_.at(name).value; }
  void SetText(std::string_view name, std::string_view text) {
    form_.SetText(form_.Id(name), text);
  }
  void SetValue(std::string_view name, bool value) { form_.SetValue(form_.Id(name), value); }
  void SetEnabled(std::string_view name, bool on) { form_.SetEnabled(form_.Id(name), on); }
  void MsgBox(std::string_view text, forms::MsgBoxStyle style) { form_.MsgBox(text, style); }

 private:
  Platform platform_;
  Declarations decl_;
  forms::Form form_;
};

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_MODEL_PROGRAM_H_
