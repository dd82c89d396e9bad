#include "config_appl/app/program_fixture.h"

#include "platform/registry/memory_registry.h"

namespace ketra::testing {
namespace {

std::string PortKey(std::string_view port) {
  return "Software\\Tessaron\\VSP\\" + std::string(port);
}

void SetText(registry::Registry& reg, const std::string& path, std::string_view name,
             std::uint32_t type, std::string_view text) {
  registry::HKey key = 0;
  std::uint32_t disposition = 0;
  reg.CreateKeyEx(registry::kHKeyLocalMachine, path, 0, registry::kKeyWrite, &key, &disposition);
  std::string data(text);
  data.push_back('\0');
  reg.SetValueEx(key, name, type, reinterpret_cast<const std::uint8_t*>(data.data()),
                 static_cast<std::uint32_t>(data.size()));
  reg.CloseKey(key);
}

}  // namespace

ProgramFixture::ProgramFixture() : memory(registry::MakeMemoryRegistry()), registry(*memory) {
  NewProgram();
}

Program& ProgramFixture::NewProgram() {
  program_.reset();
  program_ = std::make_unique<Program>(Platform{registry, device, app, files, boxes});
  return *program_;
}

void ProgramFixture::AddDevice(int device_number, std::string_view data) {
  SetText(*memory, "HARDWARE\\DEVICEMAP\\SERIALCOMM",
          "\\Device\\TesSerial" + std::to_string(device_number), registry::kRegSz, data);
}

void ProgramFixture::AddPorts(int count) {
  for (int i = 0; i < count; ++i) AddDevice(i, "COM" + std::to_string(3 + i));
}

void ProgramFixture::Store(std::string_view port, std::string_view name, std::string_view text) {
  SetText(*memory, PortKey(port), name, registry::kRegNone, text);
}

bool ProgramFixture::StoredRaw(std::string_view port, std::string_view name, std::uint32_t* type,
                               std::vector<std::uint8_t>* data) {
  registry::HKey key = 0;
  if (memory->OpenKeyEx(registry::kHKeyLocalMachine, PortKey(port), 0, registry::kKeyRead, &key) !=
      registry::kErrorSuccess) {
    return false;
  }
  std::uint32_t length = 0;
  bool found = memory->QueryValueEx(key, name, type, nullptr, &length) == registry::kErrorSuccess;
  if (found) {
    data->assign(length, 0);
    found = memory->QueryValueEx(key, name, type, data->data(), &length) == registry::kErrorSuccess;
  }
  memory->CloseKey(key);
  return found;
}

std::string ProgramFixture::Stored(std::string_view port, std::string_view name) {
  std::uint32_t type = 0;
  std::vector<std::uint8_t> data;
  if (!StoredRaw(port, name, &type, &data)) return "<missing>";
  std::string text(data.begin(), data.end());
  if (!text.empty() && text.back() == '\0') text.pop_back();
  return text;
}

bool ProgramFixture::Start() {
  try {
    p().Start();
    return true;
  } catch (const forms::ProgramEnded&) {
    return false;
  }
}

}  // namespace ketra::testing
