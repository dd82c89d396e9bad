// The window against a scripted session: the same steps, done once as a user does them in the
// window (mouse clicks, keystrokes, a tab click, a timer's timeout) and once as a ketra-session
// script, must leave the same hive, the same message boxes, the same controls and the same
// program state. Besides, the window is checked to show the engine's state after every step.
#include <QAbstractItemView>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QRadioButton>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTimer>
#include <QToolButton>
#include <QtTest>
#include <algorithm>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "config_appl/app/program_fixture.h"
#include "config_appl/form1/lamp_bitmaps.h"
#include "platform/runtime/codepage.h"
#include "tools/ketra-reg/reg_export.h"
#include "tools/ketra-session/json_dump.h"
#include "tools/ketra-session/session.h"
#include "window/bitmap_image.h"
#include "window/focus_mark_style.h"
#include "window/form_view.h"
#include "window/lamp_pictures.h"
#include "window/qt_message_boxes.h"
#include "window/tab_strip.h"

namespace ketra::window {
namespace {

using session::Json;

// Every key and value of the hive, byte for byte.
std::string DumpHive(registry::Registry& hive) {
  std::string text;
  if (regtext::ExportText(hive, "", &text) != registry::kErrorSuccess) {
    throw std::runtime_error("the hive cannot be read back");
  }
  return text;
}

// What a program ends with: its controls, its state and its port table, as the session dumps
// them.
std::vector<std::string> DumpProgram(const Program& program) {
  std::vector<std::string> lines;
  for (forms::ControlId id = 0; id < program.form().size(); ++id) {
    lines.push_back(session::ControlJson(program.form().at(id)).dump());
  }
  lines.push_back(session::StateJson(program).dump());
  for (int row = 0; row <= program.decl().LastPort; ++row) {
    lines.push_back(session::RowJson(program, row).dump());
  }
  return lines;
}

// A row's steps, "; " between them; "tab*3" is a step done three times.
QStringList Steps(const QString& row) {
  static const QRegularExpression kRepeated(QStringLiteral(R"(^(.+)\*(\d+)$)"));
  QStringList steps;
  for (const QString& step : row.split(QStringLiteral("; "))) {
    const QRegularExpressionMatch repeated = kRepeated.match(step);
    const int times = repeated.hasMatch() ? repeated.captured(2).toInt() : 1;
    for (int i = 0; i < times; ++i) steps << (repeated.hasMatch() ? repeated.captured(1) : step);
  }
  return steps;
}

// One step of a script as the session reads it: "command NAME TEXT", TEXT a JSON string
// (for "key NAME KEY", the key's name).
struct Step {
  std::string command;
  std::string name;
  std::string text;  // UTF-8
};

// A step may name what the window does and what the session does apart:
// "key CMB_PORT Return || focus CMB_PORT".
constexpr std::string_view kApart = " || ";

Step ParseStep(const std::string& whole_line) {
  std::istringstream words(whole_line.substr(0, whole_line.find(kApart)));
  Step step;
  std::string rest;
  words >> step.command >> step.name;
  std::getline(words, rest);
  rest.erase(0, rest.find_first_not_of(' '));
  step.text = step.command == "key" || rest.empty() ? rest : Json::parse(rest).get<std::string>();
  return step;
}

// The session's form of a window step: an access key is a click of its button.
std::string SessionLine(const std::string& line) {
  if (const size_t apart = line.find(kApart); apart != std::string::npos) {
    return line.substr(apart + kApart.size());
  }
  const Step step = ParseStep(line);
  return step.command == "accesskey" ? "click " + step.name : line;
}

// A program on fakes with ports COM3, COM4 and COM5, run by the window.
struct WindowRun {
  WindowRun() {
    fixture.AddPorts(3);
    fixture.Start();
    view = std::make_unique<FormView>(form(), LampPictures(), 96.0);
    view->show();
    view->activateWindow();
    QVERIFY(QTest::qWaitForWindowExposed(view.get()));
  }
  forms::Form& form() { return fixture.p().form(); }
  std::vector<std::string> Boxes() const {
    std::vector<std::string> shown;
    for (const testing::Box& box : fixture.boxes.shown) {
      shown.push_back(session::MsgBoxEvent(box.text, box.style).dump());
    }
    return shown;
  }

