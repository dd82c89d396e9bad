// The Qt window over the headless form engine. See form_view.h for the rules of the road between
// widgets and engine.
#include "window/form_view.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QScreen>
#include <QSignalBlocker>
#include <QTimer>
#include <cmath>
#include <iostream>
#include <optional>

#include "platform/forms/user_actions.h"
#include "window/accessibility.h"
#include "window/tab_strip.h"

namespace ketra::window {
namespace {

using forms::Control;
using forms::ControlId;
using forms::Kind;

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

FormView::FormView(forms::Form& form, const PictureSet& pictures, double dpi, QWidget* parent)
    : QWidget(parent),
      form_(form),
      dpi_(dpi),
      actions_(form, {.report =
                          [](std::string_view reason) {
                            std::cerr << "ketra: a handler stopped: " << reason << '\n';
                          },
                      // Over anything Qt changed on its own (a refused action, say).
                      .show_state = [this] { ApplyAll(); },
                      .end = [this] { End(); }}) {
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
    // Within an operation the focus moves once it is over (Perform), when the engine's
    // handlers are done with the control: a box's GotFocus selects its text before a screen
    // reader is told of the focus, which then reads the whole text as selected, not a part.
    if (!actions_.under_way()) ApplyFocus();
  });
  ApplyAll();
}

FormView::~FormView() {
  if (!actions_.ended()) form_.SetObserver(nullptr);
}

QWidget* FormView::widget(ControlId id) const {
  const ControlView* shown = view(id);
  return shown ? shown->widget() : nullptr;
}

QTimer* FormView::timer(ControlId id) const {
  const ControlView* shown = view(id);
  return shown ? shown->timer() : nullptr;
}

QRect FormView::GeometryOf(const Control& control) const {
  const int left = Px(control.left);
  const int top = Px(control.top);
  return {left, top, Px(control.left + control.width) - left,
          Px(control.top + control.height) - top};
}

QWidget* FormView::ParentFor(const Control& control) const {
  if (control.container <= 0) return const_cast<FormView*>(this);
  QWidget* parent = widget(control.container);
  return parent ? parent : const_cast<FormView*>(this);
}

void FormView::Build() {
  views_.resize(static_cast<size_t>(form_.size()));
  const Control& own = form_.at(0);
  setFixedSize(Px(own.width), Px(own.height));
  for (ControlId id = 1; id < form_.size(); ++id) {
    const Control& control = form_.at(id);
    std::unique_ptr<ControlView> made = MakeControlView(*this, id, ParentFor(control));
    if (!made) continue;
    if (QWidget* created = made->widget()) {
      created->setObjectName(QString::fromStdString(control.name));
      created->setGeometry(GeometryOf(control));
      if (!control.tip.empty()) created->setToolTip(ToQt(control.tip));
      created->installEventFilter(this);
      for (QWidget* inner : created->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        inner->installEventFilter(this);
      }
    }
    made->Describe(LabelCaption(control));
    if (control.kind == Kind::kTab) tab_strip_ = static_cast<TabStrip*>(made->focus_widget());
    views_[static_cast<size_t>(id)] = std::move(made);
  }
  // Page frames stand over the tab control's panel.
  for (ControlId id = 1; id < form_.size(); ++id) {
    if (form_.at(id).tab_page >= 0 && widget(id)) widget(id)->raise();
  }
}

QString FormView::LabelCaption(const Control& control) const {
  if (control.named_by == forms::kNoControl) return {};
  return ToQt(form_.at(control.named_by).caption).remove('&');
}

// --- Engine to widgets. ---

void FormView::ApplyAll() {
  for (ControlId id = 0; id < form_.size(); ++id) Apply(id);
  ApplyFocus();
}

void FormView::Apply(ControlId id) {
  if (actions_.ended()) return;
  const Control& control = form_.at(id);
  if (control.kind == Kind::kForm) {
    const QString caption = ToQt(control.caption);
    if (windowTitle() != caption) setWindowTitle(caption);
    return;
  }
  ControlView* shown = view(id);
  if (!shown) return;
  QWidget* widget = shown->widget();
  const bool outer = applying_;
  applying_ = true;
  std::optional<QSignalBlocker> blocker;
  if (widget) blocker.emplace(widget);

  shown->Apply(control);

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

void FormView::ApplyFocus() {
  if (actions_.ended()) return;
  const ControlId focus = form_.focus();
  QWidget* target = this;
  if (focus != forms::kNoControl && view(focus) && view(focus)->focus_widget()) {
    target = view(focus)->focus_widget();
  }
  if (focusWidget() != target || (target == this && !hasFocus())) {
    const ControlId left = ControlOf(focusWidget());
    const bool outer = applying_;
    applying_ = true;
    target->setFocus(Qt::OtherFocusReason);
    applying_ = outer;
    // What a control shows only with the focus (a box's selection), now that the focus moved.
    if (left != forms::kNoControl) Apply(left);
    if (target != this) Apply(focus);
  }
  // The style draws its focus indicator only once the keyboard has moved the focus; here it is
  // drawn whenever a control has the focus, however it came there.
  if (!window()->testAttribute(Qt::WA_KeyboardFocusChange)) {
    window()->setAttribute(Qt::WA_KeyboardFocusChange);
    if (QWidget* focused = focusWidget()) focused->update();
  }
}

// --- Widgets to engine. ---

void FormView::Perform(const std::function<void()>& operation) { actions_.Run(operation); }

void FormView::End() {
  form_.SetObserver(nullptr);
  for (const std::unique_ptr<ControlView>& shown : views_) {
    if (shown && shown->timer()) shown->timer()->stop();
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

void FormView::Tick(ControlId id) { actions_.Tick(id); }

ControlId FormView::ControlOf(QObject* object) const {
  for (QObject* at = object; at && at != this; at = at->parent()) {
    for (size_t id = 0; id < views_.size(); ++id) {
      if (views_[id] && views_[id]->widget() == at) return static_cast<ControlId>(id);
    }
  }
  return forms::kNoControl;
}

bool FormView::eventFilter(QObject* watched, QEvent* event) {
  const QEvent::Type type = event->type();
  const bool key = type == QEvent::KeyPress;
  if (!key && !IsMouseInput(type) && type != QEvent::InputMethod) {
    return QWidget::eventFilter(watched, event);
  }
  const ControlId id = ControlOf(watched);
  if (id == forms::kNoControl || actions_.ended()) return QWidget::eventFilter(watched, event);

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
  ControlView* shown = view(id);
  if (type == QEvent::InputMethod)
    return shown->InputMethod(static_cast<QInputMethodEvent*>(event));
  if (key) return shown->Key(static_cast<QKeyEvent*>(event));
  return shown->Mouse(event);
}

bool FormView::focusNextPrevChild(bool next) {
  // Qt moves the focus on its own when it hides or disables the focused widget; the engine
  // holds the focus, so that move is not made. Tab on the window itself is the user's Tab.
  if (applying_ || actions_.ended() || actions_.under_way()) return true;
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
  Perform([this] { form_.Close(); });
  if (actions_.ended()) {
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
