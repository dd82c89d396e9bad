// Accessible interfaces for the window, the drop-down lists, the option buttons, the tab strip
// and the up-down controls, and the events that announce their changes.
#include "window/accessibility.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QAccessibleWidget>
#include <QComboBox>
#include <QFontMetrics>
#include <QPointer>
#include <QRadioButton>
#include <QWidget>
#include <QWindow>
#include <vector>

#include "window/option_button.h"
#include "window/tab_strip.h"
#include "window/text_box.h"
#include "window/up_down_box.h"

namespace ketra::window {
namespace {

// A caption without its access-key mark.
QString WithoutMark(QString caption) {
  for (qsizetype at = caption.indexOf('&'); at >= 0; at = caption.indexOf('&', at + 1)) {
    caption.remove(at, 1);
  }
  return caption;
}

class OptionInterface : public QAccessibleWidget {
 public:
  explicit OptionInterface(QRadioButton* button)
      : QAccessibleWidget(button, QAccessible::RadioButton) {}

  QString text(QAccessible::Text t) const override {
    if (t == QAccessible::Name && widget()->accessibleName().isEmpty()) {
      return WithoutMark(button()->text());
    }
    return QAccessibleWidget::text(t);
  }
  QAccessible::State state() const override {
    QAccessible::State state = QAccessibleWidget::state();
    state.checkable = true;
    state.checked = button()->isChecked();
    return state;
  }
  QStringList actionNames() const override {
    return QStringList{pressAction()} + QAccessibleWidget::actionNames();
  }
  void doAction(const QString& action) override {
    // The click goes to the engine like a mouse click, through the button's clicked signal.
    if (action == pressAction()) {
      button()->click();
    } else {
      QAccessibleWidget::doAction(action);
    }
  }

 private:
  QRadioButton* button() const { return static_cast<QRadioButton*>(widget()); }
};

// One entry of a drop-down list. It is no widget, so it holds the list and its own index. The
// entry shown takes the focus of assistive tools when the arrows change it, as an item of an
// open list does: screen readers speak a focused item, not a list's new text.
class EntryInterface : public QAccessibleInterface {
 public:
  EntryInterface(QComboBox* box, int index) : box_(box), index_(index) {}

  bool isValid() const override { return !box_.isNull() && index_ < box_->count(); }
  QObject* object() const override { return nullptr; }
  QWindow* window() const override { return parent() ? parent()->window() : nullptr; }
  QAccessibleInterface* focusChild() const override { return nullptr; }
  QAccessibleInterface* childAt(int, int) const override { return nullptr; }
  QAccessibleInterface* parent() const override {
    return QAccessible::queryAccessibleInterface(box_.data());
  }
  QAccessibleInterface* child(int) const override { return nullptr; }
  int childCount() const override { return 0; }
  int indexOfChild(const QAccessibleInterface*) const override { return -1; }
  QString text(QAccessible::Text t) const override {
    return isValid() && t == QAccessible::Name ? box_->itemText(index_) : QString();
  }
  void setText(QAccessible::Text, const QString&) override {}
  QRect rect() const override {
    return isValid() ? QRect(box_->mapToGlobal(QPoint(0, 0)), box_->size()) : QRect();
  }
  QAccessible::Role role() const override { return QAccessible::ListItem; }
  QAccessible::State state() const override {
    QAccessible::State state;
    if (!isValid()) return state;
    const bool shown = box_->currentIndex() == index_;
    state.selectable = true;
    state.focusable = true;
    state.selected = shown;
    state.focused = shown && box_->hasFocus();
    state.invisible = !shown || !box_->isVisible();
    return state;
  }

 private:
  QPointer<QComboBox> box_;
  int index_;
};

// The drop-down list: named by its label, its value the entry shown, which is also its text
// (read-only), so that a screen reader speaks it with the name, and a new entry as new text.
// (Qt names a list by the entry it shows on Linux, where a label's relation is meant to name it.)
class ListInterface : public QAccessibleWidget, public QAccessibleTextInterface {
 public:
  explicit ListInterface(QComboBox* box) : QAccessibleWidget(box, QAccessible::ComboBox) {}
  ~ListInterface() override {
    for (const QAccessible::Id id : entries_) QAccessible::deleteAccessibleInterface(id);
  }

