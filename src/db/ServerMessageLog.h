#pragma once

#include "db/ResultTable.h"

#include <QObject>
#include <QString>
#include <deque>

namespace qormin::db {

// What the servers said while statements ran (PRINT, BACKUP/RESTORE progress, warnings and
// errors), oldest first, for the server-messages view. The log boxes keep their own texts.
// Only the newest entryLimit messages are kept: a backup alone sends a dozen.
class ServerMessageLog : public QObject {
    Q_OBJECT
public:
    struct Entry {
        int side = 0;
        ServerMessage message;
    };

    static constexpr std::size_t entryLimit = 10000;

    explicit ServerMessageLog(QObject* parent = nullptr);

    void add(int side, const ServerMessage& message);
    void clear();

    const std::deque<Entry>& entries() const { return m_entries; }
    // Every entry as format() shows it, joined by CRLF.
    QString text() const;

    // "Msg 208, Level 16, State 1, Line 1" + CRLF + text for errors, the bare text otherwise.
    static QString format(const ServerMessage& message);

Q_SIGNALS:
    void added(int side, const qormin::db::ServerMessage& message);
    void cleared();

private:
    std::deque<Entry> m_entries;
};

} // namespace qormin::db
