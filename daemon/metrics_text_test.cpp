#include "daemon/metrics_text.h"

#include <gtest/gtest.h>

namespace ketra::vspd {
namespace {

// A link path may hold any byte but NUL: the labels must stay parseable. A field the list of
// status fields does not know (a newer daemon's) still shows, as a gauge of its key, and what
// an object inside the port holds (the program's line) becomes labels of that object's info
// family.
TEST(MetricsTextTest, EscapesLabelsAndShowsFieldsItDoesNotKnow) {
  const auto status = nlohmann::json::parse(R"({"pid": 1, "socket": "s", "hive": "h", "ports": [
      {"name": "COM3", "link": "/run/a\"b\\c\nd", "remote": null, "xon_sent": 7, "held": true,
       "line": {"parity": "even", "data_bits": 7, "carried": false,
                "lost": ["data bits", "parity"]}, "queued_bytes": 12}]})");
  EXPECT_EQ(FormatPrometheus(status),
            "# HELP ketra_port_held Whether a program holds the port's device open.\n"
            "# TYPE ketra_port_held gauge\n"
            "ketra_port_held{port=\"COM3\"} 1\n"
            "# HELP ketra_port_line_info The port's line settings as labels; always 1.\n"
            "# TYPE ketra_port_line_info gauge\n"
            "ketra_port_line_info{port=\"COM3\",line_carried=\"false\",line_data_bits=\"7\","
            "line_lost=\"data bits,parity\",line_parity=\"even\"} 1\n"
            "# HELP ketra_port_queued_bytes The port's queued_bytes.\n"
            "# TYPE ketra_port_queued_bytes gauge\n"
            "ketra_port_queued_bytes{port=\"COM3\"} 12\n"
            "# HELP ketra_port_xon_sent_total XON characters sent to the terminal (software "
            "flow).\n"
            "# TYPE ketra_port_xon_sent_total counter\n"
            "ketra_port_xon_sent_total{port=\"COM3\"} 7\n"
            "# HELP ketra_port_info The port's link, pty, endpoints and flow as labels; always 1.\n"
            "# TYPE ketra_port_info gauge\n"
            "ketra_port_info{port=\"COM3\",link=\"/run/a\\\"b\\\\c\\nd\",remote=\"\"} 1\n");
}

}  // namespace
}  // namespace ketra::vspd
