#pragma once

#include "SimTestServer.h"
#include "WindowHarness.h"

#include <QJsonArray>
#include <QStringList>
#include <gtest/gtest.h>
#include <memory>

namespace qormin::test {

// A loaded main window whose left server is a simulated hospital server holding the scanned
// claim documents and the HISTORY tables; the transfer windows are opened through batch mode.
class TransferWindowFixture : public testing::Test {
protected:
    void SetUp() override;
    // Rules a test adds to the scenario, tried before its own.
    virtual QJsonArray extraRules() const { return {}; }
    SimTestServer& server() { return *m_server; }

    BatchResult run(const QString& script, int exitCode = 0);
    // The statements that change rows (INSERT, UPDATE, DELETE, TRUNCATE, DDL), in order.
    QStringList changes() const;
    QStringList statements() const { return m_server->statements(); }
    // The window's own log, newest line first.
    QStringList windowLog(const QString& window) const;
    QString text(const QString& control) const;
    QWidget* subsidiary(const QString& window) const;
    WindowHarness& harness() { return *m_harness; }
    void clearTranscript() { m_server->clearTranscript(); }

private:
    std::unique_ptr<SimTestServer> m_server;
    std::unique_ptr<WindowHarness> m_harness;
};

} // namespace qormin::test