  testing::ProgramFixture fixture;
  std::unique_ptr<FormView> view;
};

// The session's run of the same steps on the same ports, with its events and final dumps.
struct SessionRun {
  explicit SessionRun(const QStringList& steps) {
    fixture.AddPorts(3);
    session::Session session({*fixture.memory, fixture.app, fixture.files}, out);
    std::vector<std::string> script = {"start"};
    for (const QString& step : steps) script.push_back(SessionLine(step.toStdString()));
    script.insert(script.end(), {"dump form", "dump state", "dump table"});
    int number = 0;
    for (const std::string& line : script) {
      if (!session.Execute(line, ++number)) break;
    }
    ended = session.ended();
    std::istringstream printed(out.str());
    for (std::string line; std::getline(printed, line);) {
      const Json json = Json::parse(line);
      if (!json.contains("event")) {
        dumps.push_back(json.dump());
      } else if (json["event"] == "msgbox") {
        boxes.push_back(json.dump());
      } else if (json["event"] == "error" || json["event"] == "failure") {
        problems.push_back(line);
      }
    }
  }

  testing::ProgramFixture fixture;  // its hive and surroundings; the session runs the program
  std::ostringstream out;
  bool ended = false;
  std::vector<std::string> boxes;
  std::vector<std::string> problems;
  std::vector<std::string> dumps;
};

// Performs session steps as a user does in the window.
class UserAtWindow {
 public:
  explicit UserAtWindow(WindowRun& run) : run_(run), form_(run.form()) {}

  void Do(const std::string& line) {
    const Step step = ParseStep(line);
    const QString text = QString::fromStdString(step.text);
    if (step.command == "click") {
      QWidget* target = Widget(step.name);
      // An option button takes a click on its round indicator.
      const QPoint point = qobject_cast<QRadioButton*>(target) ? QPoint(7, target->height() / 2)
                                                               : target->rect().center();
      QTest::mouseClick(target, Qt::LeftButton, {}, point);
    } else if (step.command == "accesskey") {
      const QString caption = QString::fromStdString(form_.at(step.name).caption);
      const QChar letter = caption.at(caption.indexOf('&') + 1).toUpper();
      QTest::keyClick(run_.view.get(), static_cast<Qt::Key>(letter.unicode()), Qt::AltModifier);
      QTest::qWait(300);  // the button's animated click
    } else if (step.command == "focus") {
      FocusByMouse(step.name);
    } else if (step.command == "type") {
      FocusIfNeeded(step.name);
      for (const QChar ch : text) Key(Qt::Key_unknown, QString(ch));
    } else if (step.command == "paste") {
      FocusIfNeeded(step.name);
      QGuiApplication::clipboard()->setText(text);
      Key(Qt::Key_V, QString(), Qt::ControlModifier);
    } else if (step.command == "backspace") {
      FocusIfNeeded(step.name);
      Key(Qt::Key_Backspace, QString());
    } else if (step.command == "tab") {
      Key(Qt::Key_Tab, QString());
    } else if (step.command == "backtab") {
      Key(Qt::Key_Backtab, QString(), Qt::ShiftModifier);
    } else if (step.command == "choose") {
      Choose(step.name, text);
    } else if (step.command == "page") {
      TabStrip* tabs = run_.view->tab_strip();
      QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(std::stoi(step.name)).center());
    } else if (step.command == "tick") {
      for (forms::ControlId id = 0; id < form_.size(); ++id) {
        if (QTimer* timer = run_.view->timer(id)) {
          QVERIFY(timer->isActive());
          QMetaObject::invokeMethod(timer, "timeout");
        }
      }
    } else if (step.command == "updown") {
      for (QToolButton* arrow : Widget("UpDown1")->findChildren<QToolButton*>()) {
        if ((arrow->arrowType() == Qt::UpArrow) == (step.name == "up")) {
          QTest::mouseClick(arrow, Qt::LeftButton);
        }
      }
    } else if (step.command == "key") {  // a key pressed with NAME focused (by a click if need be)
      FocusIfNeeded(step.name);
      Key(NamedKey(step.text), QString());
    } else if (step.command == "close") {
      run_.view->close();
    } else {
      QFAIL(("the window cannot do " + line).c_str());
    }
  }

