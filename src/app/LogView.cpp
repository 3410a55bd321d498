#include "app/LogView.h"

#include "db/LogBuffer.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <memory>

namespace qormin::app {

namespace {

// Statements logged whole carry their own CR LF pairs; the view shows them as plain lines.
QString shown(QString text) {
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(u'\r', u'\n');
    return text;
}

} // namespace

LogView::LogView(db::LogBuffer& buffer, QWidget* parent) : QPlainTextEdit(parent), m_buffer(buffer) {
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setLineWrapMode(QPlainTextEdit::NoWrap);
    setPlainText(shown(buffer.text()));
    connect(&buffer, &db::LogBuffer::prepended, this, &LogView::prependLine);
    connect(&buffer, &db::LogBuffer::appended, this, &LogView::appendLine);
    connect(&buffer, &db::LogBuffer::cleared, this, &QPlainTextEdit::clear);
    connect(&buffer, &db::LogBuffer::replaced, this,
            [this](const QString& text) { setPlainText(shown(text)); });
}

// The line break goes in even next to an empty text, exactly as the buffer's text has it.
void LogView::prependLine(const QString& line) {
    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::Start);
    cursor.insertText(shown(line) + u'\n');
    verticalScrollBar()->setValue(0);
}

void LogView::appendLine(const QString& line) {
    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(u'\n' + shown(line));
}

void LogView::contextMenuEvent(QContextMenuEvent* event) {
    std::unique_ptr<QMenu> menu(createStandardContextMenu(event->pos()));
    menu->addSeparator();
    menu->addAction(tr("Clear"), this, [this] { m_buffer.clear(); });
    menu->exec(event->globalPos());
}

} // namespace qormin::app
