#include "net/KeyStrokeTyping.h"

#include "net/KeyStrokeSender.h"
#include "net/SendKeysParser.h"

#include <QEventLoop>
#include <QTimer>

namespace qormin::net {

QString typeKeys(KeyStrokeSender& sender, const QString& keys) {
    const SendKeysParser::Result parsed = SendKeysParser::parse(keys.toStdU16String());
    std::string problem = parsed.error;
    if (problem.empty())
        problem = sender.send(parsed.strokes);
    if (problem.empty())
        return QString();
    return QStringLiteral("Key strokes not sent: ") + QString::fromStdString(problem);
}

void letWindowOpen(std::chrono::milliseconds wait) {
    if (wait.count() <= 0)
        return;
    QEventLoop loop;
    QTimer::singleShot(wait, &loop, &QEventLoop::quit);
    loop.exec(QEventLoop::ExcludeUserInputEvents);
}

} // namespace qormin::net
