// OptionButton: an option button that never changes its own state. Its Value is the engine's
// alone, and exclusion within a frame is the engine's rule, not Qt's. GUI thread only.
#ifndef KETRA_WINDOW_OPTION_BUTTON_H_
#define KETRA_WINDOW_OPTION_BUTTON_H_

#include <QRadioButton>

namespace ketra::window {

class OptionButton : public QRadioButton {
 public:
  using QRadioButton::QRadioButton;

 protected:
  void nextCheckState() override {}
};
}  // namespace ketra::window

#endif  // KETRA_WINDOW_OPTION_BUTTON_H_
