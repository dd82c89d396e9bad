// The window against a scripted session: the same steps, done once as a user does them in the
// window (mouse clicks, keystrokes, a tab click, a timer's timeout) and once as a ketra-session
// script, must leave the same hive, the same message boxes, the same controls and the same
// program state. Besides, the window is checked to show the engine's state after every step,
// and to stand as the layout table says.
#include <QAbstractItemView>
#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QRadioButton>
#include <QTimer>
#include <QToolButton>
#include <QtTest>
#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "config_appl/form/form1_layout.h"
#include "config_appl/form/lamp_bitmaps.h"
#include "config_appl/model/program.h"
#include "platform/device/scripted_device.h"
#include "platform/registry/memory_registry.h"
#include "platform/runtime/codepage.h"
#include "platform/runtime/text_file.h"
#include "tools/ketra-session/json_dump.h"
#include "tools/ketra-session/session.h"
#include "window/app_icon.h"
#include "window/bitmap_image.h"
#include "window/form_view.h"
#include "window/lamp_pictures.h"
#include "window/qt_message_boxes.h"
#include "window/tab_strip.h"

namespace ketra::window {
namespace {

using session::Json;

class RecordingBoxes : public forms::MessageBoxService {
 public:
  void Show(std::string_view text, forms::MsgBoxStyle style) override {
    shown.push_back(session::MsgBoxEvent(text, style).dump());
  }
  std::vector<std::string> shown;
};

class FixedApp : public forms::AppServices {
 public:
  std::string Path() const override { return "/opt/ketra"; }
  bool PrevInstance() override { return false; }
};

// The serial device map of a machine with ports COM3, COM4 and COM5.
std::unique_ptr<registry::Registry> HiveWithPorts() {
  std::unique_ptr<registry::Registry> hive = registry::MakeMemoryRegistry();
  registry::HKey key = 0;
  std::uint32_t disposition = 0;
  hive->CreateKeyEx(registry::kHKeyLocalMachine, "HARDWARE\\DEVICEMAP\\SERIALCOMM", 0,
                    registry::kKeyWrite, &key, &disposition);
  for (int device = 0; device < 3; ++device) {
    const std::string name = "\\Device\\TesSerial" + std::to_string(device);
    const std::string data = "COM" + std::to_string(3 + device) + std::string(1, '\0');
    hive->SetValueEx(key, name, registry::kRegSz,
                     reinterpret_cast<const std::uint8_t*>(data.data()),
                     static_cast<std::uint32_t>(data.size()));
  }
  hive->CloseKey(key);
  return hive;
}

// Every key below `path` with its values, types and bytes, depth-first.
void DumpKey(registry::Registry& hive, registry::HKey key, const std::string& path,
             std::string* out) {
  *out += "[" + path + "]\n";
  std::string name;
  std::uint32_t type = 0;
  std::vector<std::uint8_t> data;
  for (std::uint32_t i = 0; hive.EnumValue(key, i, &name, &type, &data) == 0; ++i) {
    *out += "  " + name + " type " + std::to_string(type) + ":";
    for (const std::uint8_t byte : data) *out += " " + std::to_string(byte);
    *out += "\n";
  }
  std::vector<std::string> subkeys;
  for (std::uint32_t i = 0; hive.EnumKey(key, i, &name) == 0; ++i) subkeys.push_back(name);
  for (const std::string& subkey : subkeys) {
    registry::HKey child = 0;
    if (hive.OpenKey(key, subkey, &child) != 0) continue;
    DumpKey(hive, child, path.empty() ? subkey : path + "\\" + subkey, out);
    hive.CloseKey(child);
  }
}

std::string DumpHive(registry::Registry& hive) {
  std::string out;
  DumpKey(hive, registry::kHKeyLocalMachine, "", &out);
  return out;
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

// One step of a script: "command NAME TEXT" as the session reads it.
struct Step {
  std::string command;
  std::string name;
  std::string text;  // UTF-8, from the JSON literal
};

Step ParseStep(const std::string& line) {
  std::istringstream words(line);
  Step step;
  words >> step.command;
  if (step.command == "tab" || step.command == "backtab" || step.command == "tick" ||
      step.command == "close") {
    return step;
  }
  words >> step.name;
  if (step.command == "key") return step;
  std::string rest;
  std::getline(words, rest);
  if (rest.find_first_not_of(' ') != std::string::npos)
    step.text = Json::parse(rest).get<std::string>();
  return step;
}

// A step may name what the window does and what the session does apart:
// "key CMB_PORT Down || choose CMB_PORT "COM4"".
constexpr std::string_view kApart = " || ";

std::string WindowLine(const std::string& line) {
  const size_t apart = line.find(kApart);
  return apart == std::string::npos ? line : line.substr(0, apart);
}

// The session's form of a window step: an access key is a click of its button.
std::string SessionLine(const std::string& line) {
  if (const size_t apart = line.find(kApart); apart != std::string::npos) {
    return line.substr(apart + kApart.size());
  }
  const Step step = ParseStep(line);
  if (step.command == "accesskey") return "click " + step.name;
  return line;
}

// A program on its own fakes, run by the window.
struct WindowRun {
  WindowRun() : hive(HiveWithPorts()) {
    program = std::make_unique<Program>(Platform{*hive, device, app, files, boxes});
    program->Start();
    view = std::make_unique<FormView>(program->form(), LampPictures(), 96.0);
    view->show();
    view->activateWindow();
    QVERIFY(QTest::qWaitForWindowExposed(view.get()));
  }

  std::unique_ptr<registry::Registry> hive;
  device::ScriptedDevice device;
  FixedApp app;
  runtime::MemoryFileSystem files;
  RecordingBoxes boxes;
  std::unique_ptr<Program> program;
  std::unique_ptr<FormView> view;
};

// The session's run of the same steps, with its events and final dumps.
struct SessionRun {
  explicit SessionRun(const QStringList& lines) : hive(HiveWithPorts()) {
    session::Session session({*hive, app, files}, out);
    std::vector<std::string> script = {"start"};
    for (const QString& line : lines) script.push_back(SessionLine(line.toStdString()));
    script.insert(script.end(), {"dump form", "dump state", "dump table"});
    int number = 0;
    for (const std::string& line : script) {
      if (!session.Execute(line, ++number)) break;
    }
    ended = session.ended();
    std::istringstream printed(out.str());
    for (std::string line; std::getline(printed, line);) {
      const Json json = Json::parse(line);
      if (json.contains("event")) {
        if (json["event"] == "msgbox") boxes.push_back(json.dump());
        if (json["event"] == "error" || json["event"] == "failure") problems.push_back(line);
      } else {
        dumps.push_back(json.dump());
      }
    }
  }

  std::unique_ptr<registry::Registry> hive;
  FixedApp app;
  runtime::MemoryFileSystem files;
  std::ostringstream out;
  bool ended = false;
  std::vector<std::string> boxes;
  std::vector<std::string> problems;
  std::vector<std::string> dumps;
};

// Performs session steps as a user does in the window.
class UserAtWindow {
 public:
  explicit UserAtWindow(WindowRun& run) : run_(run), form_(run.program->form()) {}

  void Do(const std::string& whole_line) {
    const std::string line = WindowLine(whole_line);
    const Step step = ParseStep(line);
    const QString text = QString::fromStdString(step.text);
    if (step.command == "click") {
      Click(step.name);
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
      QList<QToolButton*> arrows;
      for (forms::ControlId id = 0; id < form_.size(); ++id) {
        if (form_.at(id).kind == forms::Kind::kUpDown) {
          arrows = run_.view->widget(id)->findChildren<QToolButton*>();
        }
      }
      for (QToolButton* arrow : arrows) {
        if ((arrow->arrowType() == Qt::UpArrow) == (step.name == "up"))
          QTest::mouseClick(arrow, Qt::LeftButton);
      }
    } else if (step.command == "key") {
      // "key NAME KEY": a key pressed with NAME focused (by a click if it lacks the focus).
      std::istringstream words(line);
      std::string command, name, key;
      words >> command >> name >> key;
      FocusIfNeeded(name);
      Key(NamedKey(key), QString());
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

  void Click(const std::string& name) {
    QWidget* target = Widget(name);
    // An option button takes a click on its round indicator.
    const QPoint point = qobject_cast<QRadioButton*>(target) ? QPoint(7, target->height() / 2)
                                                             : target->rect().center();
    QTest::mouseClick(target, Qt::LeftButton, {}, point);
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

// The widgets show what the engine holds.
void ExpectViewShowsEngine(const FormView& view, const forms::Form& form) {
  for (forms::ControlId id = 1; id < form.size(); ++id) {
    const forms::Control& control = form.at(id);
    QWidget* widget = view.widget(id);
    if (!widget) continue;
    const QByteArray what = QByteArray::fromStdString(control.name);
    if (control.kind != forms::Kind::kFrame && control.kind != forms::Kind::kTab) {
      QVERIFY2(widget->testAttribute(Qt::WA_ForceDisabled) != control.enabled, what);
    }
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

}  // namespace

class FormViewTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() { QApplication::setStyle(QStringLiteral("Fusion")); }

  // Each row: the steps, the message boxes the session shows for them, and lines its dumps must
  // hold at the end, so that a row proves it reaches what it names.
  void behavesLikeSession_data() {
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QStringList>("boxes");
    QTest::addColumn<QStringList>("facts");
    QTest::newRow("choose a port, edit, apply")
        << QStringList{R"(choose CMB_PORT "COM4")", R"(type TXT_LOCPORT "3010")", "click CMD_APPLY"}
        << QStringList{}
        << QStringList{
               R"({"row":1,"Enabled":-1,"PortName":"COM4","RemoteIP":"192.168.1.35",)"
               R"("RemotePort":"3004","LocalPort":"3010","FlowControl":"0","XON":66,"XOFF":65})"};
    QTest::newRow("an edit not applied is lost on a port change")
        << QStringList{R"(type TXT_LOCPORT "12")", R"(choose CMB_PORT "COM4")",
                       R"(choose CMB_PORT "COM3")", "click CMD_APPLY"}
        << QStringList{}
        << QStringList{
               R"({"row":0,"Enabled":-1,"PortName":"COM3","RemoteIP":"192.168.1.35",)"
               R"("RemotePort":"3003","LocalPort":"3000","FlowControl":"0","XON":66,"XOFF":65})"};
    QTest::newRow("numeric guard, backspace, paste")
        << QStringList{R"(type TXT_UDP "3a")", R"(type TXT_UDP "45")", "backspace TXT_UDP",
                       R"(paste TXT_UDP "9e9")", "click CMD_APPLY"}
        << QStringList{}
        << QStringList{R"({"control":"TXT_UDP","kind":"textbox","text":"49e9","enabled":true,)"
                       R"("visible":true,"maxlength":4,"selstart":4,"sellength":0})"};
    QTest::newRow("bound guard on leaving, then a refused apply")
        << QStringList{R"(type TXT_IP1 "256")", "tab", "click CMD_APPLY"}
        << QStringList{"Invalid Ip Address", "IP Address invalid"} << QStringList{};
    QTest::newRow("software flow with equal XON and XOFF")
        << QStringList{"click OPT_SWF", R"(type TXT_XON "x")", R"(type TXT_XOFF "x")",
                       "tab",           "click CMD_APPLY",     R"(choose CMB_PORT "COM5")"}
        << QStringList{"Please select distinct values for XON and XOFF", "XON or XOFF is Invalid",
                       "XON or XOFF is Invalid"}
        << QStringList{};
    QTest::newRow("a disabled port keeps its fields out of reach")
        << QStringList{"click OPT_DSB", R"(type TXT_LOCPORT "1")", "click OPT_SWF",
                       "click OPT_ENB", R"(type TXT_XON "q")",     "click CMD_APPLY"}
        << QStringList{}
        << QStringList{R"({"control":"TXT_XON","kind":"textbox","text":"q","enabled":true,)"
                       R"("visible":true,"maxlength":4,"selstart":1,"sellength":0})"};
    QTest::newRow("status page: arrows, refresh, ticks")
        << QStringList{"page 1",      "updown up",   "click Command3", "tick",   "updown up",
                       "updown down", "updown down", "tick",           "page 0", "tab",
                       "tab"}
        << QStringList{}
        << QStringList{R"({"control":"VSP1Picture","kind":"image","picture":"red"})",
                       R"({"control":"VSP3Picture","kind":"image","picture":"grey"})",
                       R"({"control":"Interval_Time","kind":"textbox","text":" 0","enabled":true,)"
                       R"("visible":true,"maxlength":4,"selstart":0,"sellength":0})"};
    QTest::newRow("actions on the page not shown are refused")
        << QStringList{R"(type Interval_Time "5")",
                       "page 1",
                       "click CMD_APPLY",
                       "updown up",
                       "page 0",
                       "updown down",
                       "click Command3"}
        << QStringList{}
        << QStringList{R"({"control":"Interval_Time","kind":"textbox","text":" 1","enabled":true,)"
                       R"("visible":true,"maxlength":4,"selstart":0,"sellength":0})"};
    QTest::newRow("access key of Apply")
        << QStringList{R"(type TXT_LOCPORT "3011")", "accesskey CMD_APPLY"} << QStringList{}
        << QStringList{
               R"({"row":0,"Enabled":-1,"PortName":"COM3","RemoteIP":"192.168.1.35",)"
               R"("RemotePort":"3003","LocalPort":"3011","FlowControl":"0","XON":66,"XOFF":65})"};
    QTest::newRow("Windows-1252 texts")
        << QStringList{"click OPT_SWF", R"(type TXT_XON "é")", R"(paste TXT_XOFF "€")",
                       "click CMD_APPLY"}
        << QStringList{}
        << QStringList{
               R"({"row":0,"Enabled":-1,"PortName":"COM3","RemoteIP":"192.168.1.35",)"
               R"("RemotePort":"3003","LocalPort":"3000","FlowControl":"1","XON":233,"XOFF":128})"};
    // Choose COM4, reach the flow group by Tab, select software flow with Down, type the
    // codes, reach Apply and press it with Space: the keyboard alone.
    QTest::newRow("keyboard only: software flow for COM4")
        << QStringList{"backtab",
                       "backtab",
                       "backtab",
                       "backtab",
                       "key CMB_PORT Down",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "key OPT_HWF Down",
                       "tab",
                       R"(type TXT_XON "&H11")",
                       "tab",
                       R"(type TXT_XOFF "&H13")",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "key CMD_APPLY Space"}
        << QStringList{}
        << QStringList{
               R"({"row":1,"Enabled":-1,"PortName":"COM4","RemoteIP":"192.168.1.35",)"
               R"("RemotePort":"3004","LocalPort":"3001","FlowControl":"1","XON":17,"XOFF":19})"};
    QTest::newRow("shift+tab through the whole order and back")
        << QStringList{"backtab", "backtab", "backtab", "backtab", "backtab", "backtab",
                       "backtab", "backtab", "backtab", "backtab", "backtab", "backtab",
                       "tab",     "tab",     "tab",     "tab",     "tab",     "tab",
                       "tab",     "tab",     "tab",     "tab",     "tab",     "tab"}
        << QStringList{} << QStringList{};
    QTest::newRow("keys: list arrows, page arrows, space, enter, escape, home, end")
        << QStringList{"key CMB_PORT Down",
                       "key CMB_PORT Down",
                       "key CMB_PORT Up",
                       "key CMB_PORT Return || focus CMB_PORT",
                       "key CMB_PORT Escape || focus CMB_PORT",
                       "key OPT_DSB Space",
                       "key OPT_DSB Left",
                       "key TXT_LOCPORT End",
                       "key TXT_LOCPORT Left",
                       "key TXT_LOCPORT Space",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "tab",
                       "key SSTab1 Right",
                       "tab",
                       "tab",
                       "tab",
                       "key UpDown1 Up",
                       "key SSTab1 Home"}
        << QStringList{}
        << QStringList{
               R"({"control":"CMB_PORT","kind":"combobox","text":"COM4",)"
               R"("items":["COM3","COM4","COM5"],"index":1,"enabled":true,"visible":true})"};
    QTest::newRow("OK saves and ends")
        << QStringList{R"(type TXT_LOCPORT "4000")", "click Command1"} << QStringList{}
        << QStringList{};
    QTest::newRow("closing ends without a save")
        << QStringList{R"(type TXT_LOCPORT "4000")", "close"} << QStringList{} << QStringList{};
  }

  void behavesLikeSession() {
    QFETCH(QStringList, steps);
    QFETCH(QStringList, boxes);
    QFETCH(QStringList, facts);
    const SessionRun expected(steps);
    QVERIFY2(expected.problems.empty(),
             expected.problems.empty() ? "" : expected.problems[0].c_str());
    QStringList shown;
    for (const std::string& box : expected.boxes) {
      shown << QString::fromStdString(Json::parse(box)["text"].get<std::string>());
    }
    QCOMPARE(shown, boxes);
    for (const QString& fact : facts) {
      QVERIFY2(std::find(expected.dumps.begin(), expected.dumps.end(), fact.toStdString()) !=
                   expected.dumps.end(),
               qPrintable(fact));
    }

    WindowRun run;
    QVERIFY(run.view);
    UserAtWindow user(run);
    for (const QString& step : steps) {
      user.Do(step.toStdString());
      if (QTest::currentTestFailed()) return;
      if (run.view->program_ended()) break;
      const std::vector<std::string> before = DumpProgram(*run.program);
      QTest::qWait(1);  // nothing the window did may come back later as a user action
      QCOMPARE(DumpProgram(*run.program), before);
      ExpectViewShowsEngine(*run.view, run.program->form());
      if (QTest::currentTestFailed()) {
        qWarning("after step %s", qPrintable(step));
        return;
      }
    }

    QCOMPARE(run.view->program_ended(), expected.ended);
    QCOMPARE(run.boxes.shown, expected.boxes);
    QCOMPARE(DumpHive(*run.hive), DumpHive(*expected.hive));
    if (!expected.ended) {
      const std::vector<std::string> shown_dumps = DumpProgram(*run.program);
      for (size_t i = 0; i < shown_dumps.size() && i < expected.dumps.size(); ++i) {
        QCOMPARE(QString::fromStdString(shown_dumps[i]), QString::fromStdString(expected.dumps[i]));
      }
      QCOMPARE(shown_dumps.size(), expected.dumps.size());
    }
  }

  // What a screen reader hears beyond the names, roles and tab strip that the atspi test reads
  // from the real window: the lamps' colours, the status page's controls, the press actions and
  // the help over the boxes.
  void assistiveToolsReadNamesAndRoles() {
    WindowRun run;
    UserAtWindow user(run);
    const auto read = [&](const char* name) {
      return QAccessible::queryAccessibleInterface(run.view->widget(name));
    };
    struct Expected {
      const char* control;
      QAccessible::Role role;
      QString name;
    };
    const Expected expected[] = {
        {"Interval_Time", QAccessible::EditableText, "Monitor Interval"},
        {"VSP1Picture", QAccessible::Graphic, "VSP1: green"},
        {"VSP3Picture", QAccessible::Graphic, "VSP3: red"},
        {"Notinstalled", QAccessible::Graphic, "Not Installed: grey"},
        {"UpDown1", QAccessible::Client, "Step Monitor Interval"},
    };
    for (const Expected& e : expected) {
      QAccessibleInterface* face = read(e.control);
      QVERIFY2(face, e.control);
      QCOMPARE(face->role(), e.role);
      QCOMPARE(face->text(QAccessible::Name), e.name);
    }
    QVERIFY(!read("OPT_DSB")->state().checked);

    QAccessibleInterface* strip = QAccessible::queryAccessibleInterface(run.view->tab_strip());
    QCOMPARE(strip->indexOfChild(strip->child(1)), 1);
    // A tab's press action shows its page, as a click does; so does a lamp's new colour.
    strip->child(1)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    QCOMPARE(run.program->form().page(), 1);
    QVERIFY(strip->child(1)->state().selected && strip->child(1)->state().focused);
    run.program->form().SetPicture(run.program->form().Id("VSP1Picture"), forms::Picture::kRed);
    QCOMPARE(read("VSP1Picture")->text(QAccessible::Name), QStringLiteral("VSP1: red"));
    user.Do("page 0");
    read("OPT_DSB")->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    QVERIFY(run.program->form().at("OPT_DSB").value);

    // Help over the boxes whose rules the form does not show; it changes nothing.
    QVERIFY(run.view->widget("TXT_XON")->toolTip().contains(QStringLiteral("&H11")));
    QVERIFY(run.view->widget("TXT_XOFF")->toolTip().contains(QStringLiteral("&H")));
    for (const char* box : {"TXT_LOCPORT", "TXT_UDP", "TXT_IP1", "TXT_IP2", "TXT_IP3", "TXT_IP4"}) {
      QVERIFY2(run.view->widget(box)->toolTip().contains(QStringLiteral(" to ")), box);
    }
  }

  // Every stop in the tab order looks different with the focus than without it (the style's
  // focus indicator), and a text box shows its selection only while it has the focus.
  void theFocusIsSeenAndSelectionsHideWithoutIt() {
    WindowRun run;
    QVERIFY(QTest::qWaitForWindowActive(run.view.get()));  // only an active window has a focus
    UserAtWindow user(run);
    const forms::Form& form = run.program->form();
    const auto look = [&](forms::ControlId id) {
      QWidget* shown =
          form.at(id).kind == forms::Kind::kTab ? run.view->tab_strip() : run.view->widget(id);
      return shown->grab().toImage();
    };
    for (const int page : {0, 1}) {
      user.Do("page " + std::to_string(page));
      std::vector<forms::ControlId> stops;
      for (user.Do("tab"); stops.empty() || form.focus() != stops.front(); user.Do("tab")) {
        stops.push_back(form.focus());
      }
      QVERIFY(stops.size() >= 3);
      for (const forms::ControlId id : stops) {
        const QByteArray what = QByteArray::fromStdString(form.at(id).name);
        // The engine's own focus move: a click would press the buttons.
        run.program->form().Focus(id);
        const QImage focused = look(id);
        run.program->form().Focus(stops.front() == id ? stops.back() : stops.front());
        QVERIFY2(look(id) != focused, what);
      }
    }
    user.Do("page 0");
    user.Do("focus TXT_LOCPORT");  // its GotFocus selects the whole text
    auto* edit = qobject_cast<QLineEdit*>(run.view->widget("TXT_LOCPORT"));
    QVERIFY(edit->hasSelectedText());
    const QImage selected = edit->grab().toImage();
    user.Do("backtab");
    QCOMPARE(form.at("TXT_LOCPORT").sel_length, 4);  // the engine keeps it
    QVERIFY(!edit->hasSelectedText());
    user.Do("tab");
    QCOMPARE(edit->selectedText(), QStringLiteral("3000"));
    QCOMPARE(edit->grab().toImage(), selected);
  }

  void standsAsLaidOut() {
    WindowRun run;
    FormView& view = *run.view;
    const forms::Form& form = run.program->form();
    QCOMPARE(view.size(), QSize(TwipsToPixels(6036, 96), TwipsToPixels(8832, 96)));

    // Every control at its geometry in its container; images at least the size of the picture.
    for (forms::ControlId id = 1; id < form.size(); ++id) {
      const forms::Control& control = form.at(id);
      QWidget* widget = view.widget(id);
      if (control.kind == forms::Kind::kTimer) {
        QVERIFY(!widget);
        QCOMPARE(view.timer(id)->interval(), control.interval);
        continue;
      }
      QVERIFY2(widget, control.name.c_str());
      const QWidget* expected_parent =
          control.container == 0 ? static_cast<QWidget*>(&view) : view.widget(control.container);
      QVERIFY2(widget->parentWidget() == expected_parent, control.name.c_str());
      const QRect twips(control.left, control.top, control.width, control.height);
      QCOMPARE(widget->pos(),
               QPoint(TwipsToPixels(twips.left(), 96), TwipsToPixels(twips.top(), 96)));
      if (control.kind == forms::Kind::kImage) {
        QCOMPARE(widget->size(), QSize(19, 22));
      } else {
        QCOMPARE(widget->size(),
                 QSize(TwipsToPixels(control.left + control.width, 96) - widget->x(),
                       TwipsToPixels(control.top + control.height, 96) - widget->y()));
      }
    }
    QVERIFY(view.widget("Frame1")->isHidden());  // the page not shown
    // The lamps show the pictures: the disc's centre has the fill's colour.
    const std::pair<const char*, QColor> lamps[] = {
        {"VSP1Picture", QColor(0, 255, 128)}, {"VSP2Picture", QColor(200, 200, 200)},
        {"VSP3Picture", QColor(255, 0, 0)},   {"Connected", QColor(0, 255, 128)},
        {"Disconnected", QColor(255, 0, 0)},  {"Notinstalled", QColor(200, 200, 200)}};
    for (const auto& [name, colour] : lamps) {
      const QImage picture = qobject_cast<QLabel*>(view.widget(name))->pixmap().toImage();
      QCOMPARE(picture.size(), QSize(19, 22));
      QCOMPARE(picture.pixelColor(9, 11), colour);
      QCOMPARE(picture.pixelColor(0, 0), QColor(228, 227, 226));
    }

    // The pictures read by the window's own reader equal Qt's reading of the same files.
    for (const forms::Picture picture :
         {forms::Picture::kGreen, forms::Picture::kRed, forms::Picture::kGrey}) {
      const std::vector<std::uint8_t> file = LampBitmap(picture);
      const QImage by_qt = QImage::fromData(file.data(), static_cast<int>(file.size()), "BMP");
      QCOMPARE(BitmapImage(file).convertToFormat(QImage::Format_RGB32),
               by_qt.convertToFormat(QImage::Format_RGB32));
    }

    const QImage icon = KetraIconPixmap().toImage();
    QCOMPARE(icon.size(), QSize(32, 32));
    QVERIFY(icon.pixelColor(16, 4).alpha() == 255);
    QVERIFY(icon.pixelColor(0, 0).alpha() < 255);
  }

  // Caret keys, Delete and the clipboard keys have no session command; they reach the engine as
  // its selection and as Backspace and Paste.
  void keysInATextBoxGoThroughTheEngine() {
    WindowRun run;
    UserAtWindow user(run);
    const forms::Form& form = run.program->form();
    const forms::Control& box = form.at("TXT_LOCPORT");
    auto* edit = qobject_cast<QLineEdit*>(run.view->widget("TXT_LOCPORT"));
    const auto press = [&](Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
      QTest::keyClick(edit, key, modifiers);
    };
    user.Do(R"(type TXT_LOCPORT "123")");
    QCOMPARE(box.text, std::string("123"));
    press(Qt::Key_Left);
    press(Qt::Key_Left);
    QCOMPARE(box.sel_start, 1);
    press(Qt::Key_Delete);  // the 2 after the caret
    QCOMPARE(box.text, std::string("13"));
    QCOMPARE(box.sel_start, 1);
    press(Qt::Key_End, Qt::ShiftModifier);
    QCOMPARE(box.sel_start, 1);
    QCOMPARE(box.sel_length, 1);
    press(Qt::Key_9);  // replaces the selection
    QCOMPARE(box.text, std::string("19"));
    press(Qt::Key_A, Qt::ControlModifier);
    QCOMPARE(box.sel_length, 2);
    press(Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("19"));
    press(Qt::Key_X, Qt::ControlModifier);
    QCOMPARE(box.text, std::string());
    QGuiApplication::clipboard()->setText(QStringLiteral("4567\n89"));
    press(Qt::Key_V, Qt::ControlModifier);  // the first line, cut to the limit of 4
    QCOMPARE(box.text, std::string("4567"));
    press(Qt::Key_Z, Qt::ControlModifier);  // no undo behind the engine's back
    QCOMPARE(box.text, std::string("4567"));
    QTest::mouseClick(edit, Qt::LeftButton, {}, QPoint(2, edit->height() / 2));  // caret to 0
    QCOMPARE(box.sel_start, 0);
    QCOMPARE(box.sel_length, 0);
    press(Qt::Key_5);  // a fifth character passes the limit: dropped
    QCOMPARE(box.text, std::string("4567"));
    press(Qt::Key_A, Qt::ControlModifier);
    // Not in Windows-1252: it comes in as '?', which the numeric guard empties.
    QTest::sendKeyEvent(QTest::Press, edit, Qt::Key_unknown, QStringLiteral("\u2192"), {});
    QTest::sendKeyEvent(QTest::Release, edit, Qt::Key_unknown, QStringLiteral("\u2192"), {});
    QCOMPARE(box.text, std::string());
    ExpectViewShowsEngine(*run.view, form);
  }

  void disabledFrameKeepsTheLookOfWhatItHolds() {
    WindowRun run;
    UserAtWindow user(run);
    user.Do("click OPT_SWF");
    user.Do("click OPT_DSB");  // FRM_FLWCNTRL off, its XON box off, its labels stay on
    const forms::Form& form = run.program->form();
    QVERIFY(!form.at("FRM_FLWCNTRL").enabled);
    QVERIFY(form.at("LBL_XON").enabled);
    QVERIFY(run.view->widget("FRM_FLWCNTRL")->isEnabled());  // never greyed by Qt
    QVERIFY(run.view->widget("LBL_XON")->isEnabled());
    QVERIFY(!run.view->widget("TXT_XON")->isEnabled());
    // Out of reach in the disabled frame: a click changes nothing.
    const std::vector<std::string> before = DumpProgram(*run.program);
    user.Do("click OPT_HWF");
    QCOMPARE(DumpProgram(*run.program), before);
  }

  void messageBoxIsModalWithTheIconOfItsStyle_data() {
    QTest::addColumn<int>("style");
    QTest::addColumn<int>("icon");
    QTest::newRow("plain") << int(forms::MsgBoxStyle::kPlain) << int(QMessageBox::NoIcon);
    QTest::newRow("information") << int(forms::MsgBoxStyle::kInformation)
                                 << int(QMessageBox::Information);
    QTest::newRow("exclamation") << int(forms::MsgBoxStyle::kExclamation)
                                 << int(QMessageBox::Warning);
    QTest::newRow("critical") << int(forms::MsgBoxStyle::kCritical) << int(QMessageBox::Critical);
  }

  void messageBoxIsModalWithTheIconOfItsStyle() {
    QFETCH(int, style);
    QFETCH(int, icon);
    QtMessageBoxes boxes;
    bool seen = false;
    QTimer::singleShot(0, [&] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      QVERIFY(box);
      seen = true;
      QCOMPARE(int(box->icon()), icon);
      QCOMPARE(box->windowTitle(), QString());
      QCOMPARE(box->text(), QStringLiteral("Caf\u00e9 \u20ac <b>"));
      QCOMPARE(box->textFormat(), Qt::PlainText);
      QCOMPARE(box->standardButtons(), QMessageBox::StandardButtons(QMessageBox::Ok));
      QCOMPARE(box->windowModality(), Qt::ApplicationModal);
      box->button(QMessageBox::Ok)->click();
    });
    boxes.Show("Caf\xE9 \x80 <b>", static_cast<forms::MsgBoxStyle>(style));
    QVERIFY(seen);
  }
};

}  // namespace ketra::window

QTEST_MAIN(ketra::window::FormViewTest)
#include "form_view_test.moc"
