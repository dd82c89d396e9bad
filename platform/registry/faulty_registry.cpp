#include "platform/registry/faulty_registry.h"

#include "platform/registry/hive_model.h"

namespace ketra::registry {

void FaultyRegistry::FailWhen(Op op, std::string fragment, Status status) {
  rules_.push_back(Rule{op, FoldName(fragment), status});
}

Status FaultyRegistry::Check(Op op, std::string_view name) {
  const std::string folded = FoldName(name);
  for (const Rule& rule : rules_) {
    if (rule.op == op && folded.find(rule.fragment) != std::string::npos) return rule.status;
  }
  return kErrorSuccess;
}

Status FaultyRegistry::OpenKey(HKey parent, std::string_view sub_key, HKey* result) {
  if (Status status = Check(Op::kOpen, sub_key); status != kErrorSuccess) {
    if (result != nullptr) *result = 0;
    return status;
  }
  return inner_.OpenKey(parent, sub_key, result);
}

Status FaultyRegistry::OpenKeyEx(HKey parent, std::string_view sub_key, std::uint32_t options,
                                 std::uint32_t sam, HKey* result) {
  if (Status status = Check(Op::kOpen, sub_key); status != kErrorSuccess) {
    if (result != nullptr) *result = 0;
    return status;
  }
  return inner_.OpenKeyEx(parent, sub_key, options, sam, result);
}

Status FaultyRegistry::CreateKeyEx(HKey parent, std::string_view sub_key, std::uint32_t options,
                                   std::uint32_t sam, HKey* result, std::uint32_t* disposition) {
  if (Status status = Check(Op::kCreate, sub_key); status != kErrorSuccess) {
    if (result != nullptr) *result = 0;
    return status;
  }
  return inner_.CreateKeyEx(parent, sub_key, options, sam, result, disposition);
}

Status FaultyRegistry::QueryValueEx(HKey key, std::string_view value_name, std::uint32_t* type,
                                    std::uint8_t* data, std::uint32_t* data_length) {
  // A refused query writes nothing, like a query of a value that is not there.
  if (Status status = Check(Op::kQuery, value_name); status != kErrorSuccess) return status;
  return inner_.QueryValueEx(key, value_name, type, data, data_length);
}

Status FaultyRegistry::SetValueEx(HKey key, std::string_view value_name, std::uint32_t type,
                                  const std::uint8_t* data, std::uint32_t data_length) {
  if (Status status = Check(Op::kSet, value_name); status != kErrorSuccess) return status;
  return inner_.SetValueEx(key, value_name, type, data, data_length);
}

Status FaultyRegistry::CloseKey(HKey key) { return inner_.CloseKey(key); }

Status FaultyRegistry::EnumKey(HKey key, std::uint32_t index, std::string* name) {
  return inner_.EnumKey(key, index, name);
}

Status FaultyRegistry::EnumValue(HKey key, std::uint32_t index, std::string* name,
                                 std::uint32_t* type, std::vector<std::uint8_t>* data) {
  return inner_.EnumValue(key, index, name, type, data);
}

Status FaultyRegistry::DeleteValue(HKey key, std::string_view value_name) {
  return inner_.DeleteValue(key, value_name);
}

Status FaultyRegistry::DeleteTree(HKey parent, std::string_view sub_key) {
  return inner_.DeleteTree(parent, sub_key);
}

Status FaultyRegistry::BeginBatch() {
  BatchWriter* batch = BatchOf(inner_);
  return batch == nullptr ? kErrorInvalidParameter : batch->BeginBatch();
}

Status FaultyRegistry::CommitBatch() {
  BatchWriter* batch = BatchOf(inner_);
  return batch == nullptr ? kErrorInvalidParameter : batch->CommitBatch();
}

void FaultyRegistry::AbortBatch() {
  if (BatchWriter* batch = BatchOf(inner_)) batch->AbortBatch();
}

bool FaultyRegistry::InBatch() const {
  const auto* batch = dynamic_cast<const BatchWriter*>(&inner_);
  return batch != nullptr && batch->InBatch();
}

}  // namespace ketra::registry
