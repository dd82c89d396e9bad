// The tab strip, drawn tab by tab with the style's CE_TabBarTab.
#include "window/tab_strip.h"

#include <QMetaObject>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>
#include <QStyleOptionTab>
#include <algorithm>

#include "window/accessibility.h"

namespace ketra::window {

TabStrip::TabStrip(const QStringList& captions, int row_width, int tabs_per_row, QWidget* parent)
    : QWidget(parent), captions_(captions) {
  setAttribute(Qt::WA_OpaquePaintEvent, false);
  const int share = tabs_per_row > 0 ? row_width / tabs_per_row : row_width;
  const int padding = style()->pixelMetric(QStyle::PM_TabBarTabHSpace, nullptr, this);
  int widest = 0;
  for (const QString& caption : captions_) {
    widest = std::max(widest, fontMetrics().horizontalAdvance(caption) + padding);
  }
  tab_width_ = std::max(share, widest);
}

QSize TabStrip::sizeHint() const {
  const int height =
      fontMetrics().height() + style()->pixelMetric(QStyle::PM_TabBarTabVSpace, nullptr, this);
  return {tab_width_ * count(), height};
}

QRect TabStrip::tabRect(int index) const { return {index * tab_width_, 0, tab_width_, height()}; }

void TabStrip::setCurrentIndex(int index) {
  if (current_ == index) return;
  current_ = index;
  update();
  AnnounceShownTab(this);
}

void TabStrip::focusInEvent(QFocusEvent*) {
  update();
  // Once Qt has told of the strip's own focus, which comes after this event: told before it,
  // the tab was the strip's news and a screen reader read "Pages page tab list" alone.
  QMetaObject::invokeMethod(
      this, [this] { AnnounceShownTab(this); }, Qt::QueuedConnection);
}

int TabStrip::tabAt(const QPoint& point) const {
  for (int index = 0; index < count(); ++index) {
    if (tabRect(index).contains(point)) return index;
  }
  return -1;
}

void TabStrip::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  // The tab shown is drawn last, over its neighbours, as the style expects.
  const auto draw = [&](int index) {
    QStyleOptionTab option;
    option.initFrom(this);
    option.rect = tabRect(index);
    option.text = captions_.at(index);
    option.shape = QTabBar::RoundedNorth;
    option.row = 0;
    option.position = count() == 1           ? QStyleOptionTab::OnlyOneTab
                      : index == 0           ? QStyleOptionTab::Beginning
                      : index == count() - 1 ? QStyleOptionTab::End
                                             : QStyleOptionTab::Middle;
    option.selectedPosition = current_ == index - 1   ? QStyleOptionTab::PreviousIsSelected
                              : current_ == index + 1 ? QStyleOptionTab::NextIsSelected
                                                      : QStyleOptionTab::NotAdjacent;
    option.state &= ~QStyle::State_HasFocus;
    if (index == current_) {
      option.state |= QStyle::State_Selected;
      if (hasFocus()) option.state |= QStyle::State_HasFocus;
    }
    style()->drawControl(QStyle::CE_TabBarTab, &option, &painter, this);
  };
  for (int index = 0; index < count(); ++index) {
    if (index != current_) draw(index);
  }
  if (current_ < 0 || current_ >= count()) return;
  draw(current_);
  // The focus frame inside the tab shown, as a tab bar draws it.
  if (hasFocus()) {
    QStyleOptionFocusRect focus;
    focus.initFrom(this);
    focus.rect = tabRect(current_).adjusted(3, 3, -3, -1);
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, this);
  }
}

void TabStrip::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  const int index = tabAt(event->position().toPoint());
  if (index >= 0 && on_tab_clicked) on_tab_clicked(index);
}

}  // namespace ketra::window
