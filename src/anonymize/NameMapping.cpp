#include "anonymize/NameMapping.h"

#include <QMessageAuthenticationCode>
#include <QtEndian>

namespace qormin::anonymize {

namespace {

QStringList withoutEmpty(QStringList names) {
    names.removeAll(QString());
    return names;
}

bool isCapitals(const QString& text) {
    return text == text.toUpper() && text != text.toLower();
}

} // namespace

NameMapping::NameMapping(const QString& secret, QStringList surnames, QStringList givenNames)
    : m_key(secret.toUtf8()), m_surnames(withoutEmpty(std::move(surnames))),
      m_givenNames(withoutEmpty(std::move(givenNames))) {}

QString NameMapping::replacement(const QString& original, bool surname) const {
    const QStringList& names = surname ? m_surnames : m_givenNames;
    if (names.isEmpty())
        return QString();
    const QString normal = original.trimmed().toCaseFolded();
    // The list kind is part of the message, so a name used as surname and as given name gives
    // unrelated picks.
    const QByteArray message =
        (surname ? QByteArrayLiteral("S:") : QByteArrayLiteral("G:")) + normal.toUtf8();
    const QByteArray digest = QMessageAuthenticationCode::hash(message, m_key, QCryptographicHash::Sha256);
    const quint64 number = qFromBigEndian<quint64>(digest.constData());
    qsizetype index = static_cast<qsizetype>(number % static_cast<quint64>(names.size()));
    if (names.size() > 1 && names[index].trimmed().toCaseFolded() == normal)
        index = (index + 1) % names.size();
    const QString& picked = names[index];
    return isCapitals(original) ? picked.toUpper() : picked;
}

} // namespace qormin::anonymize
