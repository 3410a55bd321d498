#pragma once

#include <QString>
#include <optional>

namespace qormin::db {

// One statement that changed or could change a server (what Script only would withhold), and
// what became of it.
struct AuditRecord {
    enum class Outcome { Done, Error, Withheld, Cancelled };

    int side = -1; // 0 left, 1 right
    QString database;
    QString statement;
    Outcome outcome = Outcome::Done;
    QString error; // the server's text, or why a statement was cancelled
    std::optional<qint64> rowsAffected;
};

// Where the execution layer reports such statements as they end; the owner decides where they go.
class AuditSink {
public:
    virtual ~AuditSink() = default;
    virtual void record(const AuditRecord& record) = 0;
};

} // namespace qormin::db
