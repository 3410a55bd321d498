#pragma once

// Conversions between QString and the driver manager's wide characters (UTF-16 with unixODBC
// and on Windows, UTF-32 only with driver managers built that way).

#include <QString>
#include <sqltypes.h>
#include <vector>

namespace qormin::db {

inline QString fromSqlWide(const SQLWCHAR* text, qsizetype length) {
    static_assert(sizeof(SQLWCHAR) == sizeof(char16_t) || sizeof(SQLWCHAR) == sizeof(char32_t));
    if constexpr (sizeof(SQLWCHAR) == sizeof(char16_t)) {
        return QString::fromUtf16(reinterpret_cast<const char16_t*>(text), length);
    } else {
        return QString::fromUcs4(reinterpret_cast<const char32_t*>(text), length);
    }
}

// Zero-terminated copy; size() - 1 characters of text.
inline std::vector<SQLWCHAR> toSqlWide(const QString& text) {
    std::vector<SQLWCHAR> wide;
    if constexpr (sizeof(SQLWCHAR) == sizeof(char16_t)) {
        wide.assign(text.utf16(), text.utf16() + text.size());
    } else {
        const auto ucs4 = text.toUcs4();
        wide.assign(ucs4.begin(), ucs4.end());
    }
    wide.push_back(0);
    return wide;
}

} // namespace qormin::db
