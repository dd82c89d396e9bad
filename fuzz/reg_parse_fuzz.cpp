// The REGEDIT4 reader on any text. A text it takes is applied to an empty registry and exported;
// the export must read back, and applied to another empty registry it must export the same
// text again: what the reader accepts, the tool can write and read without loss.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_check.h"
#include "platform/registry/memory_registry.h"
#include "tools/ketra-reg/reg_apply.h"
#include "tools/ketra-reg/reg_export.h"
#include "tools/ketra-reg/reg_parse.h"

namespace {

using ketra::registry::kErrorSuccess;

// The export of a fresh registry after applying `changes`; false when a step fails.
bool ApplyAndExport(const std::vector<ketra::regtext::RegChange>& changes, std::string* text) {
  auto reg = ketra::registry::MakeMemoryRegistry();
  std::string message;
  if (ketra::regtext::ApplyChanges(*reg, changes, &message) != kErrorSuccess) return false;
  return ketra::regtext::ExportText(*reg, "", text) == kErrorSuccess;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::vector<ketra::regtext::RegChange> changes;
  ketra::regtext::ParseError error;
  if (!ketra::regtext::ParseText(text, &changes, &error)) {
    FUZZ_CHECK(error.line >= 1 && !error.message.empty());
    return 0;
  }
  std::string first;
  if (!ApplyAndExport(changes, &first)) return 0;  // a change the registry refuses
  std::vector<ketra::regtext::RegChange> again;
  FUZZ_CHECK(ketra::regtext::ParseText(first, &again, &error));
  std::string second;
  FUZZ_CHECK(ApplyAndExport(again, &second));
  FUZZ_CHECK(second == first);
  return 0;
}
