// The kinds of control that take a few lines each: label, frame, command button, option button,
// image, timer and up-down control.
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QToolButton>
#include <algorithm>

#include "window/accessibility.h"
#include "window/control_kinds.h"
#include "window/frame_box.h"
#include "window/option_button.h"
#include "window/up_down_box.h"

namespace ketra::window {
namespace {

using forms::Control;
using forms::ControlId;

class LabelControl : public ControlView {
 public:
  LabelControl(ControlHost& host, ControlId id, QWidget* parent)
      : ControlView(host, id), label_(new QLabel(parent)) {
    widget_ = label_;
    label_->setTextFormat(Qt::PlainText);
    label_->setWordWrap(true);
    label_->setAlignment(Qt::AlignTop | (control().centred ? Qt::AlignHCenter : Qt::AlignLeft));
  }
  void Apply(const Control& label) override {
    const QString caption = ToQt(label.caption);
    if (label_->text() != caption) label_->setText(caption);
  }

 private:
  QLabel* label_;
};

class FrameControl : public ControlView {
 public:
  FrameControl(ControlHost& host, ControlId id, QWidget* parent)
      : ControlView(host, id), frame_(new FrameBox(parent)) {
    widget_ = frame_;
  }
  void Apply(const Control& frame) override {
    const QString caption = ToQt(frame.caption);
    if (frame_->title() != caption) frame_->setTitle(caption);
    frame_->SetLookEnabled(frame.enabled);
  }

 private:
  FrameBox* frame_;
};

// A command or option button: a click is the engine's Click.
class ButtonControl : public ControlView {
 public:
  ButtonControl(ControlHost& host, ControlId id, QAbstractButton* button)
      : ControlView(host, id), button_(button) {
    widget_ = button_;
    button_->setFocusPolicy(Qt::NoFocus);
    QObject::connect(button_, &QAbstractButton::clicked, &context_,
                     [this] { Perform([this] { form().Click(id_); }); });
  }
  void Apply(const Control& button) override {
    const QString caption = ToQt(button.caption);
    if (button_->text() != caption) {
      button_->setText(caption);
      if (button.kind == forms::Kind::kOption) FitCaption();
    }
    if (button.kind == forms::Kind::kOption && button_->isChecked() != button.value) {
      button_->setChecked(button.value);
    }
  }

 private:
  // An option whose caption is wider than its place in the layout (with DejaVu Sans alone,
  // "Hardware Flow Control" lost its last letters) grows to the right as far as its container
  // allows; with the fonts the layout was made for it keeps the layout's width.
  void FitCaption() {
    const int needed = button_->sizeHint().width();
    const QWidget* container = button_->parentWidget();
    if (needed <= button_->width() || !container) return;
    button_->resize(std::min(needed, container->width() - button_->x() - 2), button_->height());
  }

  QAbstractButton* button_;
};

// A lamp: a picture, named by its heading and its colour ("VSP1: green").
class ImageControl : public ControlView {
 public:
  ImageControl(ControlHost& host, ControlId id, QWidget* parent)
      : ControlView(host, id), image_(new QLabel(parent)) {
    widget_ = image_;
    image_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  }
  void Describe(const QString& label) override { labelled_ = !label.isEmpty(); }
  void Apply(const Control& image) override {
    if (shown_ == image.picture && !image_->pixmap().isNull()) return;
    const QPixmap& pixmap = host_.Picture(image.picture);
    image_->setPixmap(pixmap);
    // An image takes the size of its picture, whatever the screen's DPI.
    if (!pixmap.isNull()) image_->resize(pixmap.size().expandedTo(host_.GeometryOf(image).size()));
    shown_ = image.picture;
    if (labelled_) image_->setAccessibleName(ToQt(forms::LabelName(form(), id_)));
  }

