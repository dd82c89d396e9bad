// TabView: the tab control's body: the strip at the top, a panel below it drawn with the style's
// tab widget frame, and the page frames standing on the control at their own geometry.
// Does not own the strip (it is a child widget). GUI thread only.
#ifndef KETRA_WINDOW_TAB_VIEW_H_
#define KETRA_WINDOW_TAB_VIEW_H_

#include <QWidget>

namespace ketra::window {

class TabStrip;

class TabView : public QWidget {
 public:
  explicit TabView(QWidget* parent) : QWidget(parent) {}
  void SetStrip(TabStrip* strip) { strip_ = strip; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  TabStrip* strip_ = nullptr;
};
}  // namespace ketra::window

#endif  // KETRA_WINDOW_TAB_VIEW_H_
