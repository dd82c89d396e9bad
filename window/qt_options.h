// Qt's own command-line options (`-style Fusion`, `-stylesheet FILE`, `-platform NAME`, ...),
// which every Qt program accepts, told apart from the program's own before the program's parser
// sees them: QApplication consumes the first kind, CLI11 the second. Parsing comes before the
// QApplication exists, so that --help and mistakes need no display.
//
// Holds pointers into the caller's argv, which must outlive it. Thread-compatible.
#ifndef KETRA_WINDOW_QT_OPTIONS_H_
#define KETRA_WINDOW_QT_OPTIONS_H_

#include <string>
#include <vector>

namespace ketra::window {

struct SplitArguments {
  // argv[0] and Qt's options with their values, for QApplication (which keeps a reference to
  // the count: it must outlive the application).
  std::vector<char*> qt;
  int qt_count = 0;
  // argv[0] and everything else, for the program's parser.
  std::vector<char*> program;
  // The names of the Qt options given, without dashes: "style", "platform".
  std::vector<std::string> qt_names;

  bool Has(const std::string& name) const;
};

// Splits at Qt's options, in the forms Qt reads: `-style Fusion`, `-style=Fusion`, and the same
// with two dashes. Anything after `--` is the program's.
SplitArguments SplitQtOptions(int argc, char** argv);

}  // namespace ketra::window

#endif  // KETRA_WINDOW_QT_OPTIONS_H_
