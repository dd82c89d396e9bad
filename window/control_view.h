// ControlView: one control of the form as the window shows it, with one subclass for each kind
// of control. Each kind knows, in its own place, how to make its widget, how to show the
// engine's state on it (engine to widget), how to name it for assistive tools, and which input
// on it becomes which engine operation (widget to engine). FormView does what every kind
// shares: geometry, enabled and visible, the focus, Tab, the user's reach, running operations.
//
// The rules of FormView hold here too: a widget only ever shows what the engine holds, and user
// input reaches the engine only through its operations, run by the host.
//
// A view is owned by its FormView; its widget by Qt's parent chain. Signals of the widget are
// connected to the view's own context object, so they end with the view. GUI thread only.
#ifndef KETRA_WINDOW_CONTROL_VIEW_H_
#define KETRA_WINDOW_CONTROL_VIEW_H_

#include <QObject>
#include <QPixmap>
#include <QRect>
#include <QString>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/forms/form.h"

class QEvent;
class QInputMethodEvent;
class QKeyEvent;
class QTimer;
class QWidget;

namespace ketra::window {

// Texts between the engine (Windows-1252) and Qt.
QString ToQt(std::string_view ansi);
std::string ToAnsi(const QString& text);

// What a control's view needs from the window that holds it.
class ControlHost {
 public:
  virtual forms::Form& form() = 0;
  // Runs one user operation on the engine, then shows the engine's state again.
  virtual void Perform(const std::function<void()>& operation) = 0;
  // Whether a widget's signal now comes from the user: no engine change is being put on a
  // widget, and the program has not ended.
  virtual bool Listening() const = 0;
  // A timer's timeout: the engine's Tick, held back while an operation runs.
  virtual void Tick(forms::ControlId timer) = 0;
  // Shows the engine's state of another control again.
  virtual void Reapply(forms::ControlId id) = 0;
  virtual int Px(int twips) const = 0;
  virtual QRect GeometryOf(const forms::Control& control) const = 0;
  virtual const QPixmap& Picture(forms::Picture picture) const = 0;

 protected:
  ~ControlHost() = default;
};

class ControlView {
 public:
  ControlView(ControlHost& host, forms::ControlId id) : host_(host), id_(id) {}
  ControlView(const ControlView&) = delete;
  ControlView& operator=(const ControlView&) = delete;
  virtual ~ControlView() = default;

  // The widget that stands for the control; nullptr for a timer.
  QWidget* widget() const { return widget_; }
  // The widget that takes the keyboard's focus when the control has the engine's focus.
  virtual QWidget* focus_widget() const { return widget_; }
  virtual QTimer* timer() const { return nullptr; }

  // Engine to widget: the kind's own state (caption, text, value, page...); the window does
  // enabled and visible. Runs with the widget's signals blocked.
  virtual void Apply(const forms::Control&) {}
  // Names the control for assistive tools. `label` is the caption of the control's label
  // without its access-key mark; empty when it has none.
  virtual void Describe(const QString& label);

  // Widget to engine, for input on the control while it is in the user's reach. A key press
  // other than Tab, Return, Enter and Escape: true when it is used up, false to let the widget
  // have it. The engine's keys (arrows, Space, Home, End) are pressed on the engine.
  virtual bool Key(QKeyEvent* press);
  // Composed text: used up, and typed where a kind takes text.
  virtual bool InputMethod(QInputMethodEvent*) { return true; }
  // A mouse button or the wheel: true when it is used up.
  virtual bool Mouse(QEvent*) { return false; }

 protected:
  // Presses the engine's key for `press`, if the engine has one; whether it did.
  bool PressEngineKey(const QKeyEvent* press);
  // Runs `operation` on the engine for a signal of the widget that came from the user.
  void Perform(const std::function<void()>& operation);
  forms::Form& form() const { return host_.form(); }
  const forms::Control& control() const { return host_.form().at(id_); }

  ControlHost& host_;
  const forms::ControlId id_;
  QWidget* widget_ = nullptr;
  QObject context_;  // the receiver of the widget's signals: they end with the view
};

// The view of control `id` of the host's form, its widget made as a child of `parent`;
// nullptr for the form itself.
std::unique_ptr<ControlView> MakeControlView(ControlHost& host, forms::ControlId id,
                                             QWidget* parent);

}  // namespace ketra::window

#endif  // KETRA_WINDOW_CONTROL_VIEW_H_
