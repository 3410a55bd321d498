#include "controls/ctlSaveLoadFile.h"

#include "platform/MessageBoxService.h"

#include <QDir>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTextCursor>
#include <QTextDocument>
#include <QVBoxLayout>
#include <algorithm>

namespace qormin::controls {

namespace {

const QString windowsLineEnd = QStringLiteral("\r\n");

// The first line end of the file; the lists are Windows files, so CR LF when there is none.
QString lineEndOf(const QString& text) {
    const auto at =
        std::find_if(text.cbegin(), text.cend(), [](QChar c) { return c == u'\r' || c == u'\n'; });
    if (at == text.cend())
        return windowsLineEnd;
    if (*at == u'\n')
        return QStringLiteral("\n");
    return std::next(at) != text.cend() && *std::next(at) == u'\n' ? windowsLineEnd : QStringLiteral("\r");
}

bool endsWithLineBreak(const QString& text) {
    return text.endsWith(u'\n') || text.endsWith(u'\r');
}

} // namespace

ctlSaveLoadFile::ctlSaveLoadFile(QString dataDirectory, platform::MessageBoxService& messageBoxes,
                                 QWidget* parent)
    : QWidget(parent), m_dataDirectory(std::move(dataDirectory)), m_messageBoxes(messageBoxes),
      m_lineEnd(windowsLineEnd), m_lblFile(new QLabel(this)), m_txtFileVal(new QPlainTextEdit(this)),
      m_cmdInit(new QPushButton(tr("Load"), this)), m_cmdSaveFile(new QPushButton(tr("Save"), this)) {
    m_lblFile->setObjectName(QStringLiteral("lblFile"));
    m_txtFileVal->setObjectName(QStringLiteral("txtFileVal"));
    m_txtFileVal->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_cmdInit->setObjectName(QStringLiteral("cmdInit"));
    m_cmdInit->setToolTip(tr("Load the file again; unsaved changes are lost"));
    m_cmdSaveFile->setObjectName(QStringLiteral("cmdSaveFile"));
    m_cmdSaveFile->setToolTip(tr("Write the text to the file"));
    // Until a file is bound there is nothing to load or save.
    m_cmdInit->setEnabled(false);
    m_cmdSaveFile->setEnabled(false);

    auto* header = new QHBoxLayout;
    header->addWidget(m_lblFile, 1);
    header->addWidget(m_cmdInit);
    header->addWidget(m_cmdSaveFile);
    // The text box fills the height below its top.
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(header);
    layout->addWidget(m_txtFileVal, 1);

    connect(m_cmdInit, &QPushButton::clicked, this, &ctlSaveLoadFile::LoadFile);
    connect(m_cmdSaveFile, &QPushButton::clicked, this, &ctlSaveLoadFile::SaveFile);
}

QString ctlSaveLoadFile::fileName() const {
    return m_lblFile->text();
}

QString ctlSaveLoadFile::filePath() const {
    return QDir(m_dataDirectory).filePath(fileName());
}

void ctlSaveLoadFile::BindFile(const QString& fileName) {
    m_lblFile->setText(fileName);
    m_cmdInit->setEnabled(true);
    m_cmdSaveFile->setEnabled(true);
    LoadFile();
}

void ctlSaveLoadFile::LoadFile() {
    const QString text = ReadFileText(filePath());
    m_lineEnd = lineEndOf(text);
    m_txtFileVal->setPlainText(text);
    rememberSaved(text);
}

// A missing or unreadable file gives an empty box and no message: a list not written yet is
// an empty list.
QString ctlSaveLoadFile::ReadFileText(const QString& path) {
    return m_file.read(path);
}

bool ctlSaveLoadFile::SaveFile() {
    const QString current = text();
    if (!m_file.write(filePath(), current)) {
        // The operator pressed Save and counts on the list at the next start. The panel has no
        // log of its own and a line in txtLog is easily missed, so the failure is shown in a
        // box; the text stays in the panel to be saved again once the folder is writable.
        m_messageBoxes.MsgBox(m_file.errorText());
        return false;
    }
    rememberSaved(current);
    return true;
}

QString ctlSaveLoadFile::text() const {
    const QString shown = shownText();
    if (shown == m_savedShown)
        return m_savedText;
    QString result = shown;
    result.replace(u'\n', m_lineEnd);
    return result;
}

void ctlSaveLoadFile::setText(const QString& text) {
    m_txtFileVal->setPlainText(text);
}

void ctlSaveLoadFile::appendText(const QString& text) {
    QTextCursor cursor(m_txtFileVal->document());
    cursor.movePosition(QTextCursor::End);
    if (!shownText().isEmpty() && !endsWithLineBreak(shownText()))
        cursor.insertText(QStringLiteral("\n"));
    cursor.insertText(text);
}

// The box's text with every line break as a line feed. Raw text, because the plain text of
// the document turns non-breaking spaces into blanks.
QString ctlSaveLoadFile::shownText() const {
    QString raw = m_txtFileVal->document()->toRawText();
    for (QChar& c : raw) {
        if (c == QChar::ParagraphSeparator || c == QChar::LineSeparator)
            c = u'\n';
    }
    return raw;
}

void ctlSaveLoadFile::rememberSaved(const QString& text) {
    m_savedText = text;
    m_savedShown = shownText();
}

} // namespace qormin::controls
