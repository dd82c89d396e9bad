// Key classification for the text boxes.
#include "window/key_kinds.h"

#include <QKeySequence>
#include <QRegularExpression>
#include <algorithm>
#include <iterator>

namespace ketra::window {

bool IsNavigation(const QKeyEvent* key) {
  static constexpr QKeySequence::StandardKey kMoves[] = {
      QKeySequence::MoveToNextChar,     QKeySequence::MoveToPreviousChar,
      QKeySequence::MoveToNextWord,     QKeySequence::MoveToPreviousWord,
      QKeySequence::MoveToStartOfLine,  QKeySequence::MoveToEndOfLine,
      QKeySequence::MoveToStartOfBlock, QKeySequence::MoveToEndOfBlock,
      QKeySequence::SelectNextChar,     QKeySequence::SelectPreviousChar,
      QKeySequence::SelectNextWord,     QKeySequence::SelectPreviousWord,
      QKeySequence::SelectStartOfLine,  QKeySequence::SelectEndOfLine,
      QKeySequence::SelectStartOfBlock, QKeySequence::SelectEndOfBlock,
  };
  return std::any_of(std::begin(kMoves), std::end(kMoves),
                     [key](QKeySequence::StandardKey move) { return key->matches(move); }) ||
         key->key() == Qt::Key_Home || key->key() == Qt::Key_End;
}

bool IsTypedText(const QKeyEvent* key) {
  if (key->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) return false;
  const QString text = key->text();
  return !text.isEmpty() &&
         std::all_of(text.begin(), text.end(), [](QChar ch) { return ch.isPrint(); });
}

QString FirstLine(const QString& text) {
  const qsizetype end = text.indexOf(QRegularExpression(QStringLiteral("[\r\n]")));
  return end < 0 ? text : text.left(end);
}

}  // namespace ketra::window