 private:
  QWidget* Widget(const std::string& name) { return run_.view->widget(name); }

  static Qt::Key NamedKey(const std::string& name) {
    const std::pair<const char*, Qt::Key> keys[] = {
        {"Down", Qt::Key_Down},     {"Up", Qt::Key_Up},       {"Left", Qt::Key_Left},
        {"Right", Qt::Key_Right},   {"Space", Qt::Key_Space}, {"Return", Qt::Key_Return},
        {"Escape", Qt::Key_Escape}, {"Home", Qt::Key_Home},   {"End", Qt::Key_End}};
    for (const auto& [text, key] : keys) {
      if (name == text) return key;
    }
    return Qt::Key_unknown;
  }

  // A key goes where the keyboard's focus is, as from a real keyboard.
  void Key(Qt::Key key, const QString& text, Qt::KeyboardModifiers modifiers = {}) {
    QWidget* target = run_.view->focusWidget() ? run_.view->focusWidget() : run_.view.get();
    QTest::sendKeyEvent(QTest::Press, target, key, text, modifiers);
    QTest::sendKeyEvent(QTest::Release, target, key, text, modifiers);
  }

  void FocusByMouse(const std::string& name) {
    if (form_.at(name).kind == forms::Kind::kTab) {  // a click on the tab shown
      TabStrip* tabs = run_.view->tab_strip();
      QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(tabs->currentIndex()).center());
      return;
    }
    QWidget* target = Widget(name);
    QTest::mouseClick(target, Qt::LeftButton, {}, target->rect().center());
    if (auto* combo = qobject_cast<QComboBox*>(target)) combo->hidePopup();
  }

  void FocusIfNeeded(const std::string& name) {
    if (form_.focus() != form_.Find(name)) FocusByMouse(name);
  }

  // Opens the list with the mouse and clicks the entry.
  void Choose(const std::string& name, const QString& entry) {
    auto* combo = qobject_cast<QComboBox*>(Widget(name));
    QVERIFY(combo);
    QTest::mouseClick(combo, Qt::LeftButton, {}, combo->rect().center());
    QAbstractItemView* list = combo->view();
    QTRY_VERIFY(list->isVisible());
    const int index = combo->findText(entry);
    QVERIFY(index >= 0);
    QTest::qWait(QApplication::doubleClickInterval() + 50);
    const QPoint point = list->visualRect(list->model()->index(index, 0)).center();
    QTest::mouseMove(list->viewport(), point);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, point);
    QTRY_VERIFY(!list->isVisible());
  }

  WindowRun& run_;
  const forms::Form& form_;
};

QImage Rgb(const QImage& image) { return image.convertToFormat(QImage::Format_RGB32); }

// The median contrast of the pixels that differ between `plain` and `marked` against their
// neighbours in `marked` that do not differ (the least of them for each pixel); 0 for no mark.
double MedianMarkContrast(const QImage& plain, const QImage& marked) {
  const auto in_mark = [&](int x, int y) { return plain.pixel(x, y) != marked.pixel(x, y); };
  std::vector<double> contrasts;
  for (int y = 0; y < marked.height(); ++y) {
    for (int x = 0; x < marked.width(); ++x) {
      if (!in_mark(x, y)) continue;
      double least = 0;
      for (const auto& [dx, dy] : {std::pair{-1, 0}, {1, 0}, {0, -1}, {0, 1}}) {
        const int nx = x + dx;
        const int ny = y + dy;
        if (nx < 0 || ny < 0 || nx >= marked.width() || ny >= marked.height() || in_mark(nx, ny)) {
          continue;
        }
        const double c = ContrastRatio(marked.pixelColor(x, y), marked.pixelColor(nx, ny));
        least = least == 0 ? c : std::min(least, c);
      }
      if (least > 0) contrasts.push_back(least);
    }
  }
  if (contrasts.empty()) return 0;
  std::nth_element(contrasts.begin(), contrasts.begin() + contrasts.size() / 2, contrasts.end());
  return contrasts[contrasts.size() / 2];
}

