#pragma once

#include <QDate>
#include <QString>

namespace qormin::sqltools {

// The "TEST" page's connection string and the statements of its four steps on <db>..SpeedTest.
namespace SpeedTestStatements {

inline constexpr int insertCount = 8000;
inline constexpr int deleteCount = 5000;

// txtTESTConnection until the user edits it, for the left server's address.
QString defaultConnection(const QString& server);
QString defaultConnection(const QString& server, const QString& password);
// The connection as the test uses it: a "Password=" followed by the mask (as txtTESTConnection
// shows the default) gets the password.
QString withPassword(const QString& connection, const QString& password);

QString createTable(const QString& database);
QString insertRow(const QString& database, int number, const QDate& date);
QString deleteOneRow(const QString& database);
QString readRows(const QString& database);
// The read walked as the test always did it: a dynamic, read-only cursor over readRows, one row
// per fetch. Each statement is its own batch, so the cursor is global to the test's connection.
QString openReadCursor(const QString& database);
QString fetchReadCursor();
QString closeReadCursor();

// The first row's date; each later row is one day on.
QDate firstDate();
// yyyymmdd, the one date text every server reads the same whatever its language or DATEFORMAT.
QString dateText(const QDate& date);

} // namespace SpeedTestStatements

} // namespace qormin::sqltools
