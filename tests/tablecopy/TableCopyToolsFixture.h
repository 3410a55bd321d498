#pragma once

#include "../db/FakeServerAccessHost.h"
#include "QStringPrinter.h"
#include "SimTestServer.h"

#include "controls/FlexGrid.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"
#include "tablecopy/TableCopyTools.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <algorithm>
#include <gtest/gtest.h>
#include <memory>

namespace qormin::test {

using tablecopy::TableCopyTools;

// Billing..tbCash exists (two columns); tbGone is in the grid but not in the database; the sister
// database refuses rows of tbLocked and already has a tbCash.
extern const QByteArray scenario;

class TableCopyToolsTest : public ::testing::Test {
protected:
    void SetUp() override { start(scenario); }

    void start(const QByteArray& json) {
        m_server = SimTestServer::fromJson(json);
        ASSERT_TRUE(m_server && m_server->isRunning());
        m_host.server[0] = m_server->address();
        m_access = std::make_unique<db::ServerAccess>(m_host);
        m_access->ConnectServer(0);
        m_access->log().clear();
        m_tools = std::make_unique<TableCopyTools>(
            tablecopy::TableCopyControls{*m_access, m_grid, m_database, m_stop});
        m_database.setText(QStringLiteral("Billing"));
        showTables({QStringLiteral("tbCash"), QStringLiteral("tbGone"), QStringLiteral("tbLocked")});
    }

    void showTables(const QStringList& tables) {
        m_grid.setCols(2);
        m_grid.setRows(int(tables.size()) + 1);
        m_grid.setTextMatrix(0, 0, QStringLiteral("TableName"));
        for (int row = 1; row <= tables.size(); ++row)
            m_grid.setTextMatrix(row, 0, tables[row - 1]);
        m_grid.setRow(1);
    }

    void click(const QString& button) {
        m_server->clearTranscript();
        auto* control = m_tools->findChild<QPushButton*>(button);
        ASSERT_NE(control, nullptr) << button.toStdString();
        control->click();
    }

    // Oldest first, unlike the box, so expectations read in the order things happened.
    static QStringList linesOf(const db::LogBuffer& buffer) {
        QStringList lines = buffer.text().split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
        std::reverse(lines.begin(), lines.end());
        return lines;
    }
    QStringList logLines() const { return linesOf(m_access->log()); }
    QStringList errorLines() const { return linesOf(m_access->errors()); }

    std::unique_ptr<SimTestServer> m_server;
    FakeServerAccessHost m_host;
    std::unique_ptr<db::ServerAccess> m_access;
    controls::FlexGrid m_grid;
    QLineEdit m_database;
    QCheckBox m_stop;
    std::unique_ptr<TableCopyTools> m_tools;
};

} // namespace qormin::test
