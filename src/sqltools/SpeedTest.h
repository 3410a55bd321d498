#pragma once

#include <QString>

namespace qormin::db {
class ServerAccess;
}

namespace qormin::sqltools {

struct SpeedTestOutcome {
    bool connected = false;
    QString connectError;
    int statements = 0; // sent or withheld
    int failed = 0;
    QString firstError;
    qsizetype rowsRead = 0;
    QString lastValue; // the read's last row: its first field as text
};

// One step of the speed test on a connection of its own, opened from the test's connection
// string for this run only, so the sides' connections and their current databases stay as
// they are. Nothing is logged; Script only withholds the steps that change the server.
class SpeedTest {
public:
    enum Step : int { CreateTable, AddRows, DeleteRows, ReadRows, StepCount };

    explicit SpeedTest(db::ServerAccess& access) : m_access(access) {}

    SpeedTestOutcome run(int step, const QString& connectionText, const QString& database);

private:
    db::ServerAccess& m_access;
};

} // namespace qormin::sqltools
