#include "app/LogView.h"
#include "QStringPrinter.h"
#include "RowName.h"
#include "WindowHarness.h"
#include "app/LogModel.h"
#include "db/LogBuffer.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
#include <QRegularExpression>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::app::LogModel;
using qormin::app::LogView;
using qormin::db::LogBuffer;

QStringList rowsOf(const LogModel& model) {
    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row)
        rows.append(model.data(model.index(row)).toString());
    return rows;
}

// One step on the buffer each: "^text" prepends, "$text" appends, "=text" sets the text,
// "#n" limits the lines, "" clears.
void apply(LogBuffer& buffer, const QStringList& steps) {
    for (const QString& step : steps) {
        const QString text = step.mid(1);
        if (step.startsWith(u'^'))
            buffer.prepend(text);
        else if (step.startsWith(u'$'))
            buffer.append(text);
        else if (step.startsWith(u'='))
            buffer.setText(text);
        else if (step.startsWith(u'#'))
            buffer.setLineLimit(text.toInt());
        else
            buffer.clear();
    }
}

struct ModelCase {
    const char* name;
    QStringList before; // while no view exists
    QStringList after;  // followed line by line
    QStringList rows;
};

class LogModelTest : public testing::TestWithParam<ModelCase> {};

// The rows are the buffer's text cut at every line break, whether the lines came before the
// model, one by one after it, or the model is opened on the result.
TEST_P(LogModelTest, rowsAreTheLinesOfTheText) {
    const ModelCase& c = GetParam();
    LogBuffer buffer;
    apply(buffer, c.before);
    LogModel following(buffer);
    apply(buffer, c.after);
    EXPECT_EQ(rowsOf(following), c.rows);
    EXPECT_EQ(rowsOf(LogModel(buffer)), c.rows);
    EXPECT_EQ(c.rows, buffer.text().split(QRegularExpression(QStringLiteral("\r\n|\r|\n"))));
}

const ModelCase modelCases[] = {
    {"emptyText", {}, {}, {""}},
    {"newestOnTop", {"^first"}, {"^second", "^third"}, {"third", "second", "first", ""}},
    {"everyLineOfAStatement",
     {"^Done"},
     {"^BACKUP DATABASE Billing\r\nTO DISK = 'x'\r\n\r\nGO", "^cr\rlf\nend\r", "^Running SQL.."},
     {"Running SQL..", "cr", "lf", "end", "", "BACKUP DATABASE Billing", "TO DISK = 'x'", "", "GO", "Done",
      ""}},
    {"atEndBelowTheRest",
     {"$table a"},
     {"$table b\r\n  rows 3", "^top"},
     {"top", "", "table a", "table b", "  rows 3"}},
    {"typedTextKeptInTheMiddle",
     {"^gone"},
     {"=typed\r\ntext", "^top", "$end"},
     {"top", "typed", "text", "end"}},
    {"clearedThenAgain", {"^gone"}, {"", "^again"}, {"again", ""}},
    // Past the limit plus a tenth, the oldest lines go and the limit's worth stays.
    {"oldestOnTopDroppedPastTheLimit",
     {"#10", "^1"},
     {"^2", "^3", "^4a\r\n4b", "^5", "^6", "^7", "^8", "^9", "^10", "^11", "^12"},
     {"12", "11", "10", "9", "8", "7", "6", "5", "4a", "4b", "3", ""}},
    {"oldestAtEndDroppedBelowTheMiddle",
     {"#2", "=typed"},
     {"$a", "$b\r\nb2", "$c", "$d", "^top"},
     {"top", "typed", "c", "d"}},
};

INSTANTIATE_TEST_SUITE_P(Cases, LogModelTest, testing::ValuesIn(modelCases), qormin::test::RowName());

class LogViewTest : public testing::Test {
protected:
    void SetUp() override {
        for (int line = 0; line < 100; ++line)
            buffer.prepend(QStringLiteral("line ") + QString::number(line));
        view.resize(300, 200);
        view.show();
        QApplication::clipboard()->clear();
    }

    QPoint pointOfRow(int row) const {
        return QPoint(20, (row - view.topRow()) * view.fontMetrics().lineSpacing() + 2);
    }

    LogBuffer buffer;
    LogView view{buffer};
};

TEST_F(LogViewTest, keysSelectARangeOfLinesAndCtrlCCopiesIt) {
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, pointOfRow(2));
    QTest::keyClick(&view, Qt::Key_Down, Qt::ShiftModifier);
    QTest::keyClick(&view, Qt::Key_Down, Qt::ShiftModifier);
    QTest::keyClick(&view, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text(), QStringLiteral("line 97\nline 96\nline 95"));
    QTest::keyClick(&view, Qt::Key_End, Qt::ShiftModifier);
    EXPECT_EQ(view.selectedText().count(u'\n'), 98); // line 97 down to the empty last line
    QTest::keyClick(&view, Qt::Key_Home);
    EXPECT_EQ(view.selectedText(), QStringLiteral("line 99"));
}

// A drag past the bottom edge scrolls on; new lines on top leave the selection on its lines.
TEST_F(LogViewTest, mouseDragSelectsAndTheContextMenuCopies) {
    QTest::mousePress(view.viewport(), Qt::LeftButton, {}, pointOfRow(1));
    QMouseEvent move(QEvent::MouseMove, QPointF(20, view.viewport()->height() + 5), QPointF(), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    const int rowsInSight = view.viewport()->height() / view.fontMetrics().lineSpacing();
    for (int step = 0; step < rowsInSight + 2; ++step)
        QApplication::sendEvent(view.viewport(), &move);
    QTest::mouseRelease(view.viewport(), Qt::LeftButton, {}, pointOfRow(view.topRow()));
    EXPECT_GT(view.topRow(), 0);
    const QString selected = view.selectedText();
    EXPECT_TRUE(selected.startsWith(QStringLiteral("line 98\nline 97\n"))) << selected.toStdString();
    EXPECT_EQ(selected.count(u'\n'), 2 * rowsInSight); // a row more per move past the edge

    const int top = view.topRow();
    buffer.prepend(QStringLiteral("two\r\nlines"));
    EXPECT_EQ(view.selectedText(), selected);
    EXPECT_EQ(view.topRow(), top + 2);

    QTimer::singleShot(0, [] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_NE(menu, nullptr);
        menu->actions().first()->trigger();
        menu->close();
    });
    QContextMenuEvent menuEvent(QContextMenuEvent::Mouse, QPoint(5, 5), view.mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(view.viewport(), &menuEvent);
    EXPECT_EQ(QApplication::clipboard()->text(), selected);
}

TEST_F(LogViewTest, viewAtTheTopFollowsTheNewestLine) {
    buffer.prepend(QStringLiteral("newest"));
    EXPECT_EQ(view.topRow(), 0);
    EXPECT_EQ(view.model().line(0), QStringLiteral("newest"));
}

// Batch mode prints the log's text, whatever the view shows.
TEST(LogViewBatchTest, printShowsTheTextWithItsLineBreaks) {
    qormin::test::WindowHarness harness;
    harness.load();
    const auto result = harness.runBatch(QStringLiteral("set txtLog typed\\r\\ntext\nprint txtLog\n"));
    EXPECT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, QStringLiteral("typed\ntext\n"));
}

} // namespace
