// ketra-term: a loopback stand-in of the satellite terminal. It answers on the given UDP ports,
// echoes every datagram to its sender and shows what it received.
//   ketra-term [--address 127.0.0.1] PORT...
// Runs until SIGINT or SIGTERM. Exit status: 0 stopped, 1 a port cannot be bound, 2 usage error.
#include <exception>
#include <iostream>

#include <CLI/CLI.hpp>

#include "config_appl/port/address.h"
#include "platform/runtime/build_info.h"
#include "tools/ketra-term/echo_terminal.h"

int main(int argc, char** argv) {
  CLI::App app{"ketra-term: echoes UDP datagrams on PORT..., as a stand-in of the terminal"};
  app.set_version_flag("--version", "ketra-term " KETRA_VERSION);
  std::string address = "127.0.0.1";
  std::vector<std::uint16_t> ports;
  app.add_option("--address", address, "the local address to answer on");
  app.add_option("PORT", ports, "UDP ports")->required();
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  const std::uint32_t host = ketra::HostFromStored(ketra::StoredFromText(address));
  try {
    ketra::term::EchoTerminal terminal(host, ports, std::cout);
    std::cout << "ketra-term: echoing on";
    for (const auto& endpoint : terminal.LocalEndpoints()) std::cout << ' ' << endpoint.ToString();
    std::cout << std::endl;
    for (;;) terminal.RunOnce(std::chrono::seconds(1));
  } catch (const std::exception& error) {
    std::cerr << "ketra-term: " << error.what() << '\n';
    return 1;
  }
}
