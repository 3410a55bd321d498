#pragma once

#include <QString>

namespace qormin::net {

// What the share buttons ask of the desktop: a folder window on a server's backup share, a
// command prompt on a mapped drive, key strokes into the window in front, and the removal of
// every mapped drive. Each answers "" when done, or a line for the log saying what was not.
class ShareShell {
public:
    virtual ~ShareShell() = default;
    virtual QString openShareFolder(const QString& server) = 0;
    // drive: "X:" or "y:", as the buttons name them.
    virtual QString openCommandPrompt(const QString& drive) = 0;
    virtual QString sendKeys(const QString& keys) = 0;
    virtual QString dropMappedDrives() = 0;
};

} // namespace qormin::net