  int childCount() const override { return box()->count(); }
  QAccessibleInterface* child(int index) const override {
    if (index < 0 || index >= box()->count()) return nullptr;
    while (static_cast<int>(entries_.size()) <= index) {
      auto* entry = new EntryInterface(box(), static_cast<int>(entries_.size()));
      entries_.push_back(QAccessible::registerAccessibleInterface(entry));
    }
    return QAccessible::accessibleInterface(entries_[static_cast<size_t>(index)]);
  }
  int indexOfChild(const QAccessibleInterface* child) const override {
    for (size_t index = 0; index < entries_.size(); ++index) {
      if (QAccessible::accessibleInterface(entries_[index]) == child)
        return static_cast<int>(index);
    }
    return -1;
  }
  QAccessibleInterface* childAt(int, int) const override { return nullptr; }

  void* interface_cast(QAccessible::InterfaceType type) override {
    if (type == QAccessible::TextInterface) return static_cast<QAccessibleTextInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
  }
  QString text(QAccessible::Text t) const override {
    if (t == QAccessible::Value) return box()->currentText();
    if (t == QAccessible::Name && widget()->accessibleName().isEmpty()) {
      return box()->currentText();
    }
    return QAccessibleWidget::text(t);
  }
  QAccessible::State state() const override {
    QAccessible::State state = QAccessibleWidget::state();
    state.expandable = true;
    state.expanded = box()->view()->isVisible();
    return state;
  }
  QStringList actionNames() const override {
    return QStringList{showMenuAction()} + QAccessibleWidget::actionNames();
  }
  void doAction(const QString& action) override {
    if (action == showMenuAction()) {
      box()->showPopup();  // a choice in the list goes to the engine like any other
    } else {
      QAccessibleWidget::doAction(action);
    }
  }

  // The text: the entry shown, which no one edits here.
  QString text(int start, int end) const override {
    return box()->currentText().mid(start, end - start);
  }
  int characterCount() const override { return static_cast<int>(box()->currentText().size()); }
  void selection(int, int* start, int* end) const override { *start = *end = 0; }
  int selectionCount() const override { return 0; }
  void addSelection(int, int) override {}
  void removeSelection(int) override {}
  void setSelection(int, int, int) override {}
  int cursorPosition() const override { return 0; }
  void setCursorPosition(int) override {}
  QRect characterRect(int) const override { return {}; }
  int offsetAtPoint(const QPoint&) const override { return -1; }
  void scrollToSubstring(int, int) override {}
  QString attributes(int, int* start, int* end) const override {
    *start = 0;
    *end = characterCount();
    return {};
  }

 private:
  QComboBox* box() const { return static_cast<QComboBox*>(widget()); }

  mutable std::vector<QAccessible::Id> entries_;
};

// A text box. Qt's own interface for a line edit gives every offset a text attribute run of
// no characters; a screen reader that reads a text run by run, to speak each in its language,
// then stops one character short ("16" for 168). Here the box's whole text is one run, as it
// has one font. The selection is the engine's (see TextBox); the user's changes of it go
// through the line edit to the engine, as the keys' do.
class TextBoxInterface : public QAccessibleWidget, public QAccessibleTextInterface {
 public:
  explicit TextBoxInterface(TextBox* box) : QAccessibleWidget(box, QAccessible::EditableText) {}

  void* interface_cast(QAccessible::InterfaceType type) override {
    if (type == QAccessible::TextInterface) return static_cast<QAccessibleTextInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
  }
  QString text(QAccessible::Text t) const override {
    if (t == QAccessible::Value) return box()->text();
    return QAccessibleWidget::text(t);
  }
  QAccessible::State state() const override {
    QAccessible::State state = QAccessibleWidget::state();
    state.focusable = true;  // the focus comes from the engine, not from Qt's focus chain
    state.editable = !box()->isReadOnly();
    state.selectableText = true;
    return state;
  }

