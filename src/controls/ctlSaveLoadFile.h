#pragma once

#include "controls/SaveLoadFileText.h"

#include <QString>
#include <QWidget>

class QLabel;
class QPlainTextEdit;
class QPushButton;

namespace qormin::platform {
class MessageBoxService;
}

namespace qormin::controls {

// A multi-line text box bound to one text file in the program's data folder, with a button
// that loads the file and one that writes the box back. The host binds it to a file name
// (shown in lblFile) and then works with the text.
//
// The text box itself only knows line feeds, so the panel keeps the file's own line ends:
// text() gives the box's text with the line end the file used (CR LF for a new file), and
// exactly the loaded text while the box still shows what was loaded. Load and save therefore
// give back the same bytes.
class ctlSaveLoadFile : public QWidget {
    Q_OBJECT
public:
    ctlSaveLoadFile(QString dataDirectory, platform::MessageBoxService& messageBoxes,
                    QWidget* parent = nullptr);

    // The inner text box; hosts that need the text with its line ends use text().
    QPlainTextEdit* TextBoxObj() const { return m_txtFileVal; }

    QString text() const;
    void setText(const QString& text);
    // Adds text at the end, first ending an unfinished last line so that the two never merge.
    void appendText(const QString& text);

    // Binds the panel to fileName in the data folder and loads it.
    void BindFile(const QString& fileName);
    // What a press of cmdInit does: the bound file's text into the box.
    void LoadFile();
    // What a press of cmdSaveFile does; false (after telling the operator) when the file
    // could not be written. The text stays in the box either way.
    bool SaveFile();

    QString fileName() const;
    QString filePath() const;

private:
    QString ReadFileText(const QString& path);
    QString shownText() const;
    void rememberSaved(const QString& text);

    QString m_dataDirectory;
    platform::MessageBoxService& m_messageBoxes;
    SaveLoadFileText m_file;
    QString m_lineEnd;
    QString m_savedText;  // the file's text as last loaded or saved
    QString m_savedShown; // how the box showed it
    QLabel* m_lblFile;
    QPlainTextEdit* m_txtFileVal;
    QPushButton* m_cmdInit;
    QPushButton* m_cmdSaveFile;
};

} // namespace qormin::controls
