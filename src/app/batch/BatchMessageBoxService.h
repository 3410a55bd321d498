#pragma once

#include "platform/MessageBoxService.h"

#include <QStringList>
#include <deque>

class QTextStream;

namespace qormin::app {

// Message boxes in batch mode: each is printed as "MSGBOX: <text> -> <answer>" and answered
// from the queue the batch file fills ("answer yes"), or with its default button. File dialogs
// likewise take the next path of "answer file PATH", or are cancelled.
class BatchMessageBoxService : public platform::MessageBoxService {
public:
    BatchMessageBoxService(QTextStream& output, QTextStream& warnings);

    void queueAnswer(platform::MessageBoxAnswer answer);
    void queueFileName(const QString& path);
    std::size_t pendingAnswers() const { return m_answers.size(); }
    std::size_t pendingFileNames() const { return m_fileNames.size(); }

    platform::MessageBoxAnswer MsgBox(const QString& text, platform::MessageBoxButtons buttons,
                                      const QString& title) override;
    QString saveFileName(const QString& caption, const QString& suggestedName,
                         const QString& filter) override;

private:
    QTextStream& m_output;
    QTextStream& m_warnings;
    std::deque<platform::MessageBoxAnswer> m_answers;
    std::deque<QString> m_fileNames;
};

} // namespace qormin::app