  QString text(int start, int end) const override { return box()->text().mid(start, end - start); }
  int characterCount() const override { return static_cast<int>(box()->text().size()); }
  int selectionCount() const override { return box()->sel_length > 0 ? 1 : 0; }
  void selection(int index, int* start, int* end) const override {
    *start = *end = 0;
    if (index != 0 || box()->sel_length <= 0) return;
    *start = box()->sel_start;
    *end = box()->sel_start + box()->sel_length;
  }
  void addSelection(int start, int end) override { setSelection(0, start, end); }
  void removeSelection(int) override { box()->deselect(); }
  void setSelection(int, int start, int end) override { box()->setSelection(start, end - start); }
  int cursorPosition() const override {
    return box()->hasFocus() ? box()->cursorPosition() : box()->sel_start + box()->sel_length;
  }
  void setCursorPosition(int position) override { box()->setCursorPosition(position); }
  QRect characterRect(int offset) const override {
    const QString shown = box()->displayText();
    if (offset < 0 || offset >= shown.size()) return {};
    // Measured from where the line edit puts its caret, which holds its margins and scrolling.
    const QFontMetrics metrics(box()->font());
    const QRect caret = box()->inputMethodQuery(Qt::ImCursorRectangle).toRect();
    const int origin =
        caret.left() - metrics.horizontalAdvance(shown.left(box()->cursorPosition()));
    const QRect local(origin + metrics.horizontalAdvance(shown.left(offset)), caret.top(),
                      metrics.horizontalAdvance(shown.at(offset)), caret.height());
    return {box()->mapToGlobal(local.topLeft()), local.size()};
  }
  int offsetAtPoint(const QPoint& point) const override {
    return box()->cursorPositionAt(box()->mapFromGlobal(point));
  }
  void scrollToSubstring(int, int) override {}
  QString attributes(int, int* start, int* end) const override {
    *start = 0;
    *end = characterCount();
    return {};
  }

 private:
  TextBox* box() const { return static_cast<TextBox*>(widget()); }
};

// The up-down control: a spin button whose value is the box it steps. The value is set by the
// arrows alone, which go to the engine.
class UpDownInterface : public QAccessibleWidget, public QAccessibleValueInterface {
 public:
  explicit UpDownInterface(UpDownBox* updown) : QAccessibleWidget(updown, QAccessible::SpinBox) {}

  void* interface_cast(QAccessible::InterfaceType type) override {
    if (type == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
  }
  QString text(QAccessible::Text t) const override {
    if (t == QAccessible::Value) return updown()->value.trimmed();
    return QAccessibleWidget::text(t);
  }
  QVariant currentValue() const override {
    bool number = false;
    const double value = updown()->value.trimmed().toDouble(&number);
    return number ? QVariant(value) : QVariant();
  }
  void setCurrentValue(const QVariant&) override {}
  QVariant maximumValue() const override { return {}; }
  QVariant minimumValue() const override { return {}; }
  QVariant minimumStepSize() const override { return 1; }

 private:
  UpDownBox* updown() const { return static_cast<UpDownBox*>(widget()); }
};

// One tab of the strip. It is no widget, so it holds the strip and its own index.
class PageTabInterface : public QAccessibleInterface, public QAccessibleActionInterface {
 public:
  PageTabInterface(TabStrip* strip, int index) : strip_(strip), index_(index) {}

  void* interface_cast(QAccessible::InterfaceType type) override {
    return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this)
                                                : nullptr;
  }
  bool isValid() const override { return !strip_.isNull() && index_ < strip_->count(); }
  QObject* object() const override { return nullptr; }
  QWindow* window() const override { return parent() ? parent()->window() : nullptr; }
  QAccessibleInterface* focusChild() const override { return nullptr; }
  QAccessibleInterface* childAt(int, int) const override { return nullptr; }
  QAccessibleInterface* parent() const override {
    return QAccessible::queryAccessibleInterface(strip_.data());
  }
  QAccessibleInterface* child(int) const override { return nullptr; }
  int childCount() const override { return 0; }
  int indexOfChild(const QAccessibleInterface*) const override { return -1; }
  // The caption as the strip shows it, without the blanks that pad "Status  ".
  QString text(QAccessible::Text t) const override {
    if (!isValid() || t != QAccessible::Name) return {};
    return WithoutMark(strip_->tabText(index_)).trimmed();
  }
  void setText(QAccessible::Text, const QString&) override {}
  QRect rect() const override {
    if (!isValid()) return {};
    const QRect tab = strip_->tabRect(index_);
    return {strip_->mapToGlobal(tab.topLeft()), tab.size()};
  }
  QAccessible::Role role() const override { return QAccessible::PageTab; }
  QAccessible::State state() const override {
    QAccessible::State state;
    if (!isValid()) return state;
    state.selectable = true;
    state.focusable = true;
    const bool shown = strip_->currentIndex() == index_;
    state.selected = shown;
    state.focused = shown && strip_->hasFocus();
    state.invisible = !strip_->isVisible();
    state.disabled = !strip_->isEnabled();
    return state;
  }

