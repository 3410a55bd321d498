#pragma once

#include "QStringPrinter.h"
#include "SimTestServer.h"
#include "WindowHarness.h"

#include <QStringList>
#include <gtest/gtest.h>
#include <memory>

namespace qormin::test {

// A loaded main window whose left server is a simulated one answering rules() before the
// general ones; txtDB holds Billing.
class SqlToolsFixture : public testing::Test {
protected:
    void SetUp() override;
    virtual QByteArray rules() const = 0;

    SimTestServer& server() { return *m_server; }
    app::frmMain& window() { return m_harness->window(); }
    WindowHarness& harness() { return *m_harness; }
    BatchResult run(const QString& script);
    // txtLog as the box shows it: newest line on top, lines logged at the end below.
    QStringList logLines();
    // Statements since the last run().
    QStringList statements() { return m_server->statements(); }
    int leftConnection() const { return m_leftConnection; }

    template <typename Widget> Widget* find(const char* name) {
        return window().findChild<Widget*>(QString::fromLatin1(name));
    }

private:
    std::unique_ptr<SimTestServer> m_server;
    std::unique_ptr<WindowHarness> m_harness;
    int m_leftConnection = 0;
};

} // namespace qormin::test
