#include "platform/TerminationRequests.h"

#include <QSocketNotifier>

#ifdef Q_OS_WIN
#include "platform/Win32ConsoleControl.h"

#include <QCoreApplication>
#include <QPointer>
#else
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#endif

namespace qormin::platform {

#ifdef Q_OS_WIN

namespace {

QPointer<TerminationRequests> instance;

// Windows calls this on a thread of its own; the request crosses to the window thread queued.
void forward(const char* name) {
    const QString text = QString::fromLatin1(name);
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [text] {
            if (!instance.isNull())
                Q_EMIT instance->requested(text);
        },
        Qt::QueuedConnection);
}

} // namespace

TerminationRequests::TerminationRequests(QObject* parent) : QObject(parent) {
    instance = this;
    watchConsoleRequests(forward);
}

TerminationRequests::~TerminationRequests() {
    stopWatchingConsoleRequests();
}

void TerminationRequests::checkNow() {}

#else

namespace {

constexpr std::array<int, 3> watchedSignals{SIGTERM, SIGHUP, SIGINT};
int requestPipe[2] = {-1, -1};

void onSignal(int number) {
    const int savedErrno = errno;
    const auto byte = static_cast<unsigned char>(number);
    [[maybe_unused]] const ssize_t written = ::write(requestPipe[1], &byte, 1);
    ::alarm(TerminationRequests::lastResortSeconds);
    errno = savedErrno;
}

QString signalName(int number) {
    switch (number) {
    case SIGTERM:
        return QStringLiteral("SIGTERM");
    case SIGHUP:
        return QStringLiteral("SIGHUP");
    case SIGINT:
        return QStringLiteral("SIGINT");
    default:
        return QStringLiteral("signal ") + QString::number(number);
    }
}

void setHandler(void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int number : watchedSignals)
        ::sigaction(number, &action, nullptr);
}

} // namespace

TerminationRequests::TerminationRequests(QObject* parent) : QObject(parent) {
    if (::pipe2(requestPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_notifier = new QSocketNotifier(requestPipe[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &TerminationRequests::checkNow);
    setHandler(onSignal);
}

TerminationRequests::~TerminationRequests() {
    if (m_notifier == nullptr)
        return;
    setHandler(SIG_DFL);
    delete m_notifier;
    for (int& end : requestPipe) {
        ::close(end);
        end = -1;
    }
}

void TerminationRequests::checkNow() {
    if (m_notifier == nullptr)
        return;
    unsigned char byte = 0;
    while (::read(requestPipe[0], &byte, 1) == 1)
        Q_EMIT requested(signalName(byte));
}

#endif

} // namespace qormin::platform
