#pragma once

#include <QString>
#include <vector>

namespace qormin::db {

// A statement Script only withheld, with the place it would have run in.
struct WithheldStatement {
    int side = 0;
    QString server;   // txtServer(side) when it was withheld
    QString database; // the side connection's current database then; empty when not known
    QString sql;      // exactly as it would have been sent
};

// The saved Script only file, to be run as it stands in a query tool: each server's part opens
// with a comment naming side and server ("-- Left (side 0) server SRV1") and a "USE [db]" batch;
// a new part starts whenever the next statement is for the other server, and a further
// "USE [db]" wherever the database changes. Every statement is followed by a "GO" line.
QString withheldScript(const std::vector<WithheldStatement>& statements);

} // namespace qormin::db
