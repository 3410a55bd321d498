#pragma once

#include "SimTestServer.h"
#include "WindowHarness.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <gtest/gtest.h>
#include <memory>

namespace qormin::test {

// A loaded main window whose left and right servers are two simulated servers answering the
// database list and the file lists of backups (each backup holds <db> and <db>_log files).
class DatabaseFileFixture : public testing::Test {
protected:
    void SetUp() override;

    // Server side 0 or 1; statements sent to it since the last clearTranscripts().
    SimTestServer& server(int side) { return side == 0 ? *m_left : *m_right; }
    QStringList statements(int side) { return server(side).statements(); }
    void clearTranscripts();

    // Runs the batch and fails the test unless it ends with that exit status (1: a statement failed).
    void run(const QString& script, int exitCode = 0);
    // Calls action whenever a statement starts with txtDB holding database.
    void whenStatementStartsFor(const QString& database, std::function<void()> action);
    // Newest line first, as txtLog shows it.
    QStringList logLines();
    // The run log's lines, header first, each line's times checked for form and cut off.
    QStringList runLogLines();

    WindowHarness& harness() { return *m_harness; }
    app::frmMain& window() { return m_harness->window(); }

    static QByteArray scenario(const QByteArray& extraRules = QByteArray());
    // Hook for suites that need their own rules; they run before the general ones.
    virtual QByteArray extraRules() const { return QByteArray(); }

private:
    std::unique_ptr<SimTestServer> m_left;
    std::unique_ptr<SimTestServer> m_right;
    std::unique_ptr<WindowHarness> m_harness;
};

} // namespace qormin::test
