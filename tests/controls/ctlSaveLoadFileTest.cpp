#include "controls/ctlSaveLoadFile.h"
#include "RowName.h"
#include "platform/MessageBoxService.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <optional>

namespace {

using qormin::test::PrintTo;

using qormin::controls::ctlSaveLoadFile;
using qormin::platform::MessageBoxAnswer;
using qormin::platform::MessageBoxButtons;

class RecordingMessageBoxes : public qormin::platform::MessageBoxService {
public:
    MessageBoxAnswer MsgBox(const QString& text, MessageBoxButtons buttons, const QString&) override {
        texts.append(text);
        return qormin::platform::defaultAnswer(buttons);
    }
    QString saveFileName(const QString&, const QString&, const QString&) override { return QString(); }
    QStringList texts;
};

const QString listName = QStringLiteral("ExcludedTables.txt");

class PanelTest : public ::testing::Test {
protected:
    QString path() const { return m_dir.filePath(listName); }

    void writeBytes(const QByteArray& bytes) const {
        QFile out(path());
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(bytes);
    }

    QByteArray readBytes() const {
        QFile in(path());
        return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray("<missing>");
    }

    QTemporaryDir m_dir;
    RecordingMessageBoxes m_boxes;
    ctlSaveLoadFile m_panel{m_dir.path(), m_boxes};
};

struct RoundTripCase {
    const char* name;
    QByteArray bytes;
};

class PanelRoundTripTest : public PanelTest, public ::testing::WithParamInterface<RoundTripCase> {};

// Loading and saving without an edit gives back the file byte for byte, however it was written.
TEST_P(PanelRoundTripTest, loadThenSaveKeepsTheExactBytes) {
    writeBytes(GetParam().bytes);
    m_panel.BindFile(listName);
    ASSERT_TRUE(m_panel.SaveFile());
    m_panel.LoadFile();
    ASSERT_TRUE(m_panel.SaveFile());
    EXPECT_EQ(readBytes(), GetParam().bytes);
    EXPECT_TRUE(m_boxes.texts.isEmpty());
}

const RoundTripCase roundTripCases[] = {
    {"crLfWithFinalLineEnd", "Billing..tbCashPatient\r\nLab..tbResults\r\n"},
    {"crLfWithoutFinalLineEnd", "Billing..tbCashPatient\r\nLab..tbResults"},
    {"lineFeedsOnly", "Billing..tbCashPatient\nLab..tbResults\n"},
    {"mixedLineEnds", "a..b\r\nc..d\ne..f\rg..h"},
    {"emptyLines", "\r\n\r\na..b\r\n\r\n"},
    {"latin1Bytes", "Patient_data..tbNi\xf1o\r\nCaf\xe9..t\xa0x\r\n"},
    {"utf8Bytes", "M\xc3\xbcller..tb\r\n"},
    {"utf8WithByteOrderMark", "\xef\xbb\xbf"
                              "a..b\r\n"},
    {"cutUtf8Sequence", "ab\xc3"},
    {"emptyFile", ""},
};

INSTANTIATE_TEST_SUITE_P(Files, PanelRoundTripTest, testing::ValuesIn(roundTripCases),
                         qormin::test::RowName());

struct EditCase {
    const char* name;
    std::optional<QByteArray> file; // nullopt: no file yet
    const char* appended;
    QByteArray saved;
};

class PanelEditTest : public PanelTest, public ::testing::WithParamInterface<EditCase> {};

// An edited text is written with the line end the file already used, so the lists stay
// Windows files; an unfinished last line is ended before anything is added to it.
TEST_P(PanelEditTest, appendedLinesTakeTheFilesLineEnd) {
    const EditCase& c = GetParam();
    if (c.file)
        writeBytes(*c.file);
    m_panel.BindFile(listName);
    m_panel.appendText(QString::fromUtf8(c.appended));
    ASSERT_TRUE(m_panel.SaveFile());
    EXPECT_EQ(readBytes(), c.saved);
}

const EditCase editCases[] = {
    {"newFileGetsCrLf", std::nullopt, "Billing..tbCashPatient\r\n", "Billing..tbCashPatient\r\n"},
    {"lineFeedFile", QByteArray("a..b\n"), "c..d\r\n", "a..b\nc..d\n"},
    {"unfinishedLastLine", QByteArray("a..b\r\nc..d"), "e..f\r\n", "a..b\r\nc..d\r\ne..f\r\n"},
    // 0xA0 is a non-breaking space in Latin-1; it must not come back as a blank.
    {"latin1FileStaysLatin1", QByteArray("Caf\xe9..t\xa0x\r\n"), "y..z\r\n", "Caf\xe9..t\xa0x\r\ny..z\r\n"},
};

INSTANTIATE_TEST_SUITE_P(Edits, PanelEditTest, testing::ValuesIn(editCases), qormin::test::RowName());

TEST_F(PanelTest, loadOfAMissingFileEmptiesTheBoxWithoutAMessage) {
    m_panel.setText(QStringLiteral("left over"));
    m_panel.BindFile(listName);
    EXPECT_EQ(m_panel.TextBoxObj()->toPlainText(), QString());
    EXPECT_EQ(m_panel.text(), QString());
    EXPECT_TRUE(m_boxes.texts.isEmpty());
    EXPECT_FALSE(QFileInfo::exists(path()));
}

TEST_F(PanelTest, loadReplacesUnsavedText) {
    writeBytes("a..b\r\n");
    m_panel.BindFile(listName);
    m_panel.setText(QStringLiteral("typed"));
    m_panel.findChild<QPushButton*>(QStringLiteral("cmdInit"))->click();
    EXPECT_EQ(m_panel.text(), QStringLiteral("a..b\r\n"));
}

TEST_F(PanelTest, textBoxFillsTheHeightBelowItsTop) {
    m_panel.resize(300, 200);
    m_panel.show();
    const QRect first = m_panel.TextBoxObj()->geometry();
    m_panel.resize(300, 500);
    const QRect second = m_panel.TextBoxObj()->geometry();
    EXPECT_EQ(first.bottom(), 199);
    EXPECT_EQ(second.top(), first.top());
    EXPECT_EQ(second.bottom(), 499);
    EXPECT_EQ(second.width(), 300);
}

struct FailureCase {
    const char* name;
    bool readOnlyFolder; // else the data folder's path names a file
};

class PanelSaveFailureTest : public PanelTest, public ::testing::WithParamInterface<FailureCase> {};

// A save that cannot write says so in a box, keeps the text for another try and leaves no file.
TEST_P(PanelSaveFailureTest, tellsTheOperatorAndKeepsTheText) {
    QString folder = m_dir.filePath(QStringLiteral("data"));
    if (GetParam().readOnlyFolder) {
        ASSERT_TRUE(QDir().mkpath(folder));
        QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        QFile probe(folder + QStringLiteral("/probe"));
        if (probe.open(QIODevice::WriteOnly)) {
            probe.remove();
            GTEST_SKIP() << "this user can write into read-only folders";
        }
    } else {
        QFile file(folder);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    ctlSaveLoadFile panel(folder, m_boxes);
    panel.BindFile(listName);
    panel.setText(QStringLiteral("a..b\r\n"));
    panel.findChild<QPushButton*>(QStringLiteral("cmdSaveFile"))->click();
    ASSERT_EQ(m_boxes.texts.size(), 1);
    EXPECT_TRUE(m_boxes.texts.first().contains(listName)) << m_boxes.texts.first().toStdString();
    EXPECT_EQ(panel.text(), QStringLiteral("a..b\r\n"));
    EXPECT_FALSE(QFileInfo::exists(QDir(folder).filePath(listName)));
    QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

const FailureCase failureCases[] = {
    {"readOnlyFolder", true},
    {"folderIsAFile", false},
};

INSTANTIATE_TEST_SUITE_P(Folders, PanelSaveFailureTest, testing::ValuesIn(failureCases),
                         qormin::test::RowName());

} // namespace
