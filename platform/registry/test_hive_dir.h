// A fresh temporary directory for one test or benchmark, owned by the object and removed with
// everything in it when the object goes. Not thread-safe.
#ifndef KETRA_PLATFORM_REGISTRY_TEST_HIVE_DIR_H_
#define KETRA_PLATFORM_REGISTRY_TEST_HIVE_DIR_H_

#include <cstdlib>
#include <filesystem>
#include <string>

namespace ketra::registry {

class TestHiveDir {
 public:
  TestHiveDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ketra-hive-XXXXXX").string();
    if (::mkdtemp(pattern.data()) != nullptr) path_ = pattern;
  }
  TestHiveDir(const TestHiveDir&) = delete;
  TestHiveDir& operator=(const TestHiveDir&) = delete;
  ~TestHiveDir() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  const std::string& path() const { return path_; }
  std::string File(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_TEST_HIVE_DIR_H_
