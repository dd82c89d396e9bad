// The Qt window over the headless form engine. See form_view.h for the rules of the road between
// widgets and engine.
#include "window/form_view.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QComboBox>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QSignalBlocker>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <iostream>
#include <optional>
#include <stdexcept>

#include "platform/runtime/codepage.h"
#include "platform/runtime/conversion_error.h"
#include "window/accessibility.h"
#include "window/frame_box.h"
#include "window/key_kinds.h"
#include "window/option_button.h"
#include "window/tab_strip.h"
#include "window/tab_view.h"
#include "window/up_down_box.h"

namespace ketra::window {
namespace {

using forms::Control;
using forms::ControlId;
using forms::Kind;

// The tab strip lays out this many tabs a row, each an equal share of the control's width.
constexpr int kTabsPerRow = 4;

QString ToQt(std::string_view ansi) { return QString::fromStdString(runtime::AnsiToUtf8(ansi)); }
std::string ToAnsi(const QString& text) { return runtime::Utf8ToAnsi(text.toStdString()); }

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

bool IsMouseInput(QEvent::Type type) {
  return type == QEvent::MouseButtonPress || type == QEvent::MouseButtonRelease ||
         type == QEvent::MouseButtonDblClick || type == QEvent::Wheel;
}

}  // namespace

QStringList FromFirstInstalled(const QStringList& wanted) {
  // Qt's own generic names stand in its database's list of families, but a font that names
  // them among others passes over them: they are no installed family here.
  static const QStringList kGeneric = {QStringLiteral("Serif"), QStringLiteral("Sans Serif"),
                                       QStringLiteral("Monospace")};
  const QStringList installed = QFontDatabase::families();
  for (qsizetype first = 0; first < wanted.size(); ++first) {
    if (installed.contains(wanted[first], Qt::CaseInsensitive) &&
        !kGeneric.contains(wanted[first], Qt::CaseInsensitive)) {
      return wanted.mid(first);
    }
  }
  return wanted;
}

int TwipsToPixels(int twips, double dpi) {
  return static_cast<int>(std::lround(twips * dpi / 1440.0));
}

struct FormView::Entry {
  QWidget* widget = nullptr;
  QTimer* timer = nullptr;
  std::vector<std::string> shown_items;  // combo box entries as last shown
  forms::Picture shown_picture = forms::Picture::kNone;
};

FormView::FormView(forms::Form& form, const PictureSet& pictures, double dpi, QWidget* parent)
    : QWidget(parent), form_(form), dpi_(dpi) {
  if (dpi_ <= 0) {
    const QScreen* screen = QGuiApplication::primaryScreen();
    dpi_ = screen ? screen->logicalDotsPerInchY() : 96.0;
  }
  for (size_t picture = 0; picture < pictures.size(); ++picture) {
    if (!pictures[picture].isNull()) pictures_[picture] = QPixmap::fromImage(pictures[picture]);
  }
  // The window's own font, small enough for the boxes' heights of the layout; every control
  // takes it, none sets one of its own.
  QFont small = font();
  small.setFamilies(FromFirstInstalled(
      {QStringLiteral("Microsoft Sans Serif"), QStringLiteral("MS Sans Serif"),
       QStringLiteral("Arial"), QStringLiteral("Liberation Sans"), QStringLiteral("Helvetica"),
       QStringLiteral("Nimbus Sans"), small.family()}));
  small.setPointSizeF(7.5);
  setFont(small);
  setFocusPolicy(Qt::NoFocus);
  InstallAccessibility();
  Build();
  form_.SetObserver([this](ControlId id) {
    Apply(id);
    ApplyFocus();
  });
  ApplyAll();
}

FormView::~FormView() {
  if (!ended_) form_.SetObserver(nullptr);
}

QWidget* FormView::widget(ControlId id) const {
  return entries_.at(static_cast<size_t>(id)).widget;
}

QTimer* FormView::timer(ControlId id) const { return entries_.at(static_cast<size_t>(id)).timer; }

QRect FormView::GeometryOf(const Control& control) const {
  const int left = Px(control.left);
  const int top = Px(control.top);
  return {left, top, Px(control.left + control.width) - left,
          Px(control.top + control.height) - top};
}

QWidget* FormView::ParentFor(const Control& control) const {
  if (control.container <= 0) return const_cast<FormView*>(this);
  QWidget* parent = entries_.at(static_cast<size_t>(control.container)).widget;
  return parent ? parent : const_cast<FormView*>(this);
}

void FormView::Build() {
  entries_.resize(static_cast<size_t>(form_.size()));
  const Control& own = form_.at(0);
  setFixedSize(Px(own.width), Px(own.height));
  for (ControlId id = 1; id < form_.size(); ++id) {
    const Control& control = form_.at(id);
    QWidget* created = Create(id, ParentFor(control));
    if (!created) continue;
    entries_[static_cast<size_t>(id)].widget = created;
    created->setObjectName(QString::fromStdString(control.name));
    created->setGeometry(GeometryOf(control));
    if (!control.tip.empty()) created->setToolTip(ToQt(control.tip));
    created->installEventFilter(this);
    for (QWidget* inner : created->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
      inner->installEventFilter(this);
    }
  }
  NameForAssistiveTools();
  // Page frames stand over the tab control's panel.
  for (ControlId id = 1; id < form_.size(); ++id) {
    if (form_.at(id).tab_page >= 0 && widget(id)) widget(id)->raise();
  }
}

QString FormView::LabelCaption(const Control& control) const {
  if (control.named_by == forms::kNoControl) return {};
  return ToQt(form_.at(control.named_by).caption).remove('&');
}

void FormView::NameForAssistiveTools() {
  for (ControlId id = 1; id < form_.size(); ++id) {
    const Control& control = form_.at(id);
    QWidget* shown = widget(id);
    if (!shown || control.named_by == forms::kNoControl) continue;
    const QString caption = LabelCaption(control);
    switch (control.kind) {
      case Kind::kTextBox: {
        // Boxes that share a label are the parts of one value, in the order of the layout.
        int part = 0;
        int parts = 0;
        for (ControlId other = 1; other < form_.size(); ++other) {
          const Control& box = form_.at(other);
          if (box.kind != Kind::kTextBox || box.named_by != control.named_by) continue;
          ++parts;
          if (other == id) part = parts;
        }
        shown->setAccessibleName(parts > 1 ? tr("%1 part %2").arg(caption).arg(part) : caption);
        break;
      }
      case Kind::kUpDown: {
        auto* updown = static_cast<UpDownBox*>(shown);
        updown->setAccessibleName(tr("Step %1").arg(caption));
        updown->setAccessibleDescription(tr("Steps %1 up or down").arg(caption));
        updown->up->setAccessibleName(tr("%1 up").arg(caption));
        updown->down->setAccessibleName(tr("%1 down").arg(caption));
        break;
      }
      case Kind::kImage:
        break;  // the picture is part of the name: see Apply
      default:
        shown->setAccessibleName(caption);
        break;
    }
  }
}

QWidget* FormView::Create(ControlId id, QWidget* parent) {
  const Control& control = form_.at(id);
  switch (control.kind) {
    case Kind::kForm:
      return nullptr;
    case Kind::kTab: {
      auto* view = new TabView(parent);
      QStringList captions;
      for (const std::string& caption : control.tabs) captions << ToQt(caption);
      auto* strip = new TabStrip(captions, Px(control.width), kTabsPerRow, view);
      strip->setFocusPolicy(Qt::NoFocus);
      strip->setGeometry(QRect(QPoint(0, 0), strip->sizeHint()));
      view->SetStrip(strip);
      tab_strip_ = strip;
      tab_control_ = id;
      // A click on a tab, the shown one too, is the user showing that page.
      strip->on_tab_clicked = [this](int page) {
        if (!applying_) ShowPageAsUser(page);
      };
      return view;
    }
    case Kind::kFrame:
      return new FrameBox(parent);
    case Kind::kLabel: {
      auto* label = new QLabel(parent);
      label->setTextFormat(Qt::PlainText);
      label->setWordWrap(true);
      label->setAlignment(Qt::AlignTop | (control.centred ? Qt::AlignHCenter : Qt::AlignLeft));
      return label;
    }
    case Kind::kTextBox: {
      auto* edit = new QLineEdit(parent);
      edit->setFocusPolicy(Qt::NoFocus);
      edit->setContextMenuPolicy(Qt::NoContextMenu);
      edit->setDragEnabled(false);
      edit->setAcceptDrops(false);
      // The length limit is the engine's: it drops the keystrokes that would pass it, while
      // the program's own assignments may be longer.
      connect(edit, &QLineEdit::cursorPositionChanged, this, [this, id] { PushSelection(id); });
      connect(edit, &QLineEdit::selectionChanged, this, [this, id] { PushSelection(id); });
      return edit;
    }
    case Kind::kOption: {
      auto* option = new OptionButton(parent);
      option->setAutoExclusive(false);
      option->setFocusPolicy(Qt::NoFocus);
      connect(option, &QAbstractButton::clicked, this,
              [this, id] { Perform([this, id] { form_.Click(id); }); });
      return option;
    }
    case Kind::kComboBox: {
      auto* combo = new QComboBox(parent);
      combo->setEditable(false);  // a drop-down list: only its entries can be chosen
      combo->setFocusPolicy(Qt::NoFocus);
      combo->setSizeAdjustPolicy(QComboBox::AdjustToContentsOnFirstShow);
      connect(combo, &QComboBox::activated, this, [this, id](int index) {
        if (applying_) return;
        const Control& box = form_.at(id);
        if (index < 0 || index >= static_cast<int>(box.items.size())) return;
        const std::string entry = box.items[static_cast<size_t>(index)];
        Perform([this, id, entry] { form_.Choose(id, entry); });
      });
      return combo;
    }
    case Kind::kButton: {
      auto* button = new QPushButton(parent);
      button->setFocusPolicy(Qt::NoFocus);
      button->setAutoDefault(false);
      button->setDefault(false);
      connect(button, &QAbstractButton::clicked, this,
              [this, id] { Perform([this, id] { form_.Click(id); }); });
      return button;
    }
    case Kind::kImage: {
      auto* image = new QLabel(parent);
      image->setAlignment(Qt::AlignLeft | Qt::AlignTop);
      return image;
    }
    case Kind::kTimer: {
      auto* timer = new QTimer(this);
      timer->setTimerType(Qt::CoarseTimer);
      connect(timer, &QTimer::timeout, this, [this, id] { OnTimer(id); });
      entries_[static_cast<size_t>(id)].timer = timer;
      return nullptr;
    }
    case Kind::kUpDown: {
      auto* updown = new UpDownBox(parent);
      updown->setFocusPolicy(Qt::NoFocus);
      connect(updown->up, &QToolButton::clicked, this,
              [this, id] { Perform([this, id] { form_.UpClick(id); }); });
      connect(updown->down, &QToolButton::clicked, this,
              [this, id] { Perform([this, id] { form_.DownClick(id); }); });
      return updown;
    }
  }
  return nullptr;
}

// --- Engine to widgets. ---

void FormView::ApplyAll() {
  for (ControlId id = 0; id < form_.size(); ++id) Apply(id);
  ApplyFocus();
}

void FormView::Apply(ControlId id) {
  if (ended_) return;
  const Control& control = form_.at(id);
  Entry& entry = entries_.at(static_cast<size_t>(id));
  QWidget* widget = entry.widget;
  const bool outer = applying_;
  applying_ = true;
  std::optional<QSignalBlocker> blocker;
  if (widget) blocker.emplace(widget);

  switch (control.kind) {
    case Kind::kForm: {
      const QString caption = ToQt(control.caption);
      if (windowTitle() != caption) setWindowTitle(caption);
      break;
    }
    case Kind::kTab: {
      tab_strip_->setCurrentIndex(control.tab_shown);
      // The page frames follow the page shown.
      for (ControlId page = 0; page < form_.size(); ++page) {
        if (form_.at(page).container == id && form_.at(page).tab_page >= 0) Apply(page);
      }
      break;
    }
    case Kind::kFrame: {
      auto* frame = static_cast<FrameBox*>(widget);
      const QString caption = ToQt(control.caption);
      if (frame->title() != caption) frame->setTitle(caption);
      frame->SetLookEnabled(control.enabled);
      break;
    }
    case Kind::kLabel: {
      auto* label = static_cast<QLabel*>(widget);
      const QString caption = ToQt(control.caption);
      if (label->text() != caption) label->setText(caption);
      break;
    }
    case Kind::kButton:
    case Kind::kOption: {
      auto* button = static_cast<QAbstractButton*>(widget);
      const QString caption = ToQt(control.caption);
      if (button->text() != caption) button->setText(caption);
      if (control.kind == Kind::kOption && button->isChecked() != control.value) {
        button->setChecked(control.value);
      }
      break;
    }
    case Kind::kTextBox:
      ApplyTextBox(id, control, widget);
      break;
    case Kind::kComboBox: {
      auto* combo = static_cast<QComboBox*>(widget);
      if (entry.shown_items != control.items) {
        QStringList items;
        items.reserve(static_cast<qsizetype>(control.items.size()));
        for (const std::string& item : control.items) items << ToQt(item);
        combo->clear();
        combo->addItems(items);
        entry.shown_items = control.items;
      }
      if (combo->currentIndex() != control.list_index) combo->setCurrentIndex(control.list_index);
      // A text that names no entry stands in the box as its placeholder.
      const QString placeholder = control.list_index < 0 ? ToQt(control.text) : QString();
      if (combo->placeholderText() != placeholder) combo->setPlaceholderText(placeholder);
      break;
    }
    case Kind::kImage: {
      if (entry.shown_picture != control.picture ||
          static_cast<QLabel*>(widget)->pixmap().isNull()) {
        const QPixmap& pixmap = pictures_[static_cast<size_t>(control.picture)];
        auto* image = static_cast<QLabel*>(widget);
        image->setPixmap(pixmap);
        // An image takes the size of its picture, whatever the screen's DPI.
        if (!pixmap.isNull()) image->resize(pixmap.size().expandedTo(GeometryOf(control).size()));
        entry.shown_picture = control.picture;
        // A lamp says its heading and its colour: "VSP1: green".
        if (control.named_by != forms::kNoControl) {
          image->setAccessibleName(QStringLiteral("%1: %2").arg(
              LabelCaption(control), QString::fromUtf8(forms::PictureName(control.picture))));
        }
      }
      break;
    }
    case Kind::kTimer: {
      QTimer* timer = entry.timer;
      const bool runs = control.enabled && control.interval > 0;
      if (timer->interval() != control.interval) timer->setInterval(control.interval);
      if (runs && !timer->isActive()) timer->start();
      if (!runs && timer->isActive()) timer->stop();
      break;
    }
    case Kind::kUpDown:
      break;
  }

  if (widget && control.kind != Kind::kFrame) {
    // Qt greys what it disables; frames are never disabled in Qt (see FrameBox).
    if (widget->testAttribute(Qt::WA_ForceDisabled) == control.enabled) {
      widget->setEnabled(control.enabled);
    }
  }
  if (widget) {
    bool visible = control.visible;
    if (control.tab_page >= 0 && control.container != forms::kNoControl &&
        form_.at(control.container).kind == Kind::kTab) {
      visible = visible && form_.at(control.container).tab_shown == control.tab_page;
    }
    if (widget->isHidden() == visible) widget->setVisible(visible);
  }
  applying_ = outer;
}

void FormView::ApplyTextBox(ControlId id, const Control& control, QWidget* widget) {
  auto* edit = static_cast<QLineEdit*>(widget);
  const QString text = ToQt(control.text);
  if (edit->text() != text) edit->setText(text);
  const int size = static_cast<int>(text.size());
  const int start = std::clamp(control.sel_start, 0, size);
  // A box without the focus hides its selection, as the platform's edit boxes do; the engine
  // keeps it, and the box shows it again when the focus comes back.
  const int length = form_.focus() == id ? std::clamp(control.sel_length, 0, size - start) : 0;
  if (length == 0) {
    if (edit->hasSelectedText()) edit->deselect();
    if (edit->cursorPosition() != start) edit->setCursorPosition(start);
  } else if (edit->selectionStart() != start || edit->selectionLength() != length) {
    edit->setSelection(start, length);
  }
}

void FormView::ApplyFocus() {
  if (ended_) return;
  const ControlId focus = form_.focus();
  QWidget* target = this;
  if (focus != forms::kNoControl) {
    if (focus == tab_control_ && tab_strip_) {
      target = tab_strip_;
    } else if (QWidget* shown = entries_.at(static_cast<size_t>(focus)).widget) {
      target = shown;
    }
  }
  shown_focus_ = focus;
  if (focusWidget() != target || (target == this && !hasFocus())) {
    const bool outer = applying_;
    applying_ = true;
    target->setFocus(Qt::OtherFocusReason);
    applying_ = outer;
  }
  // The style draws its focus indicator only once the keyboard has moved the focus; here it is
  // drawn whenever a control has the focus, however it came there.
  if (!window()->testAttribute(Qt::WA_KeyboardFocusChange)) {
    window()->setAttribute(Qt::WA_KeyboardFocusChange);
    if (QWidget* focused = focusWidget()) focused->update();
  }
}

// --- Widgets to engine. ---

void FormView::Perform(const std::function<void()>& operation) {
  if (ended_) return;
  ++depth_;
  try {
    operation();
  } catch (const forms::ProgramEnded&) {
    End();
  } catch (const runtime::ConversionError& error) {
    // A failed conversion stops the handler where it stood, as on the platform; the program goes
    // on with the next user action.
    std::cerr << "ketra: a handler stopped at a failed conversion: " << error.what() << '\n';
  } catch (const std::exception& error) {
    std::cerr << "ketra: " << error.what() << '\n';
  }
  --depth_;
  if (ended_) return;
  // Show the engine's state over anything Qt changed on its own (a refused action, say).
  ApplyAll();
  if (depth_ == 0 && !pending_ticks_.empty()) {
    std::vector<ControlId> ticks;
    ticks.swap(pending_ticks_);
    for (const ControlId timer : ticks) {
      Perform([this, timer] { form_.Tick(timer); });
      if (ended_) return;
    }
  }
}

void FormView::End() {
  if (ended_) return;
  ended_ = true;
  form_.SetObserver(nullptr);
  for (Entry& entry : entries_) {
    if (entry.timer) entry.timer->stop();
  }
  hide();
  emit programEnded();
}

void FormView::ShowPageAsUser(int page) {
  Perform([this, page] { form_.ShowPage(page); });
}

void FormView::PressAsUser(ControlId id, forms::Key key) {
  Perform([this, id, key] { form_.Press(id, key); });
}

void FormView::OnTimer(ControlId id) {
  // Notifications run one after the other: a tick that comes while a message box is open
  // waits for the operation that opened it to finish.
  if (depth_ > 0) {
    pending_ticks_.push_back(id);
    return;
  }
  Perform([this, id] { form_.Tick(id); });
}

void FormView::PushSelection(ControlId id) {
  if (applying_ || ended_ || form_.focus() != id) return;
  auto* edit = static_cast<QLineEdit*>(widget(id));
  const bool selected = edit->hasSelectedText();
  const int start = selected ? edit->selectionStart() : edit->cursorPosition();
  const int length = selected ? edit->selectionLength() : 0;
  const Control& box = form_.at(id);
  if (box.sel_start == start && box.sel_length == length) return;
  Perform([this, id, start, length] {
    form_.SetSelStart(id, start);
    form_.SetSelLength(id, length);
  });
}

ControlId FormView::ControlOf(QObject* object) const {
  for (QObject* at = object; at && at != this; at = at->parent()) {
    for (size_t id = 0; id < entries_.size(); ++id) {
      if (entries_[id].widget == at) return static_cast<ControlId>(id);
    }
  }
  return forms::kNoControl;
}

bool FormView::TextBoxKey(ControlId id, QKeyEvent* key) {
  auto* edit = static_cast<QLineEdit*>(widget(id));
  if (key->matches(QKeySequence::Paste)) {
    const std::string text = ToAnsi(FirstLine(QGuiApplication::clipboard()->text()));
    Perform([this, id, text] { form_.Paste(id, text); });
  } else if (key->matches(QKeySequence::Copy)) {
    if (edit->hasSelectedText()) QGuiApplication::clipboard()->setText(edit->selectedText());
  } else if (key->matches(QKeySequence::Cut)) {
    if (edit->hasSelectedText()) {
      QGuiApplication::clipboard()->setText(edit->selectedText());
      Perform([this, id] { form_.Backspace(id); });
    }
  } else if (key->matches(QKeySequence::SelectAll)) {
    Perform([this, id] {
      form_.SetSelStart(id, 0);
      form_.SetSelLength(id, static_cast<int>(form_.at(id).text.size()));
    });
  } else if (key->key() == Qt::Key_Backspace) {
    Perform([this, id] { form_.Backspace(id); });
  } else if (key->key() == Qt::Key_Delete) {
    // Delete is Backspace over the character after the caret, or over the selection.
    Perform([this, id] {
      const Control& box = form_.at(id);
      if (box.sel_length == 0) {
        if (box.sel_start >= static_cast<int>(box.text.size())) return;
        form_.SetSelLength(id, 1);
      }
      form_.Backspace(id);
    });
  } else if (IsNavigation(key)) {
    return false;  // the box moves its caret; the selection goes to the engine after
  } else if (IsTypedText(key)) {
    const std::string text = ToAnsi(key->text());
    Perform([this, id, text] { form_.Type(id, text); });
  }
  return true;
}

bool FormView::eventFilter(QObject* watched, QEvent* event) {
  const QEvent::Type type = event->type();
  const bool key = type == QEvent::KeyPress;
  if (!key && !IsMouseInput(type) && type != QEvent::InputMethod) {
    return QWidget::eventFilter(watched, event);
  }
  const ControlId id = ControlOf(watched);
  if (id == forms::kNoControl || ended_) return QWidget::eventFilter(watched, event);
  const Kind kind = form_.at(id).kind;

  if (key) {
    auto* press = static_cast<QKeyEvent*>(event);
    switch (press->key()) {
      case Qt::Key_Tab:
        if (!(press->modifiers() & (Qt::ControlModifier | Qt::AltModifier))) {
          if (press->modifiers() & Qt::ShiftModifier) {
            Perform([this] { form_.BackTab(); });
          } else {
            Perform([this] { form_.Tab(); });
          }
        }
        return true;
      case Qt::Key_Backtab:
        if (!(press->modifiers() & (Qt::ControlModifier | Qt::AltModifier))) {
          Perform([this] { form_.BackTab(); });
        }
        return true;
      case Qt::Key_Return:
      case Qt::Key_Enter:
      case Qt::Key_Escape:
        return true;  // no default or cancel button
      default:
        break;
    }
  }
  // Out of the user's reach: nothing happens.
  if (form_.Reach(id) != forms::Refusal::kNone) return true;

  if (type == QEvent::InputMethod) {
    if (kind != Kind::kTextBox) return true;
    const std::string text = ToAnsi(static_cast<QInputMethodEvent*>(event)->commitString());
    if (!text.empty()) Perform([this, id, text] { form_.Type(id, text); });
    return true;
  }
  if (key) {
    auto* press = static_cast<QKeyEvent*>(event);
    // The keys the engine knows go to it on every kind; a text box's Space is typed text.
    if (const std::optional<forms::Key> engine_key = EngineKey(press);
        engine_key && !(kind == Kind::kTextBox && *engine_key == forms::Key::kSpace)) {
      Perform([this, id, engine_key] { form_.Press(id, *engine_key); });
      return true;
    }
    switch (kind) {
      case Kind::kTextBox:
        return TextBoxKey(id, press);
      case Kind::kComboBox:
        return false;  // the box opens its list (Alt+Down, F4); a choice in it is a Choose
      default:
        return true;
    }
  }

  // Mouse input on a control in reach.
  auto* mouse = dynamic_cast<QMouseEvent*>(event);
  if (kind == Kind::kTextBox && mouse) {
    // X11's middle-button paste would bypass the engine.
    if (mouse->button() == Qt::MiddleButton || (mouse->buttons() & Qt::MiddleButton)) return true;
    if (form_.focus() != id) {
      // The click that brings the focus leaves the selection to the GotFocus handler, as a Tab
      // into the box does.
      if (type == QEvent::MouseButtonPress) Perform([this, id] { form_.Focus(id); });
      return true;
    }
    return false;  // the caret and selection move in the box, then go to the engine
  }
  if (kind == Kind::kComboBox && type == QEvent::MouseButtonPress && form_.focus() != id) {
    Perform([this, id] { form_.Focus(id); });
    // Open the list only when the focus arrived (a LostFocus box may have intervened).
    return form_.focus() != id;
  }
  return false;
}

bool FormView::focusNextPrevChild(bool next) {
  // Qt moves the focus on its own when it hides or disables the focused widget; the engine
  // holds the focus, so that move is not made. Tab on the window itself is the user's Tab.
  if (applying_ || ended_ || depth_ > 0) return true;
  Perform([this, next] {
    if (next) {
      form_.Tab();
    } else {
      form_.BackTab();
    }
  });
  return true;
}

void FormView::closeEvent(QCloseEvent* event) {
  if (!ended_) Perform([this] { form_.Close(); });
  if (ended_) {
    event->accept();
  } else {
    event->ignore();
  }
}

void FormView::paintEvent(QPaintEvent* event) {
  QWidget::paintEvent(event);
  if (painted_) return;
  painted_ = true;
  // Queued: runs once this frame has gone to the screen.
  QTimer::singleShot(0, this, [this] { emit firstFrameShown(); });
}

}  // namespace ketra::window
