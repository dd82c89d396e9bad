// The daemon's ports: made at start from what the descriptor store kept or afresh, watched for
// programs opening and closing them, kept in the store as they change, and connected at start when
// their stored settings say enabled.
#include <optional>
#include <system_error>

#include "config_appl/port/driver_record.h"
#include "config_appl/port/stored_port.h"
#include "daemon/daemon.h"
#include "daemon/log.h"
#include "platform/device/device.h"
#include "platform/runtime/conversion_error.h"
#include "platform/runtime/strings.h"

namespace ketra::vspd {

void Daemon::MakePorts() {
  PortOptions options;
  options.link_directory = config_.link_directory;
  options.bind_address = config_.bind_address;
  options.max_datagram = config_.max_datagram;
  options.scratch = std::make_shared<std::vector<std::uint8_t>>();
  for (const std::string& name : config_.ports) {
    std::unique_ptr<PortIo> io;
    DescriptorStore::Kept kept = store_.Take(name);
    const std::optional<PortSettings> resumed = kept.settings;
    if (kept.pty) {
      io = AdoptPosixPortIo(std::move(kept.pty), std::move(kept.socket));
      LogInfo(name + ": resumed " + io->pty_path() +
              (resumed ? ", connected to " + resumed->remote.ToString() : std::string()));
    } else {
      std::string warning;
      io = OpenPosixPortIo(config_.group, &warning, std::move(kept.socket));
      if (!warning.empty()) LogWarning(name + ": " + warning);
      store_.KeepPty(name, io->pty_fd(), /*replaced=*/false);
      if (resumed) {
        LogInfo(name + ": the service manager kept no pty, so the port is on a new one " +
                io->pty_path() + "; connection to " + resumed->remote.ToString() + " resumed");
      }
    }
    ports_.push_back(std::make_unique<VirtualPort>(loop_, name, std::move(io), options, resumed));
    VirtualPort* port = ports_.back().get();
    port->OnConnectionChange([this](VirtualPort& changed) { store_.KeepSocket(changed); });
    port->OnPtyReplaced([this, port](VirtualPort& changed) {
      LogInfo(changed.name() + ": left exclusive; now on a new pty " + changed.pty_path());
      try {
        open_watch_.Add(changed.pty_path(), [port](bool closed) { port->DeviceTouched(closed); });
      } catch (const std::system_error& error) {
        LogWarning(changed.name() + ": opens of the new pty go unseen: " + error.what());
      }
      store_.KeepPty(changed.name(), changed.io().pty_fd(), /*replaced=*/true);
    });
    port->OnFreshenFailed([](VirtualPort& changed, const runtime::Status& why) {
      LogWarning(changed.name() +
                 ": the device is not fresh for the next program: " + why.message());
    });
    open_watch_.Add(port->pty_path(), [port](bool closed) { port->DeviceTouched(closed); });
    // A program may have come and gone while no daemon watched (a restart), leaving its state;
    // told now, when a pty replaced for it reaches the store and the watch.
    port->DeviceTouched(/*closed_after_writing=*/true);
    loss_logs_.emplace_back();
  }
  store_.DropLeftovers();
}

void Daemon::ConnectEnabledPorts() {
  if (stop_) return;
  for (const auto& port : ports_) {
    const auto row = ReadStoredPort(registry_, port->name());
    if (!row) {
      LogInfo(port->name() + ": no stored settings, left disconnected");
      continue;
    }
    if (row->Enabled != -1) continue;
    try {
      const ControlOutcome outcome = ConnectPort(*port, SettingsFromCommand(CommandFromRow(*row)));
      const std::string& why = outcome.why.message();
      LogInfo(port->name() + ": connect at start: Status " + std::to_string(outcome.status) +
              (why.empty() ? "" : " (" + why + ")"));
    } catch (const runtime::ConversionError& error) {
      LogWarning(port->name() + ": stored settings do not fit the command record: " + error.what());
    }
  }
}

VirtualPort* Daemon::FindPort(std::string_view name) {
  for (const auto& port : ports_) {
    if (runtime::EqualsNoCase(port->name(), name)) return port.get();
  }
  return nullptr;
}

}  // namespace ketra::vspd
