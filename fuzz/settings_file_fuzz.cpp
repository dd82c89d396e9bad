// The text settings file reader on any file: every statement that fails is passed over, so the
// reader never fails as a whole, and it changes no row but the ports the file names.
#include <cstddef>
#include <cstdint>
#include <string>

#include "config_appl/app/program_fixture.h"
#include "config_appl/store/settings_file.h"
#include "fuzz/fuzz_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static ketra::testing::ProgramFixture* fixture = new ketra::testing::ProgramFixture();
  ketra::Program& p = fixture->p();
  ketra::Declarations& d = p.decl();
  const char* names[] = {"COM3", "COM4", "COM10", "COM4"};
  for (int r = 0; r < 5; ++r) d.PortTable[static_cast<std::size_t>(r)] = ketra::PortRecord{};
  for (int r = 0; r < 4; ++r) d.PortTable[static_cast<std::size_t>(r)].PortName = names[r];
  d.PortTable[4].PortName = "LPT1";  // beyond LastPort: never read into
  d.LastPort = 3;
  d.AppPath = "/opt/ketra";
  fixture->files.Put("/opt/ketra/tessaronconfigfile.txt",
                     std::string(reinterpret_cast<const char*>(data), size));
  try {
    ketra::ReadSettingsFile(p);
  } catch (...) {
    FUZZ_CHECK(!"ReadFile let a failure through");
  }
  const ketra::PortRecord& untouched = d.PortTable[4];
  FUZZ_CHECK(untouched.Enabled == 0 && untouched.XON == 0 && untouched.XOFF == 0);
  FUZZ_CHECK(untouched.RemoteIP.empty() && untouched.RemotePort.empty() &&
             untouched.LocalPort.empty() && untouched.FlowControl.empty());
  return 0;
}
