#include "config_appl/driver/driver_commands.h"

#include <gtest/gtest.h>

#include "config_appl/port/driver_record.h"

namespace ketra {
namespace {

// A connect's save, its calls in order and its record are checked end to end: by the driver
// commands session and by the daemon's run, whose later connect relays on the saved settings; a
// disconnect that sends the stored row and one whose row does not fit the record by the
// disconnect_row session. Here the record's numbers.
TEST(VspCommand, RoundsHalvesToEvenAndWrapsNothing) {
  PortRecord row{0, "COM5", "x", "-1", "2.5", "0", 66, 65};
  VspCommand c = CommandFromRow(row);
  EXPECT_EQ(c.RemoteIP, 0xFFFFFFFFu);
  EXPECT_EQ(c.RemotePort, -1);
  EXPECT_EQ(c.LocalPort, 2);
  row.RemotePort = "1.5";
  EXPECT_EQ(CommandFromRow(row).RemotePort, 2);
  row.RemotePort = "40000";
  EXPECT_ANY_THROW(CommandFromRow(row));
}

}  // namespace
}  // namespace ketra
