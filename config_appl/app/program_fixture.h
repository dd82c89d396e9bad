// A program instance on fakes, for the tests of the panel's routines: an in-memory registry
// behind a fault-injecting wrapper, the scripted driver, an in-memory file system, a fixed
// program directory and a recorder of message boxes.
#ifndef KETRA_CONFIG_APPL_APP_PROGRAM_FIXTURE_H_
#define KETRA_CONFIG_APPL_APP_PROGRAM_FIXTURE_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "config_appl/app/program.h"
#include "platform/device/scripted_device.h"
#include "platform/registry/faulty_registry.h"
#include "platform/runtime/text_file.h"

namespace ketra::testing {

struct Box {
  std::string text;
  forms::MsgBoxStyle style;
  bool operator==(const Box&) const = default;
};

class RecordingBoxes : public forms::MessageBoxService {
 public:
  void Show(std::string_view text, forms::MsgBoxStyle style) override {
    shown.push_back({std::string(text), style});
  }
  std::vector<Box> shown;
};

class FixedApp : public forms::AppServices {
 public:
  std::string Path() const override { return "/opt/ketra"; }
  bool PrevInstance() override { return false; }  // another instance is the sessions' case
};

class ProgramFixture {
 public:
  ProgramFixture();

  // Device map entries \Device\TesSerial<device> = data (type REG_SZ, with a NUL).
  void AddDevice(int device, std::string_view data);
  // Ports COM3, COM4, ... on devices 0, 1, ...
  void AddPorts(int count);
  // A stored value of a port's key, as the save writes it (type 0 text and NUL).
  void Store(std::string_view port, std::string_view name, std::string_view text);
  // The text of a stored type 0 value without its NUL; "<missing>" when absent.
  std::string Stored(std::string_view port, std::string_view name);
  // Raw value, for byte-exact checks: type and data.
  bool StoredRaw(std::string_view port, std::string_view name, std::uint32_t* type,
                 std::vector<std::uint8_t>* data);

  // A fresh program instance on the same fakes (a second run of the panel).
  Program& NewProgram();
  Program& p() { return *program_; }
  // Runs the start-up; true when the program goes on running.
  bool Start();

  PortRecord& row(int r) { return p().decl().PortTable[static_cast<size_t>(r)]; }
  std::vector<Box> TakeBoxes() {
    std::vector<Box> shown = std::move(boxes.shown);
    boxes.shown.clear();
    return shown;
  }

  std::unique_ptr<registry::Registry> memory;
  registry::FaultyRegistry registry;
  device::ScriptedDevice device;
  FixedApp app;
  runtime::MemoryFileSystem files;
  RecordingBoxes boxes;

 private:
  std::unique_ptr<Program> program_;
};

}  // namespace ketra::testing

#endif  // KETRA_CONFIG_APPL_APP_PROGRAM_FIXTURE_H_
