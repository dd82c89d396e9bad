// What every kind of control shares, and the one place that picks a kind's view.
#include "window/control_view.h"

#include <QKeyEvent>
#include <QWidget>
#include <optional>

#include "platform/runtime/codepage.h"
#include "window/control_kinds.h"

namespace ketra::window {
namespace {

// The engine's key for a press of Up, Down, Left, Right, Space, Home or End without Shift,
// Control, Alt or Meta (with Shift, a text box's own selection keys).
std::optional<forms::Key> EngineKey(const QKeyEvent* press) {
  if (press->modifiers() &
      (Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) {
    return std::nullopt;
  }
  switch (press->key()) {
    case Qt::Key_Up:
      return forms::Key::kUp;
    case Qt::Key_Down:
      return forms::Key::kDown;
    case Qt::Key_Left:
      return forms::Key::kLeft;
    case Qt::Key_Right:
      return forms::Key::kRight;
    case Qt::Key_Space:
      return forms::Key::kSpace;
    case Qt::Key_Home:
      return forms::Key::kHome;
    case Qt::Key_End:
      return forms::Key::kEnd;
    default:
      return std::nullopt;
  }
}

}  // namespace

QString ToQt(std::string_view ansi) { return QString::fromStdString(runtime::AnsiToUtf8(ansi)); }
std::string ToAnsi(const QString& text) { return runtime::Utf8ToAnsi(text.toStdString()); }

void ControlView::Describe(const QString& label) {
  if (widget_ && !label.isEmpty()) widget_->setAccessibleName(label);
}

bool ControlView::Key(QKeyEvent* press) {
  PressEngineKey(press);
  return true;
}

bool ControlView::PressEngineKey(const QKeyEvent* press) {
  const std::optional<forms::Key> key = EngineKey(press);
  if (!key) return false;
  Perform([this, key] { host_.form().Press(id_, *key); });
  return true;
}

void ControlView::Perform(const std::function<void()>& operation) { host_.Perform(operation); }

std::unique_ptr<ControlView> MakeControlView(ControlHost& host, forms::ControlId id,
                                             QWidget* parent) {
  switch (host.form().at(id).kind) {
    case forms::Kind::kForm:
      return nullptr;
    case forms::Kind::kTab:
      return MakeTabControl(host, id, parent);
    case forms::Kind::kFrame:
      return MakeFrame(host, id, parent);
    case forms::Kind::kLabel:
      return MakeLabel(host, id, parent);
    case forms::Kind::kTextBox:
      return MakeTextBox(host, id, parent);
    case forms::Kind::kOption:
      return MakeOption(host, id, parent);
    case forms::Kind::kComboBox:
      return MakeList(host, id, parent);
    case forms::Kind::kButton:
      return MakeButton(host, id, parent);
    case forms::Kind::kImage:
      return MakeImage(host, id, parent);
    case forms::Kind::kTimer:
      return MakeTimer(host, id);
    case forms::Kind::kUpDown:
      return MakeUpDown(host, id, parent);
  }
  return nullptr;
}

}  // namespace ketra::window
