#pragma once

#include "window/Tab.h"

#include <QWidget>

class QLabel;
class QLineEdit;

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::sqltools {

struct SpeedTestOutcome;

// "TEST": the speed test on txtDB..SpeedTest through a connection of its own (txtTESTConnection,
// the left server's address until the user edits it); lblTime shows each step's seconds.
class SpeedTestPage : public QWidget {
    Q_OBJECT
public:
    static constexpr int pageIndex = window::Tab::Test;

    SpeedTestPage(window::MainWindowContext& context, QWidget* parent = nullptr);
    static SpeedTestPage* install(window::MainWindowContext& context);

    void cmdTest_Click(int index);
    void cmdTestCopy_Click();

    QLineEdit* txtTESTConnection() const { return m_txtTESTConnection; }
    QLabel* lblTime() const { return m_lblTime; }

private:
    // One line for a failed connect or for every failed statement of the step together.
    void reportFailures(int index, const SpeedTestOutcome& outcome);
    static QString shownConnection(const QString& server);

    window::MainWindowContext& m_context;
    QLineEdit* m_txtTESTConnection;
    QLabel* m_lblTime;
    bool m_connectionEdited = false;
};

} // namespace qormin::sqltools
