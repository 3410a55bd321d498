#pragma once

#include <QString>
#include <vector>

namespace qormin::db {

// One batch of a script as ExecuteScript handles it.
struct ScriptStep {
    bool logged = false; // LogMessage(text) before running it (not for a batch that began with "-")
    QString text;        // the batch after the clean-up; run when not empty
    bool literalSemicolonRemoved = false; // a removed ";" stood inside a string literal
};

struct ScriptSplit {
    std::vector<ScriptStep> steps;
    bool endedAtEmptyBatch = false; // an empty batch stops the script there
};

// Splits a script the way ExecuteScript always has, odd rules included: batches end at the
// first "GO" + CRLF anywhere (case-insensitive, so a line ending in LOGO splits too); each
// batch loses its last character and every ";"; leading CR and LF become blanks and are
// trimmed; a batch starting with "-" loses its first line instead of being logged. Linear in
// the size of the script. A ";" inside a string literal goes too, which changes the text the
// statement works with: such a batch is marked so that the runner can warn.
ScriptSplit splitScript(const QString& script);

} // namespace qormin::db