// The widgets show what the engine holds.
void ExpectViewShowsEngine(const FormView& view, const forms::Form& form) {
  const PictureSet pictures = LampPictures();
  for (forms::ControlId id = 1; id < form.size(); ++id) {
    const forms::Control& control = form.at(id);
    QWidget* widget = view.widget(id);
    if (!widget) continue;
    const QByteArray what = QByteArray::fromStdString(control.name);
    // A frame's look follows its own flag (FrameBox): Qt never greys what it holds.
    QVERIFY2(widget->isEnabled() == (control.kind == forms::Kind::kFrame || control.enabled), what);
    bool visible = control.visible;
    if (control.tab_page >= 0) visible = visible && form.page() == control.tab_page;
    QVERIFY2(widget->isHidden() != visible, what);
    const QString text = QString::fromStdString(runtime::AnsiToUtf8(control.text));
    switch (control.kind) {
      case forms::Kind::kTextBox: {
        // Only the box with the focus shows its selection.
        auto* edit = qobject_cast<QLineEdit*>(widget);
        QCOMPARE(edit->text(), text);
        const int start = edit->hasSelectedText() ? edit->selectionStart() : edit->cursorPosition();
        QVERIFY2(start == control.sel_start, what);
        const int shown = form.focus() == id ? control.sel_length : 0;
        QVERIFY2(edit->selectionLength() == shown, what);
        break;
      }
      case forms::Kind::kOption:
        QVERIFY2(qobject_cast<QRadioButton*>(widget)->isChecked() == control.value, what);
        break;
      case forms::Kind::kComboBox: {
        auto* combo = qobject_cast<QComboBox*>(widget);
        QCOMPARE(combo->currentIndex(), control.list_index);
        QCOMPARE(combo->count(), static_cast<int>(control.items.size()));
        if (control.list_index >= 0) QCOMPARE(combo->currentText(), text);
        break;
      }
      case forms::Kind::kImage: {
        const QImage shown = qobject_cast<QLabel*>(widget)->pixmap().toImage();
        QVERIFY2(Rgb(shown) == Rgb(pictures.at(static_cast<size_t>(control.picture))), what);
        break;
      }
      default:
        break;
    }
  }
  QCOMPARE(view.tab_strip()->currentIndex(), form.page());
  if (form.focus() != forms::kNoControl) {
    const bool on_tab = form.at(form.focus()).kind == forms::Kind::kTab;
    QWidget* expected = on_tab ? view.tab_strip() : view.widget(form.focus());
    QVERIFY2(view.focusWidget() == expected, form.at(form.focus()).name.c_str());
  }
}

// A row of the comparison with the session: its steps, the texts of the message boxes the
// session shows for them, and pieces that its dumps must hold at the end, so that the row proves
// it reaches what it names.
struct SessionRow {
  const char* name;
  const char* steps;
  QStringList boxes;
  QStringList facts;
};

