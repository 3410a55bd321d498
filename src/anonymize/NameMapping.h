#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace qormin::anonymize {

// The complete run's replacement: HMAC-SHA-256 of the original value under the operator's
// secret picks an entry of the list, so one real name gets one fake name in every table and
// every run with that secret, and nobody without the secret can tell which. Originals that
// differ only in case or surrounding blanks are the same name. A pick equal to the original
// moves on to the next entry, so no value stays as it was. An all-capitals original gets its
// replacement in capitals, as hospital records often hold names.
class NameMapping {
public:
    NameMapping(const QString& secret, QStringList surnames, QStringList givenNames);

    bool usable() const { return !m_key.isEmpty() && !m_surnames.isEmpty() && !m_givenNames.isEmpty(); }
    QString replacement(const QString& original, bool surname) const;

private:
    QByteArray m_key;
    QStringList m_surnames;
    QStringList m_givenNames;
};

} // namespace qormin::anonymize
