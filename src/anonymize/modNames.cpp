#include "anonymize/modNames.h"

#include <QFile>

namespace qormin::anonymize::modNames {

namespace {

QString resourceText(const char* path) {
    QFile file(QString::fromLatin1(path));
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    return QString::fromLatin1(file.readAll());
}

} // namespace

QString defaultLastNames() {
    static const QString text = resourceText(":/anonymize/names/Surnames.txt");
    return text;
}

QString defaultFirstNames() {
    static const QString text = resourceText(":/anonymize/names/GivenNames.txt");
    return text;
}

} // namespace qormin::anonymize::modNames
