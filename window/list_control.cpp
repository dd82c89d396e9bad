// A drop-down list: a QComboBox that is not editable. A choice in its list is the engine's
// Choose; the arrows, Home and End are the engine's keys; Alt+Down and F4 open the list.
#include <QComboBox>
#include <QEvent>
#include <QKeyEvent>

#include "window/accessibility.h"
#include "window/control_kinds.h"

namespace ketra::window {
namespace {

class ListControl : public ControlView {
 public:
  ListControl(ControlHost& host, forms::ControlId id, QWidget* parent)
      : ControlView(host, id), combo_(new QComboBox(parent)) {
    widget_ = combo_;
    combo_->setEditable(false);  // a drop-down list: only its entries can be chosen
    combo_->setFocusPolicy(Qt::NoFocus);
    combo_->setSizeAdjustPolicy(QComboBox::AdjustToContentsOnFirstShow);
    QObject::connect(combo_, &QComboBox::activated, &context_, [this](int index) {
      if (!host_.Listening()) return;
      const forms::Control& box = control();
      if (index < 0 || index >= static_cast<int>(box.items.size())) return;
      const std::string entry = box.items[static_cast<size_t>(index)];
      Perform([this, entry] { form().Choose(id_, entry); });
    });
  }

  void Apply(const forms::Control& box) override {
    if (shown_items_ != box.items) {
      QStringList items;
      items.reserve(static_cast<qsizetype>(box.items.size()));
      for (const std::string& item : box.items) items << ToQt(item);
      combo_->clear();
      combo_->addItems(items);
      shown_items_ = box.items;
    }
    if (combo_->currentIndex() != box.list_index) {
      const QString before = combo_->currentText();
      combo_->setCurrentIndex(box.list_index);
      AnnounceListEntry(combo_, before);
    }
    // A text that names no entry stands in the box as its placeholder.
    const QString placeholder = box.list_index < 0 ? ToQt(box.text) : QString();
    if (combo_->placeholderText() != placeholder) combo_->setPlaceholderText(placeholder);
  }

  bool Key(QKeyEvent* press) override {
    // Other keys go to the box, which opens its list (Alt+Down, F4); a choice in it is a Choose.
    return PressEngineKey(press);
  }

  bool Mouse(QEvent* event) override {
    if (event->type() != QEvent::MouseButtonPress || form().focus() == id_) return false;
    Perform([this] { form().Focus(id_); });
    // Open the list only when the focus arrived (a LostFocus box may have intervened).
    return form().focus() != id_;
  }

 private:
  QComboBox* combo_;
  std::vector<std::string> shown_items_;  // the entries as last shown
};

}  // namespace

ViewPtr MakeList(ControlHost& host, forms::ControlId id, QWidget* parent) {
  return std::make_unique<ListControl>(host, id, parent);
}

}  // namespace ketra::window
