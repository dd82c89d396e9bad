#include "config_appl/status/status_monitor.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config_appl/model/program_fixture.h"

namespace ketra {
namespace {

using forms::Picture;
using testing::ProgramFixture;

class StatusTest : public ::testing::Test {
 protected:
  void SetUp() override {
    f.AddPorts(1);
    ASSERT_TRUE(f.Start());
  }
  std::vector<Picture> Lamps() {
    std::vector<Picture> lamps;
    for (const char* name : {"VSP1Picture", "VSP2Picture", "VSP3Picture", "VSP4Picture"}) {
      lamps.push_back(f.p().Ctl(name).picture);
    }
    return lamps;
  }
  void Tick() { f.p().form().Tick(f.p().form().Id("Timer1")); }
  ProgramFixture f;
  const std::vector<Picture> start = {Picture::kGreen, Picture::kGrey, Picture::kRed,
                                      Picture::kRed};
  const std::vector<Picture> pattern = {Picture::kRed, Picture::kGreen, Picture::kGrey,
                                        Picture::kGreen};
};

TEST_F(StatusTest, WithoutRefreshTheCounterFallsAndTheLampsStay) {
  Tick();
  Tick();
  EXPECT_EQ(f.p().MonitorCountdown, -2);
  EXPECT_EQ(Lamps(), start);
}

TEST_F(StatusTest, ThePatternComesAtTheTickThatReachesZero) {
  f.p().SetText("Interval_Time", "2");
  Command3_Click(f.p());
  Tick();
  EXPECT_EQ(Lamps(), start);
  Tick();
  EXPECT_EQ(Lamps(), pattern);
  Tick();
  EXPECT_EQ(f.p().MonitorCountdown, -1);
  EXPECT_EQ(Lamps(), pattern);
}

TEST_F(StatusTest, RefreshRoundsHalvesToEvenAndKeepsToTheCountersRange) {
  const std::vector<std::pair<const char*, int>> cases = {
      {"2.5", 2}, {"3.5", 4}, {"abc", 0}, {" 7", 7}, {"9e9", 32767}, {"-9e9", -32768}};
  for (const auto& [text, count] : cases) {
    f.p().SetText("Interval_Time", text);
    Command3_Click(f.p());
    EXPECT_EQ(f.p().MonitorCountdown, count) << text;
  }
  Tick();
  EXPECT_EQ(f.p().MonitorCountdown, -32768);
}

TEST_F(StatusTest, ArrowsWriteTheSignedNumberText) {
  UpDown1_UpClick(f.p());
  EXPECT_EQ(f.p().Text("Interval_Time"), " 1");
  UpDown1_DownClick(f.p());
  UpDown1_DownClick(f.p());
  EXPECT_EQ(f.p().Text("Interval_Time"), "-1");
  f.p().SetText("Interval_Time", "abc");
  UpDown1_UpClick(f.p());
  EXPECT_EQ(f.p().Text("Interval_Time"), " 1");
  EXPECT_EQ(f.p().MonitorCountdown, 0);
}

}  // namespace
}  // namespace ketra
