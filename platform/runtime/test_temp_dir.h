// A fresh temporary directory for one test or benchmark, owned by the object and removed with
// everything in it when the object goes; on POSIX and on Windows alike. Not thread-safe.
#ifndef KETRA_PLATFORM_RUNTIME_TEST_TEMP_DIR_H_
#define KETRA_PLATFORM_RUNTIME_TEST_TEMP_DIR_H_

#include <filesystem>
#include <random>
#include <string>
#include <system_error>

namespace ketra::runtime {

class TestTempDir {
 public:
  TestTempDir() {
    // A name nobody holds yet: create_directory says false for one that exists.
    std::random_device random;
    std::error_code error;
    for (int attempt = 0; attempt < 100 && path_.empty(); ++attempt) {
      const std::filesystem::path candidate =
          std::filesystem::temp_directory_path() / ("ketra-test-" + std::to_string(random()));
      if (std::filesystem::create_directory(candidate, error)) path_ = candidate.string();
    }
  }
  TestTempDir(const TestTempDir&) = delete;
  TestTempDir& operator=(const TestTempDir&) = delete;
  ~TestTempDir() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  const std::string& path() const { return path_; }
  std::string File(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

}  // namespace ketra::runtime

#endif  // KETRA_PLATFORM_RUNTIME_TEST_TEMP_DIR_H_