 private:
  QLabel* image_;
  bool labelled_ = false;
  forms::Picture shown_ = forms::Picture::kNone;
};

// A timer: no widget; each timeout is the host's Tick.
class TimerControl : public ControlView {
 public:
  TimerControl(ControlHost& host, ControlId id) : ControlView(host, id) {
    timer_.setTimerType(Qt::CoarseTimer);
    QObject::connect(&timer_, &QTimer::timeout, &context_, [this] { host_.Tick(id_); });
  }
  QTimer* timer() const override { return &timer_; }
  void Apply(const Control& timer) override {
    const bool runs = timer.enabled && timer.interval > 0;
    if (timer_.interval() != timer.interval) timer_.setInterval(timer.interval);
    if (runs && !timer_.isActive()) timer_.start();
    if (!runs && timer_.isActive()) timer_.stop();
  }

 private:
  mutable QTimer timer_;
};

// The up-down control: its arrows are the engine's UpClick and DownClick. It steps the text box
// that shares its label, whose text is its value for assistive tools.
class UpDownControl : public ControlView {
 public:
  UpDownControl(ControlHost& host, ControlId id, QWidget* parent)
      : ControlView(host, id), updown_(new UpDownBox(parent)) {
    widget_ = updown_;
    updown_->setFocusPolicy(Qt::NoFocus);
    QObject::connect(updown_->up, &QToolButton::clicked, &context_,
                     [this] { Perform([this] { form().UpClick(id_); }); });
    QObject::connect(updown_->down, &QToolButton::clicked, &context_,
                     [this] { Perform([this] { form().DownClick(id_); }); });
  }
  void Describe(const QString& label) override {
    if (label.isEmpty()) return;
    for (ControlId other = 1; other < form().size(); ++other) {
      const Control& box = form().at(other);
      if (box.kind == forms::Kind::kTextBox && box.named_by == control().named_by) stepped_ = other;
    }
    updown_->setAccessibleName(QObject::tr("Step %1").arg(label));
    updown_->setAccessibleDescription(QObject::tr("Steps %1 up or down").arg(label));
    updown_->up->setAccessibleName(QObject::tr("%1 up").arg(label));
    updown_->down->setAccessibleName(QObject::tr("%1 down").arg(label));
  }
  // Runs after every operation too, however the stepped box changed (arrows, typing, program).
  void Apply(const Control&) override {
    if (stepped_ == forms::kNoControl) return;
    const QString value = ToQt(form().at(stepped_).text);
    if (shown_ && updown_->value == value) return;
    updown_->value = value;
    if (shown_) AnnounceUpDownValue(updown_);
    shown_ = true;
  }

 private:
  UpDownBox* updown_;
  ControlId stepped_ = forms::kNoControl;
  bool shown_ = false;
};

}  // namespace

ViewPtr MakeLabel(ControlHost& host, ControlId id, QWidget* parent) {
  return std::make_unique<LabelControl>(host, id, parent);
}
ViewPtr MakeFrame(ControlHost& host, ControlId id, QWidget* parent) {
  return std::make_unique<FrameControl>(host, id, parent);
}
ViewPtr MakeButton(ControlHost& host, ControlId id, QWidget* parent) {
  auto* button = new QPushButton(parent);
  button->setAutoDefault(false);
  button->setDefault(false);
  return std::make_unique<ButtonControl>(host, id, button);
}
ViewPtr MakeOption(ControlHost& host, ControlId id, QWidget* parent) {
  auto* option = new OptionButton(parent);
  option->setAutoExclusive(false);
  return std::make_unique<ButtonControl>(host, id, option);
}
ViewPtr MakeImage(ControlHost& host, ControlId id, QWidget* parent) {
  return std::make_unique<ImageControl>(host, id, parent);
}
ViewPtr MakeTimer(ControlHost& host, ControlId id) {
  return std::make_unique<TimerControl>(host, id);
}
ViewPtr MakeUpDown(ControlHost& host, ControlId id, QWidget* parent) {
  return std::make_unique<UpDownControl>(host, id, parent);
}

}  // namespace ketra::window
