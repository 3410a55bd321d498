#pragma once

#include "dbfiles/RunLog.h"

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::dbfiles {

// Collects one database's statements of a pass and writes its run-log line when it goes out of
// scope. The header-row pass of an all-databases loop is not a database and writes nothing.
class RunLogRecorder {
public:
    RunLogRecorder(window::MainWindowContext& context, QString operation, QString database);
    ~RunLogRecorder();
    RunLogRecorder(const RunLogRecorder&) = delete;
    RunLogRecorder& operator=(const RunLogRecorder&) = delete;

    // One statement on file has run (or was withheld); a failure takes the server's error text.
    void add(const QString& file, bool succeeded);
    // A step that is no statement on a file failed (a check, a count); the first error is kept.
    void fail(const QString& error);

    // Beside the settings file; where the settings are no file (the registry), the data folder.
    static QString path(window::MainWindowContext& context);

private:
    window::MainWindowContext& m_context;
    RunLogLine m_line;
    bool m_skipped;
};

} // namespace qormin::dbfiles
