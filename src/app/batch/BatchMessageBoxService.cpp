#include "app/batch/BatchMessageBoxService.h"

#include "db/SecretMask.h"

#include <QTextStream>

namespace qormin::app {

namespace {

QString oneLine(QString text) {
    text.replace(u'\\', QStringLiteral("\\\\"));
    text.replace(u'\r', QStringLiteral("\\r"));
    text.replace(u'\n', QStringLiteral("\\n"));
    return text;
}

} // namespace

BatchMessageBoxService::BatchMessageBoxService(QTextStream& output, QTextStream& warnings)
    : m_output(output), m_warnings(warnings) {}

void BatchMessageBoxService::queueAnswer(platform::MessageBoxAnswer answer) {
    m_answers.push_back(answer);
}

platform::MessageBoxAnswer BatchMessageBoxService::MsgBox(const QString& text,
                                                          platform::MessageBoxButtons buttons,
                                                          const QString& /*title*/) {
    platform::MessageBoxAnswer answer = defaultAnswer(buttons);
    if (!m_answers.empty()) {
        const platform::MessageBoxAnswer queued = m_answers.front();
        m_answers.pop_front();
        if (offers(buttons, queued))
            answer = queued;
        else
            m_warnings << "warning: the box \"" << oneLine(text) << "\" has no " << answerName(queued)
                       << " button; it takes " << answerName(answer) << Qt::endl;
    }
    m_output << "MSGBOX: " << db::maskSecrets(oneLine(text)) << " -> " << answerName(answer) << Qt::endl;
    return answer;
}

void BatchMessageBoxService::queueFileName(const QString& path) {
    m_fileNames.push_back(path);
}

QString BatchMessageBoxService::saveFileName(const QString& caption, const QString& /*suggestedName*/,
                                             const QString& /*filter*/) {
    if (m_fileNames.empty()) {
        m_output << "FILEDIALOG: " << oneLine(caption) << " -> cancelled" << Qt::endl;
        return QString();
    }
    const QString path = m_fileNames.front();
    m_fileNames.pop_front();
    m_output << "FILEDIALOG: " << oneLine(caption) << " -> " << oneLine(path) << Qt::endl;
    return path;
}

} // namespace qormin::app
