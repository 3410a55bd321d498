#pragma once

#include <QString>

namespace qormin::transfer {

// One line of migrate.txt as its first character (its marker) makes it act. The file is
// untrusted text: whatever a line holds, it reads as one of these kinds.
struct MigrateFileLine {
    enum class Kind {
        Blank,   // empty or only blanks
        Comment, // "/"
        Header,  // "#": destination table | source table
        Mapping, // "*": destination field | source (column or "=" constant)
        End,     // ".": run the block
        Refused, // no valid marker (a blank-led line included); reason says why
    };

    Kind kind = Kind::Blank;
    QString destination; // Header: the table; Mapping: the field
    QString source;      // Header: the table
    QString firstWord;   // Mapping: the source column, or "=" and a constant
    QString remainder;   // Mapping: what follows the first word's blank, as it stands
    QString reason;      // Refused: why

    static MigrateFileLine read(const QString& line);
};

} // namespace qormin::transfer
