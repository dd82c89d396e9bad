// A text box: a QLineEdit that never edits its own text. Keys that change the text become the
// engine's Type, Paste and Backspace; the caret and the selection, which the box moves itself,
// go to the engine as its SelStart and SelLength.
#include <QClipboard>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <algorithm>

#include "window/control_kinds.h"
#include "window/key_kinds.h"
#include "window/text_box.h"

namespace ketra::window {
namespace {

class TextBoxControl : public ControlView {
 public:
  TextBoxControl(ControlHost& host, forms::ControlId id, QWidget* parent)
      : ControlView(host, id), edit_(new TextBox(parent)) {
    widget_ = edit_;
    edit_->setFocusPolicy(Qt::NoFocus);
    edit_->setContextMenuPolicy(Qt::NoContextMenu);
    edit_->setDragEnabled(false);
    edit_->setAcceptDrops(false);
    // The length limit is the engine's: it drops the keystrokes that would pass it, while
    // the program's own assignments may be longer.
    QObject::connect(edit_, &QLineEdit::cursorPositionChanged, &context_, [this] { Push(); });
    QObject::connect(edit_, &QLineEdit::selectionChanged, &context_, [this] { Push(); });
  }

  void Apply(const forms::Control& box) override {
    const QString text = ToQt(box.text);
    if (edit_->text() != text) edit_->setText(text);
    const int size = static_cast<int>(text.size());
    const int start = std::clamp(box.sel_start, 0, size);
    edit_->sel_start = start;
    edit_->sel_length = std::clamp(box.sel_length, 0, size - start);
    // A box without the focus hides its selection, as the platform's edit boxes do; the engine
    // keeps it, and the box shows it again once it has the focus. Shown only after the focus
    // moved (FormView applies the focused box again), the selection is no news to a screen
    // reader, which reads it with the focus; shown before, it was read out as a change first.
    const int length = edit_->window()->focusWidget() == edit_ ? edit_->sel_length : 0;
    if (length == 0) {
      if (edit_->hasSelectedText()) edit_->deselect();
      if (edit_->cursorPosition() != start) edit_->setCursorPosition(start);
    } else if (edit_->selectionStart() != start || edit_->selectionLength() != length) {
      edit_->setSelection(start, length);
    }
  }

  void Describe(const QString& label) override {
    if (!label.isEmpty()) edit_->setAccessibleName(ToQt(forms::LabelName(form(), id_)));
  }

  bool Key(QKeyEvent* key) override {
    // A text box's Space is typed text.
    if (key->key() != Qt::Key_Space && PressEngineKey(key)) return true;
    if (key->matches(QKeySequence::Paste)) {
      const std::string text = ToAnsi(FirstLine(QGuiApplication::clipboard()->text()));
      Perform([this, text] { form().Paste(id_, text); });
    } else if (key->matches(QKeySequence::Copy)) {
      if (edit_->hasSelectedText()) QGuiApplication::clipboard()->setText(edit_->selectedText());
    } else if (key->matches(QKeySequence::Cut)) {
      if (edit_->hasSelectedText()) {
        QGuiApplication::clipboard()->setText(edit_->selectedText());
        Perform([this] { form().Backspace(id_); });
      }
    } else if (key->matches(QKeySequence::SelectAll)) {
      Perform([this] {
        form().SetSelStart(id_, 0);
        form().SetSelLength(id_, static_cast<int>(control().text.size()));
      });
    } else if (key->key() == Qt::Key_Backspace) {
      Perform([this] { form().Backspace(id_); });
    } else if (key->key() == Qt::Key_Delete) {
      // Delete is Backspace over the character after the caret, or over the selection.
      Perform([this] {
        const forms::Control& box = control();
        if (box.sel_length == 0) {
          if (box.sel_start >= static_cast<int>(box.text.size())) return;
          form().SetSelLength(id_, 1);
        }
        form().Backspace(id_);
      });
    } else if (IsNavigation(key)) {
      return false;  // the box moves its caret; the selection goes to the engine after
    } else if (IsTypedText(key)) {
      const std::string text = ToAnsi(key->text());
      Perform([this, text] { form().Type(id_, text); });
    }
    return true;
  }

  bool InputMethod(QInputMethodEvent* event) override {
    const std::string text = ToAnsi(event->commitString());
    if (!text.empty()) Perform([this, text] { form().Type(id_, text); });
    return true;
  }

  bool Mouse(QEvent* event) override {
    auto* mouse = dynamic_cast<QMouseEvent*>(event);
    if (!mouse) return false;
    // X11's middle-button paste would bypass the engine.
    if (mouse->button() == Qt::MiddleButton || (mouse->buttons() & Qt::MiddleButton)) return true;
    if (form().focus() != id_) {
      // The click that brings the focus leaves the selection to the GotFocus handler, as a Tab
      // into the box does.
      if (event->type() == QEvent::MouseButtonPress) Perform([this] { form().Focus(id_); });
      return true;
    }
    return false;  // the caret and selection move in the box, then go to the engine
  }

 private:
  // The caret or the selection the user moved, to the engine.
  void Push() {
    if (!host_.Listening() || form().focus() != id_) return;
    const bool selected = edit_->hasSelectedText();
    const int start = selected ? edit_->selectionStart() : edit_->cursorPosition();
    const int length = selected ? edit_->selectionLength() : 0;
    const forms::Control& box = control();
    if (box.sel_start == start && box.sel_length == length) return;
    Perform([this, start, length] {
      form().SetSelStart(id_, start);
      form().SetSelLength(id_, length);
    });
  }

  TextBox* edit_;
};

}  // namespace

ViewPtr MakeTextBox(ControlHost& host, forms::ControlId id, QWidget* parent) {
  return std::make_unique<TextBoxControl>(host, id, parent);
}

}  // namespace ketra::window
