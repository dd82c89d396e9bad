// Modal Qt message boxes for the program's MsgBox.
#include "window/qt_message_boxes.h"

#include "platform/runtime/codepage.h"

namespace ketra::window {

QMessageBox::Icon IconOf(forms::MsgBoxStyle style) {
  switch (style) {
    case forms::MsgBoxStyle::kPlain:
      return QMessageBox::NoIcon;
    case forms::MsgBoxStyle::kInformation:
      return QMessageBox::Information;
    case forms::MsgBoxStyle::kExclamation:
      return QMessageBox::Warning;
    case forms::MsgBoxStyle::kCritical:
      return QMessageBox::Critical;
  }
  return QMessageBox::NoIcon;
}

void QtMessageBoxes::Show(std::string_view text, forms::MsgBoxStyle style) {
  QMessageBox box(IconOf(style), QString(), QString::fromStdString(runtime::AnsiToUtf8(text)),
                  QMessageBox::Ok, parent_.data());
  box.setTextFormat(Qt::PlainText);
  box.setWindowModality(Qt::ApplicationModal);
  box.setEscapeButton(QMessageBox::Ok);
  box.exec();
}

}  // namespace ketra::window
