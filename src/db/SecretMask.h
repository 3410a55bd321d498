#pragma once

#include <QString>

namespace qormin::db {

// What every output (log boxes, batch output, Script only files, the audit trail) shows in place
// of a password.
inline constexpr const char* secretMaskText = "********";

// The passwords the tool knows (SQL logins, shares, the built-in ones), by name, so that a
// changed one replaces the old value; an empty value forgets the name. Values shorter than
// four characters are not masked by value, since they would blank out ordinary words; the
// patterns below still catch them.
void setKnownSecret(const QString& name, const QString& value);

// The text with every known password and every password literal masked: T-SQL
// "PASSWORD = '...'" and connection-string "Password=..." / "PWD=...".
QString maskSecrets(const QString& text);

} // namespace qormin::db
