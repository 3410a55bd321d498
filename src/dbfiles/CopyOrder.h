#pragma once

#include <QString>

namespace qormin::dbfiles {

// One file copy as the tool names it: Windows folder texts, kept as typed (trailing blanks too).
struct CopyOrder {
    QString from;
    QString to;

    friend bool operator==(const CopyOrder&, const CopyOrder&) = default;
};

} // namespace qormin::dbfiles
