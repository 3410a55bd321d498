#pragma once

#include <QPlainTextEdit>

namespace qormin::db {
class ServerMessageLog;
struct ServerMessage;
} // namespace qormin::db

namespace qormin::app {

// The servers' informational messages and progress (PRINT, BACKUP/RESTORE percentages),
// newest at the bottom, each marked with the side that sent it.
class ServerMessageView : public QPlainTextEdit {
    Q_OBJECT
public:
    explicit ServerMessageView(db::ServerMessageLog& log, QWidget* parent = nullptr);

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void addMessage(int side, const db::ServerMessage& message);

    db::ServerMessageLog& m_log;
};

} // namespace qormin::app
