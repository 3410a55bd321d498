#pragma once

#include <QString>

namespace qormin::db {

// The connection string the user sees, built from the side's three text boxes with no
// escaping and no trimming; the blank after MASTER belongs to it.
QString buildConnectionString(const QString& server, const QString& user, const QString& password);

enum class DriverKind { FreeTds, SqlServer };

// The connection string with the password's value replaced by asterisks, for showing it: a
// message box's text reaches the batch output, and a picture of the screen a file.
QString withoutPassword(const QString& connectionString);

// FreeTDS when the driver's name or library says so, the SQL Server driver otherwise.
DriverKind driverKindOf(const QString& driver);

// Off: never encrypt. WhenOffered: whatever the driver does by default with what the server
// offers (the tool's behaviour before it had the choice). Required: encrypt or do not connect, with
// the server's certificate checked, host name included.
enum class Encryption { Off, WhenOffered, Required };

// One side's choice of encryption, from the Options page.
struct ConnectionSecurity {
    Encryption encryption = Encryption::WhenOffered;
    QString caFile;          // the CA the certificate must chain to; empty: the system's trust store
    QString certificateHost; // the name the certificate must carry; empty: the server's host name
    friend bool operator==(const ConnectionSecurity&, const ConnectionSecurity&) = default;
};

struct OdbcConnectionText {
    QString text;
    QString error; // set when the string itself is malformed; text is then empty
    // FreeTDS 1.3 takes a CA file and the host name check only from its configuration file, so a
    // verified connection names a section there (Servername=) instead of the server: this is
    // that section, to be written to the file FREETDSCONF names (FreeTdsConfigFile).
    QString freeTdsSection;
};

// Translates the provider-style string into an ODBC one for the given driver. The string is
// split at every ";" as the provider does, so a ";" inside a value cuts it there. The default
// security gives the string the tool has always built.
OdbcConnectionText translateConnectionString(const QString& providerString, const QString& driver,
                                             const ConnectionSecurity& security = {},
                                             const QString& freeTdsSectionName = {});

} // namespace qormin::db
