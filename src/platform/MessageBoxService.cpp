#include "platform/MessageBoxService.h"

namespace qormin::platform {

MessageBoxAnswer defaultAnswer(MessageBoxButtons buttons) {
    switch (buttons) {
    case MessageBoxButtons::YesNo:
    case MessageBoxButtons::YesNoCancel:
        return MessageBoxAnswer::Yes;
    case MessageBoxButtons::YesNoDefaultNo:
        return MessageBoxAnswer::No;
    case MessageBoxButtons::Ok:
    case MessageBoxButtons::OkCancel:
        break;
    }
    return MessageBoxAnswer::Ok;
}

bool offers(MessageBoxButtons buttons, MessageBoxAnswer answer) {
    switch (buttons) {
    case MessageBoxButtons::Ok:
        return answer == MessageBoxAnswer::Ok;
    case MessageBoxButtons::OkCancel:
        return answer == MessageBoxAnswer::Ok || answer == MessageBoxAnswer::Cancel;
    case MessageBoxButtons::YesNo:
    case MessageBoxButtons::YesNoDefaultNo:
        return answer == MessageBoxAnswer::Yes || answer == MessageBoxAnswer::No;
    case MessageBoxButtons::YesNoCancel:
        return answer != MessageBoxAnswer::Ok;
    }
    return false;
}

QString answerName(MessageBoxAnswer answer) {
    switch (answer) {
    case MessageBoxAnswer::Ok:
        return QStringLiteral("ok");
    case MessageBoxAnswer::Cancel:
        return QStringLiteral("cancel");
    case MessageBoxAnswer::Yes:
        return QStringLiteral("yes");
    case MessageBoxAnswer::No:
        return QStringLiteral("no");
    }
    return QString();
}

} // namespace qormin::platform
