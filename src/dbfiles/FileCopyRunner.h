#pragma once

#include "platform/ChunkedFileCopy.h"

#include <QObject>
#include <QString>

namespace qormin::dbfiles {

// Copies one file off the window's thread while the calling handler waits in the event loop
// (the window keeps painting and Cancel stays live), reporting progress a few times a second.
// One copy at a time.
class FileCopyRunner : public QObject {
    Q_OBJECT
public:
    static constexpr int progressIntervalMilliseconds = 100;

    explicit FileCopyRunner(QObject* parent = nullptr);

    // Local file names; blocks the caller (not the window) until the copy has ended.
    platform::FileCopyOutcome copy(const QString& source, const QString& target);
    // Ends the running copy between two chunks; nothing is left under the target's name.
    void cancel();
    bool isCopying() const { return m_copying; }

Q_SIGNALS:
    void copyStarted(const QString& source);
    void progress(qint64 copied, qint64 total);
    void copyEnded();

private:
    platform::FileCopyProgress* m_progress = nullptr;
    bool m_copying = false;
};

} // namespace qormin::dbfiles
