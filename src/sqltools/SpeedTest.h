#pragma once

#include <QString>

#include <memory>

namespace qormin::db {
class ServerAccess;
class SideConnection;
} // namespace qormin::db

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

    explicit SpeedTest(db::ServerAccess& access);
    ~SpeedTest();
    SpeedTest(const SpeedTest&) = delete;
    SpeedTest& operator=(const SpeedTest&) = delete;

    // The step's connection stays open until the next run or until this object goes, so that
    // closing it is not part of the time the caller takes around run().
    SpeedTestOutcome run(int step, const QString& connectionText, const QString& database);

private:
    db::ServerAccess& m_access;
    std::unique_ptr<db::SideConnection> m_connection;
};

} // namespace qormin::sqltools
