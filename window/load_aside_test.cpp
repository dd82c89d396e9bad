// The load on its own thread: its message boxes are shown on the GUI thread, one at a time and
// only while Finish() serves them, the load waits for each to be closed, and what the load
// throws comes out of Finish(); without Finish() the load's boxes are dropped, not waited for.
#include <QCoreApplication>
#include <QtTest>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/forms/form.h"
#include "window/load_aside.h"

namespace ketra::window {
namespace {

// Records each box with the thread that showed it.
class RecordingBoxes : public forms::MessageBoxService {
 public:
  void Show(std::string_view text, forms::MsgBoxStyle) override {
    std::lock_guard lock(mutex);
    shown.emplace_back(text);
    threads.push_back(std::this_thread::get_id());
  }
  std::mutex mutex;
  std::vector<std::string> shown;
  std::vector<std::thread::id> threads;
};

}  // namespace

class LoadAsideTest : public QObject {
  Q_OBJECT

 private slots:
  void BoxesAndEndings_data() {
    QTest::addColumn<int>("boxes");
    QTest::addColumn<bool>("ends_program");
    QTest::newRow("a quiet load") << 0 << false;
    QTest::newRow("one box") << 1 << false;
    QTest::newRow("boxes in turn") << 3 << false;
    QTest::newRow("a box, then the program ends") << 1 << true;
  }

  void BoxesAndEndings() {
    QFETCH(int, boxes);
    QFETCH(bool, ends_program);
    RecordingBoxes shown;
    GuiThreadBoxes gui_boxes(shown);
    std::vector<std::size_t> seen_by_load;  // boxes closed when the load went on
    LoadAside load(gui_boxes, [&] {
      for (int box = 0; box < boxes; ++box) {
        gui_boxes.Show("box " + std::to_string(box), forms::MsgBoxStyle::kInformation);
        std::lock_guard lock(shown.mutex);
        seen_by_load.push_back(shown.shown.size());
      }
      if (ends_program) throw forms::ProgramEnded();
    });
    // Nothing is shown before Finish() serves the boxes.
    QTest::qWait(20);
    {
      std::lock_guard lock(shown.mutex);
      QVERIFY(shown.shown.empty());
    }
    bool ended = false;
    try {
      load.Finish();
    } catch (const forms::ProgramEnded&) {
      ended = true;
    }
    QCOMPARE(ended, ends_program);
    QCOMPARE(static_cast<int>(shown.shown.size()), boxes);
    for (int box = 0; box < boxes; ++box) {
      QCOMPARE(shown.shown[box], "box " + std::to_string(box));
      QVERIFY(shown.threads[box] == std::this_thread::get_id());
      QCOMPARE(seen_by_load[box], static_cast<std::size_t>(box + 1));
    }
    // After the load, a box from the GUI thread itself is shown at once.
    gui_boxes.Show("later", forms::MsgBoxStyle::kInformation);
    QCOMPARE(shown.shown.back(), std::string("later"));
  }

  void ABoxNobodyServesIsDropped() {
    RecordingBoxes shown;
    GuiThreadBoxes gui_boxes(shown);
    bool went_on = false;
    {
      LoadAside load(gui_boxes, [&] {
        gui_boxes.Show("never shown", forms::MsgBoxStyle::kCritical);
        went_on = true;
      });
    }  // no Finish(): the program stopped before Qt ran
    QVERIFY(went_on);
    QVERIFY(shown.shown.empty());
  }
};

}  // namespace ketra::window

QTEST_GUILESS_MAIN(ketra::window::LoadAsideTest)
#include "load_aside_test.moc"
