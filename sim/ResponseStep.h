#pragma once

#include "sim/ResultSet.h"
#include "sim/ServerMessage.h"

#include <memory>

namespace qormin::sim {

// One element of a scripted response, played in order.
struct ResponseStep {
    enum class Kind {
        Result,      // result set followed by a DONE with its row count
        RowCount,    // DONE with a row count
        Info,        // informational message
        Error,       // error message, then a DONE with the error flag
        Done,        // a bare DONE (ends a group of messages)
        Delay,       // pause before the rest (an attention still cancels)
        Hang,        // wait until cancelled or the hang limit passes
        Drop,        // close the connection mid-response
        UseDatabase, // switch the current database (ENVCHANGE)
        Progress,    // "<n> percent processed." messages, each closed by a DONE with MORE
    };
    Kind kind = Kind::Done;
    std::shared_ptr<const ResultSet> result;
    qint64 count = 0;      // RowCount: rows; Progress: percent step
    ServerMessage message; // Info, Error, Progress (text with "{percent}")
    int milliseconds = 0;  // Delay, Progress pace, Hang limit (0 = scenario's limit)
    QString database;      // UseDatabase
};

} // namespace qormin::sim
