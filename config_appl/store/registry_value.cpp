#include "config_appl/store/registry_value.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/forms/services.h"
#include "platform/net/inet.h"
#include "platform/registry/registry_batch.h"

namespace ketra {
namespace {

std::string KeyPath(std::string_view company, std::string_view product, std::string_view section) {
  std::string path = "Software\\";
  path += company;
  path += '\\';
  path += product;
  path += '\\';
  path += section;
  return path;
}

}  // namespace

void SetRegistryValue(Program& p, registry::HKey hive, std::string_view company,
                      std::string_view product, std::string_view section,
                      std::string_view value_name, std::string_view value) {
  registry::Registry& reg = p.registry();
  registry::HKey key = 0;
  std::uint32_t disposition = 0;
  const registry::Status status = reg.CreateKeyEx(hive, KeyPath(company, product, section), 0,
                                                  registry::kKeyWrite, &key, &disposition);
  if (status != registry::kErrorSuccess) {
    // The writes before this one stay stored, and the store is not held locked while the box
    // waits for the user.
    registry::CommitOpenBatch(reg);
    p.MsgBox("Error opening or creating registry key -- aborting.", forms::MsgBoxStyle::kCritical);
    throw forms::ProgramEnded{};
  }
  std::string data(value);
  data.push_back('\0');
  reg.SetValueEx(key, value_name, registry::kRegNone,
                 reinterpret_cast<const std::uint8_t*>(data.data()),
                 static_cast<std::uint32_t>(data.size()));
  reg.CloseKey(key);
}

std::string GetRegistryValue(registry::Registry& reg, std::string& reg_value, registry::HKey hive,
                             std::string_view company, std::string_view product,
                             std::string_view section, std::string_view value_name,
                             std::string_view default_value) {
  registry::HKey key = 0;
  if (reg.OpenKeyEx(hive, KeyPath(company, product, section), 0, registry::kKeyRead, &key) !=
      registry::kErrorSuccess) {
    return std::string(default_value);
  }
  reg_value.assign(kReadBufferSize, ' ');
  std::uint32_t length = kReadBufferSize;
  std::uint32_t type = registry::kRegNone;
  std::array<std::uint8_t, kReadBufferSize> buffer;
  std::memcpy(buffer.data(), reg_value.data(), buffer.size());
  reg.QueryValueEx(key, value_name, &type, buffer.data(), &length);
  reg_value.assign(reinterpret_cast<const char*>(buffer.data()), buffer.size());
  if (type == registry::kRegNone) {
    // An empty type 0 value (length 0) cannot come from our own writes; it reads as empty text.
    // A value longer than the buffer leaves the buffer as it was.
    const std::uint32_t keep = length == 0 ? 0 : std::min(length - 1, kReadBufferSize);
    reg_value.resize(keep);
  }
  std::string result = reg_value;
  reg.CloseKey(key);
  return result;
}

std::string IpFromLong(std::int32_t address) {
  const std::string dotted = net::InetNtoa(static_cast<std::uint32_t>(address));
  return StringFromPointer(dotted.c_str());
}

std::string StringFromPointer(const char* text) {
  std::string copy(std::strlen(text), '\0');
  std::memcpy(copy.data(), text, copy.size());
  return copy;
}

const std::string& ReadPortValue(registry::Registry& reg, std::string& reg_value,
                                 std::string_view port_name, std::string_view value_name) {
  GetRegistryValue(reg, reg_value, registry::kHKeyLocalMachine, kCompany, kProduct, port_name,
                   value_name, port_name);
  return reg_value;
}

const std::string& ReadPortValue(Program& p, std::string_view port_name,
                                 std::string_view value_name) {
  return ReadPortValue(p.registry(), p.decl().RegValue, port_name, value_name);
}

bool PortKeyExists(registry::Registry& reg, std::string_view port_name) {
  registry::HKey key = 0;
  if (reg.OpenKeyEx(registry::kHKeyLocalMachine, KeyPath(kCompany, kProduct, port_name), 0,
                    registry::kKeyRead, &key) != registry::kErrorSuccess) {
    return false;
  }
  reg.CloseKey(key);
  return true;
}

bool PortValueExists(registry::Registry& reg, std::string_view port_name,
                     std::string_view value_name) {
  registry::HKey key = 0;
  if (reg.OpenKeyEx(registry::kHKeyLocalMachine, KeyPath(kCompany, kProduct, port_name), 0,
                    registry::kKeyRead, &key) != registry::kErrorSuccess) {
    return false;
  }
  const bool exists =
      reg.QueryValueEx(key, value_name, nullptr, nullptr, nullptr) == registry::kErrorSuccess;
  reg.CloseKey(key);
  return exists;
}

}  // namespace ketra
