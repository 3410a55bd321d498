#include "sqltools/CrLfText.h"

#include <QPlainTextEdit>
#include <QTextCursor>

namespace qormin::sqltools {

namespace {
QString withLineFeeds(const QString& text) {
    QString result = text;
    return result.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
}
} // namespace

QString CrLfText::text(const QPlainTextEdit& box) {
    return box.toPlainText().replace(QLatin1Char('\n'), QStringLiteral("\r\n"));
}

void CrLfText::setText(QPlainTextEdit& box, const QString& text) {
    box.setPlainText(withLineFeeds(text));
}

void CrLfText::append(QPlainTextEdit& box, const QString& text) {
    QTextCursor end(box.document());
    end.movePosition(QTextCursor::End);
    end.insertText(withLineFeeds(text));
}

} // namespace qormin::sqltools
