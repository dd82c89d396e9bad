// ketra-session: runs one program session on the headless form engine from a script or standard
// input and prints what happens as JSON Lines. The command language and the output forms are
// the session protocol; this file only wires the machine's services together.
#include <exception>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "platform/runtime/build_info.h"
#include "tools/ketra-session/session.h"
#include "tools/machine/machine.h"

namespace {

// The answer of the single-instance test forced from the command line. The real test still runs
// for "no", so that this session holds the hive's instance lock like any running program.
class ForcedPrevInstance : public ketra::forms::AppServices {
 public:
  ForcedPrevInstance(ketra::forms::AppServices& inner, bool answer)
      : inner_(inner), answer_(answer) {}
  std::string Path() const override { return inner_.Path(); }
  bool PrevInstance() override {
    if (!answer_) inner_.PrevInstance();
    return answer_;
  }

 private:
  ketra::forms::AppServices& inner_;
  bool answer_;
};

}  // namespace

int main(int argc, char** argv) try {
  CLI::App cli{"Runs one session of the Ketra panel on the headless form engine."};
  // The same command line on every platform: on Windows CLI11 would read a path such as /tmp/x
  // as a /option.
  cli.allow_windows_style_options(false);
  cli.set_version_flag("--version", "ketra-session " KETRA_VERSION);
  std::string hive;
  std::string app_path;
  std::string prev_instance;
  std::string driver = "scripted";
  std::string script;
  cli.add_option("--hive", hive,
                 ketra::machine::UsesHiveFile()
                     ? "the hive file (default: the user's, else the system's)"
                     : "not used on Windows, where the system registry holds the settings");
  cli.add_option("--app-path", app_path, "the program's own directory (default: the executable's)");
  cli.add_option("--prev-instance", prev_instance, "force the single-instance test's answer")
      ->check(CLI::IsMember({"yes", "no"}));
  cli.add_option("--driver", driver, "scripted stand-in or the machine's driver daemon")
      ->check(CLI::IsMember({"scripted", "system"}));
  cli.add_option("SCRIPT", script, "a file of commands (default: standard input)");
  try {
    cli.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return cli.exit(error) == 0 ? 0 : 2;
  }
  if (const ketra::runtime::Status resolved = ketra::machine::ResolveHive(&hive); !resolved.ok()) {
    std::cerr << "ketra-session: " << resolved.message() << '\n';
    return 2;
  }

  std::ifstream script_file;
  if (!script.empty()) {
    script_file.open(script);
    if (!script_file) {
      std::cerr << "ketra-session: cannot open " << script << '\n';
      return 2;
    }
  }

  std::unique_ptr<ketra::registry::Registry> registry = ketra::machine::OpenRegistry(hive);
  // An empty app path stands for the directory of the executable.
  std::unique_ptr<ketra::forms::AppServices> real_app = ketra::machine::MakeApp(app_path, hive);
  std::optional<ForcedPrevInstance> forced;
  ketra::forms::AppServices* app = real_app.get();
  if (!prev_instance.empty()) app = &forced.emplace(*real_app, prev_instance == "yes");
  std::unique_ptr<ketra::runtime::FileSystem> files = ketra::machine::MakeFileSystem();
  std::unique_ptr<ketra::device::DeviceIo> system_device;
  if (driver == "system") system_device = ketra::machine::MakeSystemDevice();

  ketra::session::Session session(
      ketra::session::Environment{*registry, *app, *files, system_device.get()}, std::cout);
  session.Run(script.empty() ? std::cin : script_file);
  return 0;
} catch (const std::exception& error) {
  // Nothing below main handles it: say what stopped the program instead of aborting.
  std::cerr << "ketra-session: stopped by an unexpected error: " << error.what() << '\n';
  return 1;
} catch (...) {
  std::cerr << "ketra-session: stopped by an unexpected error\n";
  return 1;
}
