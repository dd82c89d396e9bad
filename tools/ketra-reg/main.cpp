// ketra-reg: reads and writes the hive file in the REGEDIT4 text form.
//   ketra-reg [--hive PATH] export [KEY]
//   ketra-reg [--hive PATH] import FILE|-
//   ketra-reg --help | --version
// Exit status: 0 done, 1 the hive or the file could not be read or written, 2 usage error.
#include <sys/stat.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>

#include "platform/runtime/build_info.h"
#include "tools/ketra-reg/reg_apply.h"
#include "tools/ketra-reg/reg_export.h"
#include "tools/ketra-reg/reg_parse.h"
#include "tools/machine/machine.h"

namespace {

using ketra::registry::Status;

int Export(ketra::registry::Registry& reg, const std::string& key) {
  std::string text;
  const Status status = ketra::regtext::ExportText(reg, key, &text);
  if (status == ketra::registry::kErrorFileNotFound) {
    std::cerr << "ketra-reg: no such key: " << key << '\n';
    return 1;
  }
  if (status == ketra::registry::kErrorInvalidParameter) {
    std::cerr << "ketra-reg: not a key path under HKEY_LOCAL_MACHINE: " << key << '\n';
    return 1;
  }
  if (status != ketra::registry::kErrorSuccess) {
    std::cerr << "ketra-reg: the hive cannot be read (status " << status << ")\n";
    return 1;
  }
  std::cout << text;
  std::cout.flush();
  return std::cout ? 0 : 1;
}

int Import(ketra::registry::Registry& reg, const std::string& file) {
  std::string text;
  if (file == "-") {
    text.assign(std::istreambuf_iterator<char>(std::cin), {});
  } else {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
      std::cerr << "ketra-reg: cannot read " << file << '\n';
      return 1;
    }
    text.assign(std::istreambuf_iterator<char>(in), {});
  }
  std::vector<ketra::regtext::RegChange> changes;
  ketra::regtext::ParseError error;
  if (!ketra::regtext::ParseText(text, &changes, &error)) {
    std::cerr << (file == "-" ? "<stdin>" : file) << ':' << error.line << ": " << error.message
              << '\n';
    return 1;
  }
  std::string message;
  if (ketra::regtext::ApplyChanges(reg, changes, &message) != ketra::registry::kErrorSuccess) {
    std::cerr << "ketra-reg: " << message << "; nothing was imported\n";
    return 1;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) try {
  CLI::App app{"Reads and writes the Ketra hive file in the REGEDIT4 text form."};
  // The same command line on every platform: on Windows CLI11 would read a path such as /tmp/x
  // as a /option.
  app.allow_windows_style_options(false);
  app.set_version_flag("--version", "ketra-reg " KETRA_VERSION);
  app.fallthrough();
  std::string hive;
  app.add_option("--hive", hive,
                 ketra::machine::UsesHiveFile()
                     ? "the hive file (default: $KETRA_HIVE or the state directory)"
                     : "not used on Windows, where the system registry holds the settings");
  std::string key;
  CLI::App* export_command =
      app.add_subcommand("export", "print KEY (default: the whole hive) and every key below it");
  export_command->add_option("KEY", key, "e.g. HKEY_LOCAL_MACHINE\\Software\\Tessaron\\VSP");
  std::string file;
  CLI::App* import_command =
      app.add_subcommand("import", "apply a REGEDIT4 file, all of it or nothing");
  import_command->add_option("FILE", file, "the file, or - for standard input")->required();
  app.require_subcommand(1);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  // A hive the user named; the default one is made, directories and all, by the first write.
  const char* const named_by_environment = std::getenv("KETRA_HIVE");
  const bool named = !hive.empty() || (named_by_environment != nullptr && *named_by_environment);
  if (const ketra::runtime::Status resolved = ketra::machine::ResolveHive(&hive); !resolved.ok()) {
    std::cerr << "ketra-reg: " << resolved.message() << '\n';
    return 2;
  }
  // A hive named in a directory that is not there is a mistake, not an empty hive.
  const auto slash = hive.rfind('/');
  if (named && slash != std::string::npos && slash > 0) {
    struct stat info {};
    const std::string directory = hive.substr(0, slash);
    if (::stat(directory.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
      std::cerr << "ketra-reg: " << hive << ": the directory " << directory << " does not exist\n";
      return 1;
    }
  }

  auto reg = ketra::machine::OpenRegistry(hive);
  if (*export_command) return Export(*reg, key);
  return Import(*reg, file);
} catch (const std::exception& error) {
  // Nothing below main handles it: say what stopped the program instead of aborting.
  std::cerr << "ketra-reg: stopped by an unexpected error: " << error.what() << '\n';
  return 1;
} catch (...) {
  std::cerr << "ketra-reg: stopped by an unexpected error\n";
  return 1;
}