// What the engine makes of the steps is the session scripts' to check: each row takes its own
// way through the window (mouse, keyboard, message boxes, pages, timers, the end).
const SessionRow kSessionRows[] = {
    {"choose a port, edit, apply",
     R"(choose CMB_PORT "COM4"; type TXT_LOCPORT "3010"; click CMD_APPLY)",
     {},
     {R"("RemotePort":"3004","LocalPort":"3010")"}},
    {"numeric guard, backspace, paste",
     R"(type TXT_UDP "3a"; type TXT_UDP "45"; backspace TXT_UDP; paste TXT_UDP "9e9"; )"
     R"(click CMD_APPLY)",
     {},
     {R"("control":"TXT_UDP","kind":"textbox","text":"49e9")"}},
    {"bound guard on leaving, then a refused apply",
     R"(type TXT_IP1 "256"; tab; click CMD_APPLY)",
     {"Invalid Ip Address", "IP Address invalid"},
     {}},
    // Disable takes the flow frame out of reach, with the look of what it holds unchanged.
    {"a disabled port keeps its fields out of reach",
     R"(click OPT_DSB; type TXT_LOCPORT "1"; click OPT_SWF; click OPT_ENB; type TXT_XON "q"; )"
     R"(click CMD_APPLY)",
     {},
     {R"("control":"TXT_XON","kind":"textbox","text":"q")"}},
    {"status page: arrows, refresh, ticks",
     "page 1; updown up; click Command3; tick; updown up; updown down*2; tick; page 0; tab*2",
     {},
     {R"({"control":"VSP1Picture","kind":"image","picture":"red"})",
      R"({"control":"VSP3Picture","kind":"image","picture":"grey"})",
      R"({"control":"Interval_Time","kind":"textbox","text":" 0")"}},
    {"actions on the page not shown are refused",
     R"(type Interval_Time "5"; page 1; click CMD_APPLY; updown up; page 0; updown down; )"
     R"(click Command3)",
     {},
     {R"({"control":"Interval_Time","kind":"textbox","text":" 1")"}},
    {"access key of Apply",
     R"(type TXT_LOCPORT "3011"; accesskey CMD_APPLY)",
     {},
     {R"("RemotePort":"3003","LocalPort":"3011")"}},
    {"Windows-1252 texts",
     R"(click OPT_SWF; type TXT_XON "é"; paste TXT_XOFF "€"; click CMD_APPLY)",
     {},
     {R"("RemotePort":"3003","LocalPort":"3000","FlowControl":"1","XON":233,"XOFF":128)"}},
    // Choose COM4, reach the flow group by Tab, select software flow with Down, type the codes,
    // reach Apply and press it with Space: the keyboard alone.
    {"keyboard only: software flow for COM4",
     R"(backtab*4; key CMB_PORT Down; tab*10; key OPT_HWF Down; tab; type TXT_XON "&H11"; tab; )"
     R"(type TXT_XOFF "&H13"; tab*10; key CMD_APPLY Space)",
     {},
     {R"("RemotePort":"3004","LocalPort":"3001","FlowControl":"1","XON":17,"XOFF":19)"}},
    {"shift+tab through the whole order and back", "backtab*12; tab*12", {}, {}},
    {"keys: list arrows, page arrows, space, enter, escape, home, end",
     "key CMB_PORT Down*2; key CMB_PORT Up; key CMB_PORT Return || focus CMB_PORT; "
     "key CMB_PORT Escape || focus CMB_PORT; key OPT_DSB Space; key OPT_DSB Left; "
     "key TXT_LOCPORT End; key TXT_LOCPORT Left; key TXT_LOCPORT Space; tab*12; "
     "key SSTab1 Right; tab*3; key UpDown1 Up; key SSTab1 Home",
     {},
     {R"({"control":"CMB_PORT","kind":"combobox","text":"COM4",)"
      R"("items":["COM3","COM4","COM5"],"index":1)"}},
    {"OK saves and ends", R"(type TXT_LOCPORT "4000"; click Command1)", {}, {}},
    {"closing ends without a save", R"(type TXT_LOCPORT "4000"; close)", {}, {}},
};

}  // namespace

class FormViewTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    QApplication::setStyle(QStringLiteral("Fusion"));
    InstallFocusMarks();
  }

  void behavesLikeSession_data() {
    QTest::addColumn<int>("row");
    for (int row = 0; row < static_cast<int>(std::size(kSessionRows)); ++row) {
      QTest::newRow(kSessionRows[row].name) << row;
    }
  }

  void behavesLikeSession() {
    QFETCH(int, row);
    const SessionRow& expected_row = kSessionRows[row];
    const QStringList steps = Steps(QString::fromUtf8(expected_row.steps));
    const SessionRun expected(steps);
    QVERIFY2(expected.problems.empty(),
             expected.problems.empty() ? "" : expected.problems[0].c_str());
    QStringList shown;
    for (const std::string& box : expected.boxes) {
      shown << QString::fromStdString(Json::parse(box)["text"].get<std::string>());
    }
    QCOMPARE(shown, expected_row.boxes);
    for (const QString& fact : expected_row.facts) {
      const auto holds = [&](const std::string& dump) {
        return dump.find(fact.toStdString()) != std::string::npos;
      };
      QVERIFY2(std::any_of(expected.dumps.begin(), expected.dumps.end(), holds), qPrintable(fact));
    }

    WindowRun run;
    UserAtWindow user(run);
    for (const QString& step : steps) {
      user.Do(step.toStdString());
      if (QTest::currentTestFailed()) return;
      if (run.view->program_ended()) break;
      const std::vector<std::string> before = DumpProgram(run.fixture.p());
      QTest::qWait(1);  // nothing the window did may come back later as a user action
      QCOMPARE(DumpProgram(run.fixture.p()), before);
      ExpectViewShowsEngine(*run.view, run.form());
      if (QTest::currentTestFailed()) {
        qWarning("after step %s", qPrintable(step));
        return;
      }
    }

    QCOMPARE(run.view->program_ended(), expected.ended);
    QCOMPARE(run.Boxes(), expected.boxes);
    QCOMPARE(DumpHive(*run.fixture.memory), DumpHive(*expected.fixture.memory));
    if (!expected.ended) {
      const std::vector<std::string> shown_dumps = DumpProgram(run.fixture.p());
      for (size_t i = 0; i < shown_dumps.size() && i < expected.dumps.size(); ++i) {
        QCOMPARE(QString::fromStdString(shown_dumps[i]), QString::fromStdString(expected.dumps[i]));
      }
      QCOMPARE(shown_dumps.size(), expected.dumps.size());
    }
  }

  // Every stop in the tab order shows a focus mark with at least 3:1 contrast against what
  // surrounds it, in the default palette and a dark one: the mark is the pixels that change when
  // the control takes the focus, and each of its pixels is compared with its neighbours outside
  // the mark; a control's figure is the median. That a box shows its selection only with the
  // focus is checked after every step of the rows above.
  void everyFocusMarkStandsOut_data() {
    QTest::addColumn<QPalette>("palette");
    QTest::newRow("default") << QApplication::style()->standardPalette();
    QPalette dark;
    for (const auto& [role, colour] : {std::pair{QPalette::Window, 0x353535},
                                       {QPalette::WindowText, 0xffffff},
                                       {QPalette::Base, 0x232323},
                                       {QPalette::Text, 0xffffff},
                                       {QPalette::Button, 0x353535},
                                       {QPalette::ButtonText, 0xffffff},
                                       {QPalette::Highlight, 0x2a82da},
                                       {QPalette::HighlightedText, 0xffffff}}) {
      dark.setColor(role, QColor::fromRgb(static_cast<QRgb>(colour)));
    }
    QTest::newRow("dark") << dark;
  }

  void everyFocusMarkStandsOut() {
    QFETCH(QPalette, palette);
    QApplication::setPalette(palette);
    const auto restore = qScopeGuard([] { QApplication::setPalette(QPalette()); });
    WindowRun run;
    QVERIFY(QTest::qWaitForWindowActive(run.view.get()));  // only an active window has a focus
    UserAtWindow user(run);
    forms::Form& form = run.form();
    // The control and a few pixels around it, in the window.
    const auto area = [&](forms::ControlId id) {
      QWidget* shown =
          form.at(id).kind == forms::Kind::kTab ? run.view->tab_strip() : run.view->widget(id);
      return QRect(shown->mapTo(run.view.get(), QPoint(-3, -3)), shown->size() + QSize(6, 6));
    };
    const auto look = [&](forms::ControlId id) {
      return run.view->grab(area(id)).toImage().convertToFormat(QImage::Format_RGB32);
    };
    QStringList figures;
    QStringList faint;
    for (const int page : {0, 1}) {
      user.Do("page " + std::to_string(page));
      std::vector<forms::ControlId> stops;
      for (user.Do("tab"); stops.empty() || form.focus() != stops.front(); user.Do("tab")) {
        stops.push_back(form.focus());
      }
      QVERIFY(stops.size() >= 3);
      for (const forms::ControlId id : stops) {
        // The engine's own focus moves (a click would press the buttons), first to a control
        // whose mark stands away from this one.
        const auto away = std::find_if(stops.begin(), stops.end(), [&](forms::ControlId other) {
          return !area(other).intersects(area(id));
        });
        QVERIFY(away != stops.end());
        form.Focus(*away);
        const QImage plain = look(id);
        form.Focus(id);
        const QImage marked = look(id);
        const double contrast = MedianMarkContrast(plain, marked);
        figures << QStringLiteral("%1 %2")
                       .arg(QString::fromStdString(form.at(id).name))
                       .arg(contrast, 0, 'f', 1);
        if (contrast < 3.0) faint << figures.back();
      }
    }
    qInfo("focus mark contrast: %s", qPrintable(figures.join(QStringLiteral(", "))));
    QVERIFY2(faint.empty(), qPrintable(faint.join(QStringLiteral(", "))));
  }

  // Every control at its geometry in its container (the form at its size); images the size of
  // their picture whatever the geometry; the lamps and the window's reader of their files.
  void standsAsLaidOut() {
    WindowRun run;
    const forms::Form& form = run.form();
    for (forms::ControlId id = 0; id < form.size(); ++id) {
      const forms::Control& control = form.at(id);
      QWidget* widget = id == 0 ? run.view.get() : run.view->widget(id);
      if (control.kind == forms::Kind::kTimer) {
        QVERIFY(!widget);
        QCOMPARE(run.view->timer(id)->interval(), control.interval);
        continue;
      }
      QVERIFY2(widget, control.name.c_str());
      const QRect pixels(QPoint(TwipsToPixels(control.left, 96), TwipsToPixels(control.top, 96)),
                         QPoint(TwipsToPixels(control.left + control.width, 96) - 1,
                                TwipsToPixels(control.top + control.height, 96) - 1));
      if (id == 0) {
        QCOMPARE(widget->size(), pixels.size());
        continue;
      }
      const QWidget* parent =
          control.container == 0 ? run.view.get() : run.view->widget(control.container);
      QVERIFY2(widget->parentWidget() == parent, control.name.c_str());
      QCOMPARE(widget->pos(), pixels.topLeft());
      QCOMPARE(widget->size(), control.kind == forms::Kind::kImage ? QSize(19, 22) : pixels.size());
    }

    // Each lamp as Qt reads its file: a disc of its own fill in a black outline, 19 by 22 on the
    // window's grey; the window's own reader of the pictures gives the same.
    const QColor black(0, 0, 0), grey(228, 227, 226);
    for (const auto& [picture, fill] : {std::pair{forms::Picture::kGreen, QColor(0, 255, 128)},
                                        {forms::Picture::kRed, QColor(255, 0, 0)},
                                        {forms::Picture::kGrey, QColor(200, 200, 200)}}) {
      const std::vector<std::uint8_t> file = LampBitmap(picture);
      const QImage lamp = QImage::fromData(file.data(), static_cast<int>(file.size()), "BMP");
      QCOMPARE(lamp.size(), QSize(19, 22));
      QCOMPARE(Rgb(BitmapImage(file)), Rgb(lamp));
      QRect outline;
      int filled = 0;
      for (int y = 0; y < lamp.height(); ++y) {
        for (int x = 0; x < lamp.width(); ++x) {
          const QColor pixel = lamp.pixelColor(x, y);
          QVERIFY(pixel == black || pixel == grey || pixel == fill);
          if (pixel == black) outline |= QRect(x, y, 1, 1);
          if (pixel != fill) continue;
          ++filled;
          for (const QPoint next :
               {QPoint(x + 1, y), QPoint(x - 1, y), QPoint(x, y + 1), QPoint(x, y - 1)}) {
            QVERIFY(lamp.pixelColor(next) != grey);  // the outline closes the fill in
          }
        }
      }
      QCOMPARE(outline, QRect(QPoint(1, 3), QPoint(16, 18)));
      QVERIFY(filled > 150 && lamp.pixelColor(8, 10) == fill);
      for (const QPoint corner :
           {outline.topLeft(), outline.topRight(), outline.bottomLeft(), outline.bottomRight()}) {
        QCOMPARE(lamp.pixelColor(corner), grey);  // round
      }
    }
    QVERIFY(LampBitmap(forms::Picture::kNone).empty());
  }

  // No option's caption is cut, whatever the font (the suite runs this also with DejaVu alone).
  void everyOptionShowsItsWholeCaption() {
    WindowRun run;
    for (forms::ControlId id = 1; id < run.form().size(); ++id) {
      if (run.form().at(id).kind != forms::Kind::kOption) continue;
      QWidget* option = run.view->widget(id);
      QVERIFY2(option->sizeHint().width() <= option->width(), run.form().at(id).name.c_str());
    }
  }

  // Caret keys, Delete and the clipboard keys have no session command; they reach the engine as
  // its selection and as Backspace and Paste.
  void keysInATextBoxGoThroughTheEngine() {
    WindowRun run;
    UserAtWindow user(run);
    const forms::Control& box = run.form().at("TXT_LOCPORT");
    auto* edit = qobject_cast<QLineEdit*>(run.view->widget("TXT_LOCPORT"));
    // A key (with its text when it is no key of Qt's) and the box it leaves in the engine.
    const auto press = [&](Qt::Key key, Qt::KeyboardModifiers modifiers, const std::string& text,
                           int start, int length, const QString& typed = {}) {
      if (QTest::currentTestFailed()) return;  // the first difference says enough
      QTest::sendKeyEvent(QTest::Press, edit, key, typed, modifiers);
      QTest::sendKeyEvent(QTest::Release, edit, key, typed, modifiers);
      QCOMPARE(box.text, text);
      QCOMPARE(box.sel_start, start);
      QCOMPARE(box.sel_length, length);
    };
    const Qt::KeyboardModifiers none, control = Qt::ControlModifier;
    user.Do(R"(type TXT_LOCPORT "123")");
    press(Qt::Key_Left, none, "123", 2, 0);
    press(Qt::Key_Left, none, "123", 1, 0);
    press(Qt::Key_Delete, none, "13", 1, 0);  // the 2 after the caret
    press(Qt::Key_End, Qt::ShiftModifier, "13", 1, 1);
    press(Qt::Key_9, none, "19", 2, 0, "9");  // replaces the selection
    press(Qt::Key_A, control, "19", 0, 2);
    press(Qt::Key_C, control, "19", 0, 2);
    QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("19"));
    press(Qt::Key_X, control, "", 0, 0);
    QGuiApplication::clipboard()->setText(QStringLiteral("4567\n89"));
    press(Qt::Key_V, control, "4567", 4, 0);  // the first line, cut to the limit of 4
    press(Qt::Key_Z, control, "4567", 4, 0);  // no undo behind the engine's back
    QTest::mouseClick(edit, Qt::LeftButton, {}, QPoint(2, edit->height() / 2));
    QCOMPARE(box.sel_start, 0);
    press(Qt::Key_5, none, "4567", 0, 0, "5");  // a fifth character passes the limit: dropped
    press(Qt::Key_A, control, "4567", 0, 4);
    // Not in Windows-1252: it comes in as '?', which the numeric guard empties.
    press(Qt::Key_unknown, none, "", 0, 0, QStringLiteral("\u2192"));
    ExpectViewShowsEngine(*run.view, run.form());
  }

  void messageBoxIsModalWithTheIconOfItsStyle() {
    const std::pair<forms::MsgBoxStyle, QMessageBox::Icon> styles[] = {
        {forms::MsgBoxStyle::kPlain, QMessageBox::NoIcon},
        {forms::MsgBoxStyle::kInformation, QMessageBox::Information},
        {forms::MsgBoxStyle::kExclamation, QMessageBox::Warning},
        {forms::MsgBoxStyle::kCritical, QMessageBox::Critical}};
    for (const auto& [style, icon] : styles) {
      QtMessageBoxes boxes;
      bool seen = false;
      QTimer::singleShot(0, [&, icon = icon] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        QVERIFY(box);
        seen = true;
        QCOMPARE(box->icon(), icon);
        QCOMPARE(box->windowTitle(), QString());
        QCOMPARE(box->text(), QStringLiteral("Caf\u00e9 \u20ac <b>"));
        QCOMPARE(box->textFormat(), Qt::PlainText);
        QCOMPARE(box->standardButtons(), QMessageBox::StandardButtons(QMessageBox::Ok));
        QCOMPARE(box->windowModality(), Qt::ApplicationModal);
        box->button(QMessageBox::Ok)->click();
      });
      boxes.Show("Caf\xE9 \x80 <b>", style);
      QVERIFY(seen);
    }
  }
};

}  // namespace ketra::window

QTEST_MAIN(ketra::window::FormViewTest)
#include "form_view_test.moc"
