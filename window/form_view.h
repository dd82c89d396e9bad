// FormView: the Qt window of a headless form. It builds one widget for each control of the form
// at the control's geometry (twips turned into pixels by the screen's logical DPI), through the
// ControlView of the control's kind (control_view.h), which knows that kind's widget. It shows
// every property the engine changes at once through the form's observer, and turns each user input
// into the engine's user operation (Focus, Click, Choose, Type, Paste, Backspace, Tab, ShowPage,
// Tick, UpClick, DownClick, Close), the same operations a scripted session performs. Qt never
// changes a control's state on its own: the widgets only ever show what the engine holds.
//
// Feedback is cut both ways: while an engine change is applied to a widget, its signals are
// blocked and the applying flag is up, so nothing applied returns as a user action; user input
// only reaches the engine through the operations, never through a widget's changed state.
//
// Does not own the form; the form must outlive the view. Runs on the GUI thread only.
#ifndef KETRA_WINDOW_FORM_VIEW_H_
#define KETRA_WINDOW_FORM_VIEW_H_

#include <QImage>
#include <QPixmap>
#include <QStringList>
#include <QWidget>
#include <array>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/forms/form.h"
#include "platform/forms/user_actions.h"
#include "window/control_view.h"

class QTimer;

namespace ketra::window {

class TabStrip;

// `wanted`, a font's families in order of preference, cut to start at the family Qt takes from
// it: a missing family at the head of the list costs Qt a search of the font configuration for
// its substitutes (an eighth of the window's build here) before it tries the next one. Without
// an installed family behind the missing ones the list stays whole.
QStringList FromFirstInstalled(const QStringList& wanted);

// Twips (1,440 to the inch) to pixels at `dpi` logical dots per inch.
int TwipsToPixels(int twips, double dpi);

// The picture an image control shows for each forms::Picture, indexed by its value; the
// picture of kNone stays empty.
using PictureSet = std::array<QImage, 4>;

class FormView : public QWidget, private ControlHost {
  Q_OBJECT

 public:
  // `pictures` are copied. `dpi` of 0 takes the logical DPI of the primary screen.
  FormView(forms::Form& form, const PictureSet& pictures, double dpi = 0,
           QWidget* parent = nullptr);
  ~FormView() override;

  // The widget that stands for a control; nullptr for the form itself and for timers.
  QWidget* widget(forms::ControlId id) const;
  QWidget* widget(std::string_view name) const { return widget(form_.Id(name)); }
  // The timer of a timer control; nullptr for other kinds.
  QTimer* timer(forms::ControlId id) const;
  // The tab strip of the form's tab control; nullptr when it has none.
  TabStrip* tab_strip() const { return tab_strip_; }
  double dpi() const { return dpi_; }
  bool program_ended() const { return actions_.ended(); }

  // The user shows a page of the tab control, as a click on its tab does.
  void ShowPageAsUser(int page);
  // The user presses a key on a control, as from the keyboard.
  void PressAsUser(forms::ControlId id, forms::Key key);

 signals:
  // The program ended: the form was unloaded. The window has hidden itself.
  void programEnded();
  // The window's first frame has been painted.
  void firstFrameShown();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  bool focusNextPrevChild(bool next) override;
  void closeEvent(QCloseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  // ControlHost: what the controls' views use.
  forms::Form& form() override { return form_; }
  void Perform(const std::function<void()>& operation) override;
  bool Listening() const override { return !applying_ && !actions_.ended(); }
  void Tick(forms::ControlId timer) override;
  void Reapply(forms::ControlId id) override { Apply(id); }
  int Px(int twips) const override { return TwipsToPixels(twips, dpi_); }
  QRect GeometryOf(const forms::Control& control) const override;
  const QPixmap& Picture(forms::Picture picture) const override {
    return pictures_.at(static_cast<size_t>(picture));
  }

  ControlView* view(forms::ControlId id) const { return views_.at(static_cast<size_t>(id)).get(); }
  void Build();
  QWidget* ParentFor(const forms::Control& control) const;
  QString LabelCaption(const forms::Control& control) const;  // without its access-key mark
  void End();

  // Engine to widget.
  void Apply(forms::ControlId id);
  void ApplyAll();
  void ApplyFocus();

  // Widget to engine: the control whose widget holds `object`.
  forms::ControlId ControlOf(QObject* object) const;

  forms::Form& form_;
  double dpi_;
  std::vector<std::unique_ptr<ControlView>> views_;  // by ControlId; none for the form
  TabStrip* tab_strip_ = nullptr;
  bool applying_ = false;  // an engine change is being put on a widget
  bool painted_ = false;
  std::array<QPixmap, 4> pictures_;  // by forms::Picture
  forms::UserActions actions_;       // one at a time, ticks held while a box is open
};

}  // namespace ketra::window

#endif  // KETRA_WINDOW_FORM_VIEW_H_
