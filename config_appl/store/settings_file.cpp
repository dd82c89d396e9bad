#include "config_appl/store/settings_file.h"

#include <functional>
#include <memory>
#include <optional>

#include "config_appl/model/resume_next.h"
#include "platform/runtime/conversions.h"

namespace ketra {
namespace {

// The text behind the first "=" up to the next one; a line without "=" has none.
std::string SecondPart(const std::string& line) {
  const auto first = line.find('=');
  if (first == std::string::npos) throw StatementFailed{};
  const auto second = line.find('=', first + 1);
  return line.substr(first + 1,
                     second == std::string::npos ? std::string::npos : second - first - 1);
}

}  // namespace

std::string SectionName(std::string_view line) {
  if (line.size() == 7) return std::string(line.substr(1, 5));
  if (line.size() >= 5) return std::string(line.substr(1, 4));
  return std::string(line);
}

void ReadSettingsFile(Panel& p) {
  Declarations& d = p.decl();
  std::unique_ptr<runtime::TextReader> stream;
  // The line last read stands in for a read that fails, as the reader's variable keeps it.
  std::string line;
  auto read_line = [&] {
    if (!stream) throw StatementFailed{};
    std::optional<std::string> next = stream->ReadLine();
    if (!next) throw StatementFailed{};
    line = std::move(*next);
  };

  ResumeNext(
      [&] { stream = p.files().OpenTextFile(d.AppPath + "/" + std::string(kSettingsFileName)); });
  for (int i = 0; i <= d.LastPort; ++i) {
    ResumeNext(read_line);
    const std::string name = SectionName(line);
    for (int j = 0; j <= d.LastPort; ++j) {
      PortRecord& row = d.PortTable[j];
      if (name != row.PortName) continue;
      auto setting = [&](const std::function<void(const std::string&)>& assign) {
        ResumeNext(read_line);
        ResumeNext([&] { assign(SecondPart(line)); });
      };
      setting([&](const std::string& v) { row.Enabled = runtime::TruthFromText(v); });
      setting([&](const std::string& v) { row.FlowControl = v; });
      setting([&](const std::string& v) { row.LocalPort = v; });
      setting([&](const std::string& v) { row.RemotePort = v; });
      setting([&](const std::string& v) { row.RemoteIP = v; });
      setting([&](const std::string& v) { row.XON = runtime::ByteFromText(v); });
      setting([&](const std::string& v) { row.XOFF = runtime::ByteFromText(v); });
    }
  }
  ResumeNext([&] { stream.reset(); });
}

}  // namespace ketra
