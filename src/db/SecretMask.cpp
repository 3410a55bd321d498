#include "db/SecretMask.h"

#include <QHash>
#include <QRegularExpression>
#include <mutex>

namespace qormin::db {

namespace {

constexpr qsizetype shortestMaskedValue = 4;

struct KnownSecrets {
    std::mutex mutex;
    QHash<QString, QString> values;
};

KnownSecrets& knownSecrets() {
    static KnownSecrets secrets;
    return secrets;
}

// PASSWORD = 'x''y' (also N'...'): the quoted part goes, the quotes stay.
const QRegularExpression& sqlLiteral() {
    static const QRegularExpression pattern(QStringLiteral("(\\bPASSWORD\\s*=\\s*N?')((?:[^']|'')*)(')"),
                                            QRegularExpression::CaseInsensitiveOption);
    return pattern;
}

// Password=x; PWD={x;y}: a value that starts with a quote or N' is a literal (above) and one that
// starts with @ a variable, neither of them a password.
const QRegularExpression& connectionValue() {
    static const QRegularExpression pattern(
        QStringLiteral("(\\b(?:Password|PWD)\\s*=\\s*)(?![\\s'@]|N')(\\{(?:[^}]|\\}\\})*\\}|[^;\\r\\n]*)"),
        QRegularExpression::CaseInsensitiveOption);
    return pattern;
}

bool mentionsPassword(const QString& text) {
    return text.contains(QLatin1String("password"), Qt::CaseInsensitive) ||
           text.contains(QLatin1String("pwd"), Qt::CaseInsensitive);
}

} // namespace

void setKnownSecret(const QString& name, const QString& value) {
    KnownSecrets& secrets = knownSecrets();
    const std::lock_guard lock(secrets.mutex);
    if (value.size() < shortestMaskedValue)
        secrets.values.remove(name);
    else
        secrets.values.insert(name, value);
}

QString maskSecrets(const QString& text) {
    const QString mask = QString::fromLatin1(secretMaskText);
    QString masked = text;
    {
        KnownSecrets& secrets = knownSecrets();
        const std::lock_guard lock(secrets.mutex);
        for (const QString& value : std::as_const(secrets.values))
            masked.replace(value, mask);
    }
    if (!mentionsPassword(masked))
        return masked;
    masked.replace(sqlLiteral(), QStringLiteral("\\1") + mask + QStringLiteral("\\3"));
    masked.replace(connectionValue(), QStringLiteral("\\1") + mask);
    return masked;
}

} // namespace qormin::db
