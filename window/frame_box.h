// FrameBox: a frame of the form, whose look follows its own Enabled flag only. Qt would grey
// everything inside a disabled group box; the engine's frames leave the look of what they hold to
// each control's own flag, and only take it out of reach (the view's event filter does that).
//
// It is drawn as an etched rectangle with its caption set into the top edge, the classic look of
// such frames; Fusion's own group box loads a picture from its resources on first paint, which
// costs the window several milliseconds at start. GUI thread only.
#ifndef KETRA_WINDOW_FRAME_BOX_H_
#define KETRA_WINDOW_FRAME_BOX_H_

#include <QGroupBox>

namespace ketra::window {

class FrameBox : public QGroupBox {
 public:
  using QGroupBox::QGroupBox;
  void SetLookEnabled(bool enabled);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  bool look_enabled_ = true;
};
}  // namespace ketra::window

#endif  // KETRA_WINDOW_FRAME_BOX_H_
