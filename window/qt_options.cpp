#include "window/qt_options.h"

#include <algorithm>
#include <string_view>

namespace ketra::window {
namespace {

// QGuiApplication's and QApplication's options (Qt 6 reference, "QApplication" and
// "QGuiApplication"), with X11's older aliases.
constexpr std::string_view kWithValue[] = {
    "platform", "platformpluginpath", "platformtheme", "plugin",       "qwindowgeometry",
    "geometry", "qwindowicon",        "icon",          "qwindowtitle", "title",
    "style",    "stylesheet",         "session",       "display",      "name"};
constexpr std::string_view kFlags[] = {"reverse", "widgetcount", "nograb",
                                       "dograb",  "sync",        "testability"};

template <size_t N>
bool In(const std::string_view (&names)[N], std::string_view name) {
  return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

}  // namespace

bool SplitArguments::Has(const std::string& name) const {
  return std::find(qt_names.begin(), qt_names.end(), name) != qt_names.end();
}

SplitArguments SplitQtOptions(int argc, char** argv) {
  SplitArguments split;
  if (argc > 0) {
    split.qt.push_back(argv[0]);
    split.program.push_back(argv[0]);
  }
  for (int i = 1; i < argc; ++i) {
    std::string_view arg = argv[i];
    if (arg == "--") {
      split.program.insert(split.program.end(), argv + i, argv + argc);
      break;
    }
    std::string_view name = arg;
    if (name.substr(0, 2) == "--") {
      name.remove_prefix(2);
    } else if (name.substr(0, 1) == "-") {
      name.remove_prefix(1);
    } else {
      split.program.push_back(argv[i]);
      continue;
    }
    const size_t equals = name.find('=');
    const bool joined = equals != std::string_view::npos;
    name = name.substr(0, equals);
    if (In(kFlags, name) && !joined) {
      split.qt.push_back(argv[i]);
    } else if (In(kWithValue, name) && (joined || i + 1 < argc)) {
      split.qt.push_back(argv[i]);
      if (!joined) split.qt.push_back(argv[++i]);
    } else {
      split.program.push_back(argv[i]);
      continue;
    }
    split.qt_names.emplace_back(name);
  }
  split.qt_count = static_cast<int>(split.qt.size());
  split.qt.push_back(nullptr);
  split.program.push_back(nullptr);
  return split;
}

}  // namespace ketra::window
