// What a key press on a text box means to the engine: a caret move that the box performs
// itself, or typed text. Stateless.
#ifndef KETRA_WINDOW_KEY_KINDS_H_
#define KETRA_WINDOW_KEY_KINDS_H_

#include <QKeyEvent>
#include <QString>

namespace ketra::window {

// A key that moves the caret or the selection, and changes no text.
bool IsNavigation(const QKeyEvent* key);
// A key that types printable text, with no Control, Alt or Meta held.
bool IsTypedText(const QKeyEvent* key);
// What a paste brings into a one-line box: the text up to its first line break.
QString FirstLine(const QString& text);
}  // namespace ketra::window

#endif  // KETRA_WINDOW_KEY_KINDS_H_
