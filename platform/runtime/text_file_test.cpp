#include "platform/runtime/text_file.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "platform/runtime/test_temp_dir.h"

namespace ketra::runtime {
namespace {

std::vector<std::string> AllLines(TextReader& reader) {
  std::vector<std::string> lines;
  while (auto line = reader.ReadLine()) lines.push_back(*line);
  return lines;
}

struct LinesCase {
  std::string contents;
  std::vector<std::string> lines;
};

const LinesCase kLineCases[] = {
    {"", {}},
    {"\n", {""}},
    {"a", {"a"}},
    {"a\n", {"a"}},
    {"a\r\n", {"a"}},
    {"a\nb", {"a", "b"}},
    {"a\r\nb\r\n", {"a", "b"}},
    {"a\n\nb\n", {"a", "", "b"}},
    {"a\r\n\r\n", {"a", ""}},
    {"mixed\r\nends\nhere", {"mixed", "ends", "here"}},
    {"lone\rcarriage\n", {"lone\rcarriage"}},
    {"\xE9t\xE9\n", {"\xE9t\xE9"}},
    {std::string("nul\0inside\n", 11), {std::string("nul\0inside", 10)}},
};

TEST(TextFileTest, MemoryFileSystemFindsFilesByExactPath) {
  MemoryFileSystem files;
  files.Put("/opt/ketra/tessaronconfigfile.txt", "1\r\n2\r\n");
  EXPECT_EQ(files.OpenTextFile("/opt/ketra/TessaronConfigFile.txt"), nullptr);
  auto reader = files.OpenTextFile("/opt/ketra/tessaronconfigfile.txt");
  ASSERT_NE(reader, nullptr);
  EXPECT_EQ(AllLines(*reader), (std::vector<std::string>{"1", "2"}));
}

// The machine's own reader: the POSIX one, or the Win32 one in the Windows build.
std::unique_ptr<FileSystem> MachineFiles() {
#ifdef _WIN32
  return MakeWin32FileSystem();
#else
  return MakePosixFileSystem();
#endif
}

class MachineFileTest : public ::testing::Test {
 protected:
  TestTempDir dir_;
};

// The machine's reader splits what it read with the string reader, which this table pins.
TEST_F(MachineFileTest, SplitsLinesAtEitherLineEnd) {
  auto files = MachineFiles();
  const std::string path = dir_.File("settings.txt");
  for (const auto& c : kLineCases) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << c.contents;
    auto reader = files->OpenTextFile(path);
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(AllLines(*reader), c.lines) << c.contents;
    EXPECT_FALSE(reader->ReadLine().has_value()) << c.contents;
  }
}

TEST_F(MachineFileTest, MissingFileOrDirectoryGivesNoReader) {
  auto files = MachineFiles();
  EXPECT_EQ(files->OpenTextFile(dir_.File("missing.txt")), nullptr);
  EXPECT_EQ(files->OpenTextFile(dir_.path()), nullptr);
}

TEST_F(MachineFileTest, LongFileReadsWhole) {
  std::string contents;
  for (int i = 0; i < 20000; ++i) contents += std::to_string(i) + "\r\n";
  const std::string path = dir_.File("long.txt");
  std::ofstream(path, std::ios::binary) << contents;
  auto reader = MachineFiles()->OpenTextFile(path);
  ASSERT_NE(reader, nullptr);
  auto lines = AllLines(*reader);
  ASSERT_EQ(lines.size(), 20000u);
  EXPECT_EQ(lines[19999], "19999");
}

}  // namespace
}  // namespace ketra::runtime
