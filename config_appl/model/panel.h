// One instance of the panel's data and surroundings: the port table and the module-level state
// beside it, the form it shows and the platform services it runs on. Every routine of form/,
// store/, driver/ and status/ is a free function over a Panel, in the file of its own concept.
// The program object that builds the form and wires those routines to it is one layer up
// (config_appl/app/program.h), so nothing here knows the routines.
//
// Single-threaded, as the form engine is. Owns neither the form nor the platform services.
#ifndef KETRA_CONFIG_APPL_MODEL_PANEL_H_
#define KETRA_CONFIG_APPL_MODEL_PANEL_H_

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

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
  // -1 when the last read of the form refused a field, else 0. Only shown (ketra-session's
  // state); the routines pass ReadForm's verdict as its return value.
  std::int16_t InputInvalid = 0;
  // The text the last read of the store left: a port without a key reads it again
  // (config_appl/port/stored_port.h, ReadPortValue).
  std::string RegValue;
  std::string AppPath;
  device::Handle DeviceHandle = 0;
};

// The platform services a panel runs on; all must outlive it.
struct Platform {
  registry::Registry& registry;
  device::DeviceIo& device;
  forms::AppServices& app;
  runtime::FileSystem& files;
  forms::MessageBoxService& boxes;
};

class Panel {
 public:
  Panel(const Platform& platform, forms::Form& form) : platform_(platform), form_(form) {}
  Panel(const Panel&) = delete;
  Panel& operator=(const Panel&) = delete;

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

  // Short-hands for the form's controls by name (config_appl/form/controls.h).
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
  forms::Form& form_;
};

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_MODEL_PANEL_H_
