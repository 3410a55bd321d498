#pragma once

#include <QString>

namespace qormin::platform {

// YesNoDefaultNo: a question whose Yes destroys something; Enter, or a batch run that gives no
// answer, takes No.
enum class MessageBoxButtons { Ok, OkCancel, YesNo, YesNoCancel, YesNoDefaultNo };
enum class MessageBoxAnswer { Ok, Cancel, Yes, No };

// Every message box of the tool goes through here, so batch mode can answer it and tests can
// see it. A box nobody answers takes its first button (defaultAnswer).
class MessageBoxService {
public:
    virtual ~MessageBoxService() = default;
    virtual MessageBoxAnswer MsgBox(const QString& text, MessageBoxButtons buttons = MessageBoxButtons::Ok,
                                    const QString& title = QString()) = 0;
    // Asks for the name of a file to write; empty when the operator cancels (or nobody can answer).
    virtual QString saveFileName(const QString& caption, const QString& suggestedName,
                                 const QString& filter) = 0;
};

MessageBoxAnswer defaultAnswer(MessageBoxButtons buttons);
bool offers(MessageBoxButtons buttons, MessageBoxAnswer answer);
QString answerName(MessageBoxAnswer answer);

} // namespace qormin::platform
