#pragma once

#include "net/ShareCredentials.h"
#include "net/ToolProcess.h"

#include <QByteArray>

namespace qormin::net {

// Answers the prompts of "gio mount" (untranslated: "User [guest]: ", "Domain [...]: ",
// "Password: ") from the operator's credentials. A second round of prompts means the server
// refused them; the answer then closes gio's input, which makes it give up instead of asking
// for ever.
class GioPromptResponder {
public:
    explicit GioPromptResponder(ShareCredentials credentials) : m_credentials(std::move(credentials)) {}

    ToolProcess::Answer read(const QByteArray& newOutput);

    bool credentialsRefused() const { return m_refused; }
    // gio asked something this responder cannot answer (a question with choices).
    bool unexpectedQuestion() const { return m_unexpected; }

private:
    ToolProcess::Answer give(const QString& text);
    ToolProcess::Answer giveUp();

    ShareCredentials m_credentials;
    QByteArray m_pending;
    bool m_passwordGiven = false;
    bool m_refused = false;
    bool m_unexpected = false;
};

} // namespace qormin::net
