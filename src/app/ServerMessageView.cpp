#include "app/ServerMessageView.h"

#include "db/ServerMessageLog.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <memory>

namespace qormin::app {

ServerMessageView::ServerMessageView(db::ServerMessageLog& log, QWidget* parent)
    : QPlainTextEdit(parent), m_log(log) {
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setLineWrapMode(QPlainTextEdit::NoWrap);
    // As many lines as the log keeps messages; an error's heading takes a line of its own.
    setMaximumBlockCount(static_cast<int>(db::ServerMessageLog::entryLimit));
    setPlaceholderText(tr("Server messages (progress, PRINT)"));
    for (const db::ServerMessageLog::Entry& entry : log.entries())
        addMessage(entry.side, entry.message);
    connect(&log, &db::ServerMessageLog::added, this, &ServerMessageView::addMessage);
    connect(&log, &db::ServerMessageLog::cleared, this, &QPlainTextEdit::clear);
}

void ServerMessageView::addMessage(int side, const db::ServerMessage& message) {
    QString text = db::ServerMessageLog::format(message);
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    appendPlainText(QStringLiteral("(") + QString::number(side) + QStringLiteral(") ") + text);
}

void ServerMessageView::contextMenuEvent(QContextMenuEvent* event) {
    std::unique_ptr<QMenu> menu(createStandardContextMenu(event->pos()));
    menu->addSeparator();
    menu->addAction(tr("Clear"), this, [this] { m_log.clear(); });
    menu->exec(event->globalPos());
}

} // namespace qormin::app
