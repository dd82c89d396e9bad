// The tab control's panel, drawn with the style's tab widget frame under the strip.
#include "window/tab_view.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionTabWidgetFrame>
#include <QTabBar>

#include "window/tab_strip.h"

namespace ketra::window {

void TabView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  QStyleOptionTabWidgetFrame option;
  option.initFrom(this);
  const int top = strip_ ? strip_->height() - 1 : 0;
  option.rect = QRect(0, top, width(), height() - top);
  option.shape = QTabBar::RoundedNorth;
  option.tabBarSize = strip_ ? strip_->size() : QSize();
  option.selectedTabRect = strip_ ? strip_->tabRect(strip_->currentIndex()) : QRect();
  option.lineWidth = style()->pixelMetric(QStyle::PM_DefaultFrameWidth, nullptr, this);
  style()->drawPrimitive(QStyle::PE_FrameTabWidget, &option, &painter, this);
}

}  // namespace ketra::window
