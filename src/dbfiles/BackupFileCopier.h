#pragma once

#include "dbfiles/CopyOrder.h"

#include <QObject>

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::dbfiles {

class FileCopyRunner;

// Copies named by Windows folder texts (x:\MIR\...), found here through the window's path
// mapping, made off the window's thread and logged in txtLog. With Script only ticked the copy
// is listed and not made.
class BackupFileCopier : public QObject {
    Q_OBJECT
public:
    enum class Outcome { Copied, Listed, Missing, Cancelled, Failed };

    BackupFileCopier(window::MainWindowContext& context, QObject* parent = nullptr);

    Outcome copy(const CopyOrder& order);
    FileCopyRunner& runner() { return *m_runner; }

    // The local name of a folder text; blanks at the end of the name are dropped, as the
    // Windows file system drops them.
    QString localName(const QString& path) const;

private:
    void log(const QString& line);

    window::MainWindowContext& m_context;
    FileCopyRunner* m_runner;
};

} // namespace qormin::dbfiles
