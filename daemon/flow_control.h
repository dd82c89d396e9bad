// Flow control of one port, seen from the relay. With software flow the terminal speaks through
// the data it sends: its XOFF character stops the relay from the pty toward it, its XON lets it
// go on. These two characters are consumed here, as a serial line's driver consumes them, and
// never reach the program on the pty. With hardware flow every byte passes untouched.
// Plain value type; single-threaded.
#ifndef KETRA_DAEMON_FLOW_CONTROL_H_
#define KETRA_DAEMON_FLOW_CONTROL_H_

#include <cstdint>
#include <span>

namespace ketra::vspd {

class FlowControl {
 public:
  static FlowControl Hardware() { return FlowControl(false, 0, 0); }
  static FlowControl Software(std::uint8_t xon, std::uint8_t xoff) {
    return FlowControl(true, xon, xoff);
  }

  // Takes the flow characters out of `data` in place, following them, and returns the bytes
  // that remain for the pty (a prefix of `data`).
  std::span<std::uint8_t> Filter(std::span<std::uint8_t> data);

  bool software() const { return software_; }
  bool paused() const { return paused_; }
  std::uint8_t xon() const { return xon_; }
  std::uint8_t xoff() const { return xoff_; }

 private:
  FlowControl(bool software, std::uint8_t xon, std::uint8_t xoff)
      : software_(software), xon_(xon), xoff_(xoff) {}

  bool software_;
  std::uint8_t xon_;
  std::uint8_t xoff_;
  bool paused_ = false;
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_FLOW_CONTROL_H_
