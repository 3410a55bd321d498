#pragma once

#include <QString>

namespace qormin::sim {

// The fields of an INFO or ERROR token.
struct ServerMessage {
    int number = 0;
    int state = 1;
    int severity = 0; // "class" on the wire
    QString text;
    QString procedure;
    int line = 1;
    // An error that ends the whole request (as a conversion error does): nothing after it runs.
    bool abortsBatch = false;
};

} // namespace qormin::sim
