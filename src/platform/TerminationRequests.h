#pragma once

#include <QObject>
#include <QString>

class QSocketNotifier;

namespace qormin::platform {

// The operating system asking the program to end: SIGTERM, SIGHUP and SIGINT on Linux, the
// console's Ctrl+C, close, log-off and shut-down events on Windows. requested() comes on the
// window thread through its event loop: the signal handler itself only writes the signal's
// number into a pipe (all it may safely do), and a socket notifier reads it. While one is alive
// those signals no longer end the program at once; as a last resort, a program whose event loop
// does not turn within lastResortSeconds of a request ends by SIGALRM. One at a time.
class TerminationRequests : public QObject {
    Q_OBJECT
public:
    static constexpr unsigned lastResortSeconds = 30;

    explicit TerminationRequests(QObject* parent = nullptr);
    ~TerminationRequests() override;

    // Delivers a request that came while the event loop was not turning (batch mode between
    // two commands).
    void checkNow();

Q_SIGNALS:
    void requested(const QString& name); // "SIGTERM"

private:
    QSocketNotifier* m_notifier = nullptr;
};

} // namespace qormin::platform
