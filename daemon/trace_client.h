// `ketra-vspd trace PORT [--pcap FILE]`: a live trace of one port, read from the daemon's control
// socket (so only those who may drive the daemon, root and the service's group, may read it).
// Each event on a line with its time (UTC) and what it is; datagrams and the program's bytes
// follow as a hex dump with their printable text. With a file, the same goes into it as pcapng
// (pcapng.h), written as it comes so that it can be read while the trace runs. Runs until
// SIGINT or SIGTERM, or until the daemon ends the trace; exit status 0 then, 1 when the trace
// could not start or the file could not be written. Single-threaded.
#ifndef KETRA_DAEMON_TRACE_CLIENT_H_
#define KETRA_DAEMON_TRACE_CLIENT_H_

#include <ostream>
#include <span>
#include <string>

#include "daemon/trace_record.h"

namespace ketra::vspd {

int RunTrace(const std::string& socket_path, const std::string& port, const std::string& pcap_path,
             std::ostream& out, std::ostream& err);

// One event as the trace prints it: the line, then the dump of its bytes if it has any.
std::string FormatTraceEvent(const std::string& port, const TimedTraceEvent& timed);

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_TRACE_CLIENT_H_
