// The window's look stays what Qt would draw while the window does less for it: the frame's
// etched outline, drawn from filled spans, covers exactly the pixels of the painter's own
// one-pixel rectangles, and the window's font list, cut to its first installed family, gives
// the font that the whole list gives.
#include <QApplication>
#include <QFontDatabase>
#include <QFontInfo>
#include <QImage>
#include <QPainter>
#include <QStyleFactory>
#include <QtTest>

#include "window/form_view.h"
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

class LookTest : public QObject {
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

  void FontFromTheFirstInstalledFamilyIsTheWholeListsFont_data() {
    QTest::addColumn<QStringList>("wanted");
    // Real families of this machine, and Qt's generic names, which its database lists too.
    QStringList real;
    for (const QString& family : QFontDatabase::families()) {
      if (!QStringList{"Serif", "Sans Serif", "Monospace"}.contains(family)) real << family;
    }
    QVERIFY2(real.size() >= 2, "the test needs two installed font families");
    const QString a = real.front();
    const QString b = real.back();
    const QString missing = QStringLiteral("No Such Family Anywhere");
    QTest::newRow("missing families ahead") << QStringList{missing, missing + " 2", b, a};
    QTest::newRow("installed first") << QStringList{a, missing, b};
    QTest::newRow("other letter case") << QStringList{missing, b.toUpper(), a};
    QTest::newRow("none installed") << QStringList{missing, missing + " 2"};
    QTest::newRow("generic name behind a missing one") << QStringList{missing, "Monospace", b};
    QTest::newRow("generic name first") << QStringList{"Monospace", a};
    QTest::newRow("generic name last") << QStringList{missing, "Monospace"};
    QTest::newRow("the window's list") << QStringList{
        "Microsoft Sans Serif", "MS Sans Serif", "Arial", "Liberation Sans", "Helvetica",
        "Nimbus Sans",          "Sans Serif"};
  }

  void FontFromTheFirstInstalledFamilyIsTheWholeListsFont() {
    QFETCH(QStringList, wanted);
    QFont whole;
    whole.setFamilies(wanted);
    whole.setPointSizeF(7.5);
    QFont cut = whole;
    cut.setFamilies(FromFirstInstalled(wanted));
    QCOMPARE(QFontInfo(cut).family(), QFontInfo(whole).family());
    QCOMPARE(QFontInfo(cut).pixelSize(), QFontInfo(whole).pixelSize());
  }
};

}  // namespace ketra::window

QTEST_MAIN(ketra::window::LookTest)
#include "look_test.moc"
