// Wraps a Registry and makes chosen operations fail, so tests can see what the callers do with a
// store that refuses a create, an open or a write. Batches go to the wrapped registry when it
// has them. Does not own the wrapped registry.
#ifndef KETRA_PLATFORM_REGISTRY_FAULTY_REGISTRY_H_
#define KETRA_PLATFORM_REGISTRY_FAULTY_REGISTRY_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/registry/registry.h"
#include "platform/registry/registry_batch.h"

namespace ketra::registry {

class FaultyRegistry : public Registry, public BatchWriter {
 public:
  enum class Op { kOpen, kCreate, kQuery, kSet };

  explicit FaultyRegistry(Registry& inner) : inner_(inner) {}

  // Operation `op` fails with `status` when the path it names (sub_key for opens and creates,
  // the value name for queries and sets) contains `fragment`, compared without regard to case;
  // an empty fragment matches all.
  void FailWhen(Op op, std::string fragment, Status status = kErrorAccessDenied);
  void Clear() { rules_.clear(); }

  Status OpenKey(HKey parent, std::string_view sub_key, HKey* result) override;
  Status OpenKeyEx(HKey parent, std::string_view sub_key, std::uint32_t options, std::uint32_t sam,
                   HKey* result) override;
  Status CreateKeyEx(HKey parent, std::string_view sub_key, std::uint32_t options,
                     std::uint32_t sam, HKey* result, std::uint32_t* disposition) override;
  Status QueryValueEx(HKey key, std::string_view value_name, std::uint32_t* type,
                      std::uint8_t* data, std::uint32_t* data_length) override;
  Status SetValueEx(HKey key, std::string_view value_name, std::uint32_t type,
                    const std::uint8_t* data, std::uint32_t data_length) override;
  Status CloseKey(HKey key) override;
  Status EnumKey(HKey key, std::uint32_t index, std::string* name) override;
  Status EnumValue(HKey key, std::uint32_t index, std::string* name, std::uint32_t* type,
                   std::vector<std::uint8_t>* data) override;
  Status DeleteValue(HKey key, std::string_view value_name) override;
  Status DeleteTree(HKey parent, std::string_view sub_key) override;

  Status BeginBatch() override;
  Status CommitBatch() override;
  void AbortBatch() override;
  bool InBatch() const override;

 private:
  struct Rule {
    Op op;
    std::string fragment;
    Status status;
  };
  // The status of the first rule that fires, or kErrorSuccess.
  Status Check(Op op, std::string_view name);

  Registry& inner_;
  std::vector<Rule> rules_;
};

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_FAULTY_REGISTRY_H_
