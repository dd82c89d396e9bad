// ketra: the control panel's window. The program instance runs on the headless form engine with
// the machine's hive, driver daemon and files; FormView draws it with Qt and passes the user's
// actions back as the engine's user operations. Everything runs on the GUI thread, the form
// engine's one thread, but for the load, which runs on a second thread while Qt starts
// (LoadAside); the window is built from the loaded form. Qt's font database fills on a third
// thread meanwhile (FontWarmUp).
//
//   ketra [--hive PATH] [--socket PATH] [--screenshot-dir DIR] [--exit-after-first-frame]
//         [Qt's options: -style NAME, -stylesheet FILE, -platform NAME, ...]
//   ketra --help | --version
#include <QApplication>
#include <QDir>
#include <QScopeGuard>
#include <QStyleFactory>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "config_appl/app/program.h"
#include "platform/runtime/build_info.h"
#include "platform/runtime/text_file.h"
#include "tools/machine/machine.h"
#include "window/app_icon.h"
#include "window/first_frame.h"
#include "window/focus_mark_style.h"
#include "window/font_warm_up.h"
#include "window/form_view.h"
#include "window/lamp_pictures.h"
#include "window/load_aside.h"
#include "window/qt_message_boxes.h"
#include "window/qt_options.h"

namespace {

bool HasDisplay(const ketra::window::SplitArguments& arguments) {
  if (arguments.Has("platform") || arguments.Has("display")) return true;
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
    const char* value = std::getenv(name);
    if (value && *value) return true;
  }
  return false;
}

