#pragma once

#include <QString>

namespace qormin::db {

// True only for batches that certainly change nothing on a server: SELECT without INTO,
// USE, RESTORE FILELISTONLY / HEADERONLY / LABELONLY, sp_who / sp_who2, and the record loops'
// cursor texts over such a SELECT. RESTORE VERIFYONLY changes nothing either, but it reads a
// whole backup, work an operator schedules like the backup itself: Script only lists it with
// the statements it withholds. Anything else, including DBCC, SET,
// DECLARE of variables and any batch that mixes in another kind of statement, counts as
// changing. When in doubt the answer is false.
bool isReadOnlyStatement(const QString& sql);

} // namespace qormin::db
