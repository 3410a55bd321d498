#pragma once

#include "db/ConnectionString.h"
#include "db/OdbcDiagnostics.h"

#include <QString>
#include <vector>

namespace qormin::db {

// What a refused encrypted connection was asked of the server once more, without credentials,
// to find out why: with the host name left unchecked, and with the certificate left unchecked.
// Such a probe sends no password, so an impostor learns nothing from it.
struct HandshakeProbes {
    enum class Answer { NotRun, ServerAnswered, Refused };
    Answer withoutHostCheck = Answer::NotRun;
    Answer withoutVerification = Answer::NotRun;
};

enum class Probe { WithoutHostCheck, WithoutVerification };

// How the settings store keeps the choice: "off", "offered", "required"; anything else is
// "offered", the behaviour of the tool before the choice existed.
QString encryptionSettingText(Encryption encryption);
Encryption encryptionFromSettingText(const QString& text);

// The side's freetds.conf section name ("qormin-left", "qormin-right").
QString freeTdsSectionName(int side);

// Whether a connect that failed was the encrypted handshake failing rather than the log-on, the
// network or the driver, judged from every record the driver gave.
bool isRefusedHandshake(DriverKind kind, const std::vector<OdbcDiagnostic>& diagnostics);
// Whether the server itself said something (a log-on refused, say), so the handshake before it
// went through; the driver's own records about the link do not count.
bool serverAnswered(const std::vector<OdbcDiagnostic>& diagnostics);

// The connection string of a probe (see HandshakeProbes) to the server of providerString:
// the user qormin-probe without a password, the certificate checked less than the side asks.
OdbcConnectionText probeConnectionString(const QString& providerString, const QString& driver,
                                         const ConnectionSecurity& security, const QString& sectionName,
                                         Probe probe);

// "Encrypted connection to the left server db1,1433 refused: <reason>", the reason taken from
// the probes (FreeTDS, whose messages do not give one) or from the driver's own text.
QString refusedEncryptionText(int side, const QString& server, const ConnectionSecurity& security,
                              DriverKind kind, const QString& driverText, const HandshakeProbes& probes);

// The same line for a CA file the tool cannot read, said before anything is sent to the server.
QString unreadableCaFileText(int side, const QString& server, const QString& caFile);

} // namespace qormin::db
