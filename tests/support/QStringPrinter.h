#pragma once

#include <QString>
#include <ostream>

// Lets failing expectations show texts, line breaks made visible, instead of UTF-16 code units.
inline void PrintTo(const QString& text, std::ostream* out) {
    QString shown = text;
    shown.replace(u'\r', QStringLiteral("\\r"))
        .replace(u'\n', QStringLiteral("\\n"))
        .replace(u'\t', QStringLiteral("\\t"));
    *out << '"' << shown.toStdString() << '"';
}
