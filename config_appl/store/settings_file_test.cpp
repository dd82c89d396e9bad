#include "config_appl/store/settings_file.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config_appl/app/program_fixture.h"

namespace ketra {
namespace {

using testing::ProgramFixture;

class ReadFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Declarations& d = f.p().decl();
    const char* names[] = {"COM3", "COM4", "COM10"};
    for (int r = 0; r < 3; ++r) d.PortTable[r].PortName = names[r];
    d.LastPort = 2;
    d.AppPath = "/opt/ketra";
  }
  void Run(const std::string& contents) {
    f.files.Put("/opt/ketra/tessaronconfigfile.txt", contents);
    ReadSettingsFile(f.p());
  }
  ProgramFixture f;
};

TEST(SectionName, DependsOnTheLinesLength) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"[COM3]", "COM3"},  {"[COM10]", "COM10"}, {"[COM1]xyz", "COM1"},
      {"[COM1", "COM1"},   {"COM3", "COM3"},     {"", ""},
      {"abcdefgh", "bcde"}};
  for (const auto& [line, name] : cases) EXPECT_EQ(SectionName(line), name) << line;
}

TEST_F(ReadFileTest, FillsRowsByPositionAndName) {
  Run("[COM4]\r\nEnabled=True\r\nFlow=1\r\nLocal=4000\r\nRemote=4003\r\nIP=127.0.0.1\r\n"
      "XON=17\r\nXOFF=19\r\n[COM10]\nE=0\nF=0\nL=5000\nR=5003\nI=127.0.0.2\nX=1\nY=2\n");
  EXPECT_EQ(f.row(1).Enabled, -1);
  EXPECT_EQ(f.row(1).FlowControl, "1");
  EXPECT_EQ(f.row(1).LocalPort, "4000");
  EXPECT_EQ(f.row(1).RemotePort, "4003");
  EXPECT_EQ(f.row(1).RemoteIP, "127.0.0.1");
  EXPECT_EQ(f.row(1).XON, 17);
  EXPECT_EQ(f.row(1).XOFF, 19);
  EXPECT_EQ(f.row(2).Enabled, 0);
  EXPECT_EQ(f.row(2).LocalPort, "5000");
  EXPECT_EQ(f.row(0).LocalPort, "");  // no block for COM3
}

TEST_F(ReadFileTest, FailingStatementsArePassedOver) {
  f.row(0).XON = 9;
  f.row(0).XOFF = 8;
  f.row(0).Enabled = -1;
  Run("[COM3]\n=maybe\nno equals sign\n=3000=junk\nname=\n=1.2.3.4\n=256\n=-1\n");
  EXPECT_EQ(f.row(0).Enabled, -1);      // "maybe" is no truth value
  EXPECT_EQ(f.row(0).FlowControl, "");  // a line without "=" leaves the field as it was
  EXPECT_EQ(f.row(0).LocalPort, "3000");
  EXPECT_EQ(f.row(0).RemotePort, "");
  EXPECT_EQ(f.row(0).RemoteIP, "1.2.3.4");
  EXPECT_EQ(f.row(0).XON, 9);
  EXPECT_EQ(f.row(0).XOFF, 8);
}

TEST_F(ReadFileTest, TheLaterBlockWinsAndTheReadStopsAfterLastPortPlusOneSections) {
  Run("[COM3]\n=1\n=0\n=1111\n=1\n=1\n=1\n=2\n"
      "[COM3]\n=1\n=0\n=2222\n=1\n=1\n=1\n=2\n"
      "[COM3]\n=1\n=0\n=3333\n=1\n=1\n=1\n=2\n"
      "[COM3]\n=1\n=0\n=4444\n=1\n=1\n=1\n=2\n");
  EXPECT_EQ(f.row(0).LocalPort, "3333");
}

TEST_F(ReadFileTest, AFileEndingInsideABlockRepeatsItsLastLine) {
  Run("[COM4]\n=1\n=1\n=7000");
  EXPECT_EQ(f.row(1).LocalPort, "7000");
  EXPECT_EQ(f.row(1).RemotePort, "7000");
  EXPECT_EQ(f.row(1).RemoteIP, "7000");
  EXPECT_EQ(f.row(1).XOFF, 0);  // 7000 is no byte: unchanged
}

TEST_F(ReadFileTest, AMissingFileChangesNothing) {
  ReadSettingsFile(f.p());
  EXPECT_EQ(f.row(0).LocalPort, "");
  EXPECT_TRUE(f.TakeBoxes().empty());
}

}  // namespace
}  // namespace ketra