// Shows each page of the tab control in turn, as a user would, and saves the window as
// DIR/screenshot-<caption>.png (the caption in lower case without blanks).
int SaveScreenshots(ketra::window::FormView& view, const ketra::forms::Form& form,
                    const QString& directory) {
  QDir().mkpath(directory);
  // Only the active window shows a focus; a virtual display has no window manager to activate it.
  view.activateWindow();
  for (int wait = 0; wait < 100 && !view.isActiveWindow(); ++wait) {
    QApplication::processEvents(QEventLoop::AllEvents, 20);
  }
  for (ketra::forms::ControlId id = 0; id < form.size(); ++id) {
    const ketra::forms::Control& control = form.at(id);
    if (control.kind != ketra::forms::Kind::kTab) continue;
    for (int page = 0; page < static_cast<int>(control.tabs.size()); ++page) {
      view.ShowPageAsUser(page);
      QApplication::processEvents();
      const QString name =
          QString::fromStdString(control.tabs[static_cast<size_t>(page)]).trimmed().toLower();
      const QString path = QDir(directory).filePath(QStringLiteral("screenshot-%1.png").arg(name));
      if (!view.grab().save(path, "PNG")) {
        std::cerr << "ketra: cannot write " << path.toStdString() << '\n';
        return 1;
      }
      std::cout << path.toStdString() << '\n';
    }
    break;
  }
  // The focus on an option button, brought there from the keyboard: Space on the first option
  // of the "Config" page, which is selected, so nothing else changes.
  for (ketra::forms::ControlId id = 0; id < form.size(); ++id) {
    if (form.at(id).kind != ketra::forms::Kind::kOption) continue;
    view.ShowPageAsUser(0);
    view.PressAsUser(id, ketra::forms::Key::kSpace);
    QApplication::processEvents();
    const QString path = QDir(directory).filePath(QStringLiteral("screenshot-focus.png"));
    if (!view.grab().save(path, "PNG")) {
      std::cerr << "ketra: cannot write " << path.toStdString() << '\n';
      return 1;
    }
    std::cout << path.toStdString() << '\n';
    break;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) try {
  // The command line comes first, so that --help, --version and mistakes need no display. Qt's
  // own options go to QApplication.
  ketra::window::SplitArguments arguments = ketra::window::SplitQtOptions(argc, argv);
  CLI::App cli{"ketra: the Ketra virtual serial port control panel.", "ketra"};
  cli.footer(
      "Qt's standard options are accepted too: -style NAME, -stylesheet FILE, -platform NAME, "
      "-reverse, -qwindowgeometry GEOMETRY and the others of every Qt program.\n");
  cli.set_version_flag("--version", "ketra " KETRA_VERSION);
  std::string hive;
  std::string socket;
  std::string screenshot_dir;
  bool exit_after_first_frame = false;
  cli.add_option("--hive", hive, "The hive file (default: the user's, else the system's).");
  cli.add_option("--socket", socket, "The driver daemon's control socket (default: as the hive).");
  cli.add_option("--screenshot-dir", screenshot_dir,
                 "Save a picture of each tab page into this directory, then end.");
  cli.add_flag("--exit-after-first-frame", exit_after_first_frame,
               "Print the monotonic time of the first frame shown, then end.");
  try {
    cli.parse(static_cast<int>(arguments.program.size()) - 1, arguments.program.data());
  } catch (const CLI::ParseError& error) {
    return cli.exit(error) == 0 ? 0 : 2;  // a usage error is 2, as in the other programs
  }
  if (!HasDisplay(arguments)) {
    std::fputs(
        "ketra: no display found. Run it under a desktop session, or use ketra-session for a "
        "session without a screen.\n",
        stderr);
    return 2;
  }
  // The fonts of the first frame get ready from here on, beside the start of Qt and the load.
  ketra::window::FontWarmUp font_warm_up;
  // The same machine as the tools': hive, driver socket, program surroundings and files.
  if (const ketra::runtime::Status resolved = ketra::machine::ResolveHive(&hive); !resolved.ok()) {
    std::cerr << "ketra: " << resolved.message() << '\n';
    return 2;
  }
  const std::unique_ptr<ketra::registry::Registry> registry = ketra::machine::OpenRegistry(hive);
  const std::unique_ptr<ketra::device::DeviceIo> device = ketra::machine::MakeSystemDevice(socket);
  const std::unique_ptr<ketra::forms::AppServices> services = ketra::machine::MakeApp("", hive);
  const std::unique_ptr<ketra::runtime::FileSystem> files = ketra::machine::MakeFileSystem();

  ketra::window::QtMessageBoxes qt_boxes;
  ketra::window::GuiThreadBoxes boxes(qt_boxes);
  const auto program = std::make_unique<ketra::Program>(
      ketra::Platform{*registry, *device, *services, *files, boxes});
  // The load runs while Qt opens the display; the program is the load thread's alone until
  // Finish() has joined it.
  ketra::window::LoadAside load(boxes, [&program] { program->Start(); });
  QApplication app(arguments.qt_count, arguments.qt.data());
  font_warm_up.QtReady();
  // From here the thread uses Qt's font database: it ends before the application does.
  const auto fonts_ready_before_app_ends = qScopeGuard([&font_warm_up] { font_warm_up.Wait(); });
  // The application id: the desktop entry ketra.desktop that names this program and its icon.
  QGuiApplication::setDesktopFileName(QStringLiteral("ketra"));
  // Fusion unless the user chose a style (-style, or QT_STYLE_OVERRIDE as in every Qt program).
  if (!arguments.Has("style") && qEnvironmentVariableIsEmpty("QT_STYLE_OVERRIDE")) {
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  }
  ketra::window::InstallFocusMarks();
  QApplication::setWindowIcon(ketra::window::KetraIcon());
  try {
    load.Finish();
  } catch (const ketra::forms::ProgramEnded&) {
    return 0;  // a second instance, or no ports: the load ended the program
  } catch (const std::exception& error) {
    std::cerr << "ketra: " << error.what() << '\n';
    return 1;
  }

  font_warm_up.Wait();
  ketra::window::FormView view(program->form(), ketra::window::LampPictures());
  qt_boxes.SetParent(&view);
  QObject::connect(&view, &ketra::window::FormView::programEnded, &app,
                   [] { QCoreApplication::exit(0); });
  if (exit_after_first_frame) {
    QObject::connect(&view, &ketra::window::FormView::firstFrameShown, &app, [] {
      ketra::window::PrintFirstFrame();
      QCoreApplication::exit(0);
    });
  }
  view.show();
  if (!screenshot_dir.empty()) {
    const QString directory = QString::fromStdString(screenshot_dir);
    QTimer::singleShot(0, &app, [&view, &program, directory] {
      QCoreApplication::exit(SaveScreenshots(view, program->form(), directory));
    });
  }
  return QApplication::exec();
} catch (const std::exception& error) {
  // Nothing below main handles it: say what stopped the program instead of aborting.
  std::cerr << "ketra: stopped by an unexpected error: " << error.what() << '\n';
  return 1;
} catch (...) {
  std::cerr << "ketra: stopped by an unexpected error\n";
  return 1;
}
