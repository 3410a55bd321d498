#pragma once

#include <QCoreApplication>

namespace qormin::db {
struct ResultTable;
}

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::app {

// The columns after the name in a side's database grid: state, recovery model, data and log
// size, last full and log backup with their age, and why a database needs attention. One
// read-only query after the database list fills them; a database whose backups are overdue is
// coloured and counted in lblDBCount. Where the query fails (no msdb history) one line in
// txtLog says so and the grid keeps its names alone.
class DatabaseHealthColumns {
    Q_DECLARE_TR_FUNCTIONS(DatabaseHealthColumns)
public:
    explicit DatabaseHealthColumns(window::MainWindowContext& context);

    void show(int side);

private:
    void fill(int side, const db::ResultTable& health);

    window::MainWindowContext& m_context;
};

} // namespace qormin::app
