#include "db/ConnectionSecurity.h"

#include <QRegularExpression>

namespace qormin::db {

namespace {

const QString probeUser = QStringLiteral("qormin-probe");

QString sideName(int side) {
    return side == 0 ? QStringLiteral("left") : QStringLiteral("right");
}

QString refusalPrefix(int side, const QString& server) {
    return QStringLiteral("Encrypted connection to the %1 server %2 refused: ").arg(sideName(side), server);
}

// The name the certificate is checked against: the server's text without port or instance.
QString hostOf(QString server) {
    server = server.trimmed();
    if (server.startsWith(QLatin1String("tcp:"), Qt::CaseInsensitive)) {
        server = server.mid(4);
    }
    return server.section(QLatin1Char(','), 0, 0).section(QLatin1Char('\\'), 0, 0).trimmed();
}

QString freeTdsReason(const QString& server, const ConnectionSecurity& security, const QString& driverText,
                      const HandshakeProbes& probes) {
    using Answer = HandshakeProbes::Answer;
    if (probes.withoutHostCheck == Answer::ServerAnswered) {
        return QStringLiteral("the server's certificate does not carry the name ") + hostOf(server);
    }
    if (probes.withoutVerification == Answer::ServerAnswered) {
        return security.caFile.isEmpty()
                   ? QStringLiteral(
                         "the server's certificate is not signed by a CA of the system's trust store")
                   : QStringLiteral("the server's certificate is not signed by the CA in ") + security.caFile;
    }
    return QStringLiteral("the server offers no encryption or ended the handshake (") + driverText +
           QLatin1Char(')');
}

} // namespace

QString encryptionSettingText(Encryption encryption) {
    switch (encryption) {
    case Encryption::Off:
        return QStringLiteral("off");
    case Encryption::Required:
        return QStringLiteral("required");
    case Encryption::WhenOffered:
        break;
    }
    return QStringLiteral("offered");
}

Encryption encryptionFromSettingText(const QString& text) {
    if (text == QLatin1String("off")) {
        return Encryption::Off;
    }
    return text == QLatin1String("required") ? Encryption::Required : Encryption::WhenOffered;
}

QString freeTdsSectionName(int side) {
    return QStringLiteral("qormin-") + sideName(side);
}

bool isRefusedHandshake(DriverKind kind, const std::vector<OdbcDiagnostic>& diagnostics) {
    static const QRegularExpression tlsWords(QStringLiteral("\\bSSL\\b|\\bTLS\\b|certificate|encrypt"),
                                             QRegularExpression::CaseInsensitiveOption);
    for (const OdbcDiagnostic& diagnostic : diagnostics) {
        // FreeTDS says no more than this when its TLS handshake or certificate check fails.
        if (kind == DriverKind::FreeTds &&
            diagnostic.text == QLatin1String("Adaptive Server connection failed")) {
            return true;
        }
        if (kind == DriverKind::SqlServer && tlsWords.match(diagnostic.text).hasMatch()) {
            return true;
        }
    }
    return false;
}

bool serverAnswered(const std::vector<OdbcDiagnostic>& diagnostics) {
    // The states the driver gives its own failures: general error, no link, link lost, timeout.
    static const QStringList driverStates{QStringLiteral("S1000"), QStringLiteral("HY000"),
                                          QStringLiteral("08001"), QStringLiteral("08S01"),
                                          QStringLiteral("HYT00"), QStringLiteral("S1T00")};
    for (const OdbcDiagnostic& diagnostic : diagnostics) {
        if (!diagnostic.isInformational() && !driverStates.contains(diagnostic.sqlState) &&
            !diagnostic.sqlState.startsWith(QLatin1String("IM"))) {
            return true;
        }
    }
    return false;
}

OdbcConnectionText probeConnectionString(const QString& providerString, const QString& driver,
                                         const ConnectionSecurity& security, const QString& sectionName,
                                         Probe probe) {
    static const QRegularExpression credentials(
        QStringLiteral("(?:^|;)\\s*(?:UID|User ID|PWD|Password)\\s*=[^;]*"),
        QRegularExpression::CaseInsensitiveOption);
    QString anonymous = providerString;
    anonymous.remove(credentials);
    anonymous += QStringLiteral(";UID=") + probeUser + QStringLiteral(";PWD=");
    OdbcConnectionText probeText = translateConnectionString(anonymous, driver, security, sectionName);
    QString& section = probeText.freeTdsSection;
    if (probe == Probe::WithoutHostCheck) {
        section.replace(QStringLiteral("check certificate hostname = yes"),
                        QStringLiteral("check certificate hostname = no"));
    } else {
        static const QRegularExpression caFileLine(QStringLiteral("\\tca file = [^\\n]*\\n"));
        section.remove(caFileLine);
    }
    return probeText;
}

QString refusedEncryptionText(int side, const QString& server, const ConnectionSecurity& security,
                              DriverKind kind, const QString& driverText, const HandshakeProbes& probes) {
    const QString reason =
        kind == DriverKind::FreeTds ? freeTdsReason(server, security, driverText, probes) : driverText;
    return refusalPrefix(side, server) + reason;
}

QString unreadableCaFileText(int side, const QString& server, const QString& caFile) {
    return refusalPrefix(side, server) + QStringLiteral("the CA file ") + caFile +
           QStringLiteral(" cannot be read");
}

} // namespace qormin::db
