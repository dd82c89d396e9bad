// The common ground of the tests of the panel's routines: a program on fakes (ProgramFixture)
// with the ports COM3 and COM4, started as on a first run, its start-up's message boxes and
// device calls taken, so that a test sees only what its own steps do.
#ifndef KETRA_CONFIG_APPL_APP_TEST_STARTED_PROGRAM_H_
#define KETRA_CONFIG_APPL_APP_TEST_STARTED_PROGRAM_H_

#include <gtest/gtest.h>

#include "config_appl/app/program_fixture.h"

namespace ketra::testing {

class StartedProgramTest : public ::testing::Test {
 protected:
  void SetUp() override { StartTwoPorts(f); }
  static void StartTwoPorts(ProgramFixture& fixture) {
    fixture.AddPorts(2);
    ASSERT_TRUE(fixture.Start());
    fixture.TakeBoxes();
    fixture.calls.clear();
  }
  ProgramFixture f;
};

}  // namespace ketra::testing

#endif  // KETRA_CONFIG_APPL_APP_TEST_STARTED_PROGRAM_H_