  QStringList actionNames() const override { return {pressAction()}; }
  void doAction(const QString& action) override {
    if (isValid() && action == pressAction() && strip_->on_tab_clicked) {
      strip_->on_tab_clicked(index_);
    }
  }
  QStringList keyBindingsForAction(const QString&) const override { return {}; }

 private:
  QPointer<TabStrip> strip_;
  int index_;
};

class PageTabListInterface : public QAccessibleWidget {
 public:
  explicit PageTabListInterface(TabStrip* strip)
      : QAccessibleWidget(strip, QAccessible::PageTabList) {}
  ~PageTabListInterface() override {
    for (const QAccessible::Id id : tabs_) QAccessible::deleteAccessibleInterface(id);
  }

  int childCount() const override { return strip()->count(); }
  QAccessibleInterface* child(int index) const override {
    if (index < 0 || index >= strip()->count()) return nullptr;
    while (static_cast<int>(tabs_.size()) <= index) {
      auto* tab = new PageTabInterface(strip(), static_cast<int>(tabs_.size()));
      tabs_.push_back(QAccessible::registerAccessibleInterface(tab));
    }
    return QAccessible::accessibleInterface(tabs_[static_cast<size_t>(index)]);
  }
  int indexOfChild(const QAccessibleInterface* child) const override {
    for (size_t index = 0; index < tabs_.size(); ++index) {
      if (QAccessible::accessibleInterface(tabs_[index]) == child) return static_cast<int>(index);
    }
    return -1;
  }
  QAccessibleInterface* childAt(int x, int y) const override {
    const int index = strip()->tabAt(strip()->mapFromGlobal(QPoint(x, y)));
    return index >= 0 ? child(index) : nullptr;
  }
  QAccessibleInterface* focusChild() const override {
    return strip()->hasFocus() ? child(strip()->currentIndex()) : nullptr;
  }

 private:
  TabStrip* strip() const { return static_cast<TabStrip*>(widget()); }

  mutable std::vector<QAccessible::Id> tabs_;
};

QAccessibleInterface* Factory(const QString&, QObject* object) {
  // The window over the form is a frame, as a program's main window is.
  if (object->inherits("ketra::window::FormView")) {
    return new QAccessibleWidget(static_cast<QWidget*>(object), QAccessible::Window);
  }
  if (auto* updown = dynamic_cast<UpDownBox*>(object)) return new UpDownInterface(updown);
  if (auto* option = dynamic_cast<OptionButton*>(object)) return new OptionInterface(option);
  if (auto* box = dynamic_cast<TextBox*>(object)) return new TextBoxInterface(box);
  if (auto* strip = dynamic_cast<TabStrip*>(object)) return new PageTabListInterface(strip);
  if (auto* box = qobject_cast<QComboBox*>(object); box && !box->isEditable()) {
    return new ListInterface(box);
  }
  return nullptr;
}

}  // namespace

void InstallAccessibility() { QAccessible::installFactory(&Factory); }

void AnnounceListEntry(QComboBox* box, const QString& before) {
  if (!QAccessible::isActive()) return;
  QAccessibleTextUpdateEvent event(box, 0, before, box->currentText());
  QAccessible::updateAccessibility(&event);
  if (!box->hasFocus()) return;
  QAccessibleInterface* list = QAccessible::queryAccessibleInterface(box);
  if (QAccessibleInterface* entry = list ? list->child(box->currentIndex()) : nullptr) {
    QAccessibleEvent focus(entry, QAccessible::Focus);
    QAccessible::updateAccessibility(&focus);
  }
}

void AnnounceUpDownValue(UpDownBox* updown) {
  if (!QAccessible::isActive()) return;
  QAccessibleValueChangeEvent event(updown, updown->value.trimmed());
  QAccessible::updateAccessibility(&event);
}

void AnnounceShownTab(TabStrip* strip) {
  if (!QAccessible::isActive() || !strip->hasFocus()) return;
  QAccessibleInterface* list = QAccessible::queryAccessibleInterface(strip);
  QAccessibleInterface* tab = list ? list->child(strip->currentIndex()) : nullptr;
  if (!tab) return;
  QAccessibleEvent event(tab, QAccessible::Focus);
  QAccessible::updateAccessibility(&event);
}

}  // namespace ketra::window
