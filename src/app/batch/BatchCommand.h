#pragma once

#include <QString>
#include <optional>

namespace qormin::app {

// One line of a batch file, parsed.
struct BatchCommand {
    enum class Kind { None, Set, Click, Select, DoubleClick, Page, Answer, AnswerFile, Open, Print, Wait };
    Kind kind = Kind::None; // None: an empty or comment line
    QString name;           // control or window name
    QString value;          // set, answer file: the unescaped text; answer: yes/no/ok/cancel
    int row = 0;            // select/dblclick row, page index, wait milliseconds
    std::optional<int> column;
};

struct BatchParseResult {
    std::optional<BatchCommand> command;
    QString error; // set when the line is malformed
};

// Parses one line; the trailing CR of a CRLF file is ignored. The value of "set" is the rest
// of the line after one blank, with \r, \n, \t and \\ unescaped; any other backslash pair is
// an error, so that a Windows path written with single backslashes is refused instead of being
// silently changed. "answer file PATH" takes its path the same way.
BatchParseResult parseBatchLine(QString line);

// The text with CR, LF, tab and backslash written as \r, \n, \t and \\: what "print" shows
// of a multi-line text box, one line that "set" takes back unchanged.
QString escapedBatchValue(const QString& text);

} // namespace qormin::app
