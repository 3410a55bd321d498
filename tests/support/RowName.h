#pragma once

#include <QRegularExpression>
#include <QStringList>
#include <string>

namespace qormin::test {

// A readable test name from a case's text; the index keeps names of similar cases apart.
inline std::string caseName(const char* text, size_t index) {
    static const QRegularExpression others(QStringLiteral("[^A-Za-z0-9]+"));
    QStringList words = QString::fromUtf8(text).split(others, Qt::SkipEmptyParts);
    return (words << QString::number(index)).join(u'_').toStdString();
}

} // namespace qormin::test
