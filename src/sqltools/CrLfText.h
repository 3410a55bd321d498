#pragma once

#include <QString>

class QPlainTextEdit;

namespace qormin::sqltools {

// The multi-line boxes of these pages hold CR LF line breaks, as the statements and files built
// from them need; the editor itself keeps bare line feeds.
namespace CrLfText {
QString text(const QPlainTextEdit& box);
void setText(QPlainTextEdit& box, const QString& text);
void append(QPlainTextEdit& box, const QString& text);
} // namespace CrLfText

} // namespace qormin::sqltools
