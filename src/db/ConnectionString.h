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

struct OdbcConnectionText {
    QString text;
    QString error; // set when the string itself is malformed; text is then empty
};

// Translates the provider-style string into an ODBC one for the given driver. The string is
// split at every ";" as the provider does, so a ";" inside a value cuts it there.
OdbcConnectionText translateConnectionString(const QString& providerString, const QString& driver);

} // namespace qormin::db
