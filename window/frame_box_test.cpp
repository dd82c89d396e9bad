// The frame's etched outline, drawn from filled spans, must cover exactly the pixels that the
// painter's own one-pixel rectangles cover, at any size.
#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QStyleFactory>
#include <QtTest>

#include "window/frame_box.h"

namespace ketra::window {
namespace {

// The frame as the painter would draw it with QPainter::drawRect.
QImage ReferenceOutline(const QWidget& frame) {
  QImage image(frame.size(), QImage::Format_ARGB32_Premultiplied);
  image.fill(frame.palette().color(QPalette::Window));
  QPainter painter(&image);
  const QRect edge = frame.rect().adjusted(0, 0, -2, -2);
  painter.setPen(frame.palette().color(QPalette::Dark));
  painter.drawRect(edge);
  painter.setPen(frame.palette().color(QPalette::Light));
  painter.drawRect(edge.translated(1, 1));
  return image;
}

QImage Drawn(QWidget& frame) {
  QImage image(frame.size(), QImage::Format_ARGB32_Premultiplied);
  image.fill(frame.palette().color(QPalette::Window));
  frame.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
  return image;
}

}  // namespace

class FrameBoxTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() { QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion"))); }

  void OutlineMatchesThePaintersRectangles_data() {
    QTest::addColumn<QSize>("size");
    QTest::newRow("the panel's frame") << QSize(289, 123);
    QTest::newRow("square") << QSize(40, 40);
    QTest::newRow("one row taller than the edges") << QSize(10, 4);
    QTest::newRow("as small as both outlines") << QSize(3, 3);
  }

  void OutlineMatchesThePaintersRectangles() {
    QFETCH(QSize, size);
    FrameBox frame;  // no caption: the outline alone
    frame.setAutoFillBackground(false);
    frame.resize(size);
    QCOMPARE(Drawn(frame), ReferenceOutline(frame));
  }
};

}  // namespace ketra::window

QTEST_MAIN(ketra::window::FrameBoxTest)
#include "frame_box_test.moc"
