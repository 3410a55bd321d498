#pragma once

#include "net/KeyStrokeSender.h"

#include <QByteArray>
#include <QProcessEnvironment>
#include <QStringList>

namespace qormin::net {

// Key strokes into the window in front on an X11 desktop, through xdotool. Text is typed
// from xdotool's standard input, so nothing typed shows on a command line.
class XdotoolKeyStrokeSender : public KeyStrokeSender {
public:
    struct Invocation {
        QStringList arguments;
        QByteArray input;
        bool operator==(const Invocation&) const = default;
    };

    explicit XdotoolKeyStrokeSender(
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment());

    std::string send(const std::vector<KeyStroke>& strokes) override;

    // The xdotool runs for the strokes: plain text goes to "type", the rest to "key".
    static std::vector<Invocation> invocations(const std::vector<KeyStroke>& strokes);

private:
    QProcessEnvironment m_environment;
};

} // namespace qormin::net
