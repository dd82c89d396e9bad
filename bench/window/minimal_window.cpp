// The yardsticks of the window's start-up benchmark: a Qt application that shows one empty form
// of the panel's client size, with the same style, and reports its first frame the same way.
// With --label the form shows one line of text: any window that draws text first pays for
// Qt's font database, so that is the fair yardstick for a window of captions.
//
//   minimal_window [--label] [--exit-after-first-frame]
#include <QApplication>
#include <QLabel>
#include <QStyleFactory>
#include <QTimer>
#include <QWidget>
#include <cstring>

#include "window/first_frame.h"

namespace {

class EmptyForm : public QWidget {
 public:
  explicit EmptyForm(bool exit_after_first_frame) : exit_(exit_after_first_frame) {}

 protected:
  void paintEvent(QPaintEvent* event) override {
    QWidget::paintEvent(event);
    if (painted_) return;
    painted_ = true;
    if (!exit_) return;
    QTimer::singleShot(0, this, [] {
      ketra::window::PrintFirstFrame();
      QCoreApplication::exit(0);
    });
  }

 private:
  bool exit_;
  bool painted_ = false;
};

}  // namespace

int main(int argc, char** argv) {
  bool exit_after_first_frame = false;
  bool label = false;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--exit-after-first-frame") == 0) exit_after_first_frame = true;
    if (std::strcmp(argv[i], "--label") == 0) label = true;
  }
  QApplication app(argc, argv);
  QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  EmptyForm form(exit_after_first_frame);
  form.setWindowTitle(QStringLiteral("Form1"));
  form.setFixedSize(402, 589);  // the panel's client area at 96 DPI
  if (label) {
    auto* text = new QLabel(QStringLiteral("Config"), &form);
    text->move(8, 8);
  }
  form.show();
  return QApplication::exec();
}
