#include "SimTestServer.h"
#include "WindowHarness.h"

#include "controls/FlexGrid.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QRadioButton>
#include <QStyleOptionButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTextDocument>
#include <gtest/gtest.h>

namespace {

using qormin::test::SimTestServer;
using qormin::test::WindowHarness;

struct Screen {
    const char* name;
    QSize size;
    int databaseRowsInSight; // data rows GridDB shows without scrolling
    bool everyTabInSight;    // no tab behind the strip's scroll buttons
};

const Screen screens[] = {
    {"1024x768", {1024, 768}, 8, false},
    {"1920x1080", {1920, 1080}, 16, true},
};

void PrintTo(const Screen& screen, std::ostream* out) {
    *out << screen.name;
}

// 768 less a task bar and a title bar.
const QSize smallestScreenRoom(1024, 700);

void settle() {
    for (int pass = 0; pass < 3; ++pass)
        QApplication::processEvents();
}

QString plainText(const QLabel& label) {
    if (label.textFormat() == Qt::PlainText || !Qt::mightBeRichText(label.text()))
        return label.text();
    QTextDocument document;
    document.setHtml(label.text());
    return document.toPlainText();
}

// The room a button's style leaves for its caption, and what the caption needs there.
int captionRoom(const QAbstractButton& button, int& needed) {
    needed = button.fontMetrics().size(Qt::TextShowMnemonic, button.text()).width();
    QStyleOptionButton option;
    option.initFrom(&button);
    option.text = button.text();
    QStyle::SubElement contents = QStyle::SE_PushButtonContents;
    if (qobject_cast<const QCheckBox*>(&button) != nullptr)
        contents = QStyle::SE_CheckBoxContents;
    else if (qobject_cast<const QRadioButton*>(&button) != nullptr)
        contents = QStyle::SE_RadioButtonContents;
    int room = button.style()->subElementRect(contents, &option, &button).width();
    if (!button.icon().isNull())
        room -= button.iconSize().width() + 4;
    return room;
}

// Captions that do not fit the width they got: "ommand Promp" on a squeezed button.
QStringList clippedCaptions(QWidget& window) {
    QStringList clipped;
    for (QAbstractButton* button : window.findChildren<QAbstractButton*>()) {
        if (!button->isVisibleTo(&window) || button->text().isEmpty())
            continue;
        int needed = 0;
        const int room = captionRoom(*button, needed);
        if (needed > room)
            clipped << button->text() + QStringLiteral(" (%1 > %2)").arg(needed).arg(room);
    }
    for (QLabel* label : window.findChildren<QLabel*>()) {
        const QString text = plainText(*label);
        if (!label->isVisibleTo(&window) || text.isEmpty())
            continue;
        const int room = label->contentsRect().width() - 2 * std::max(label->margin(), 0);
        int needed = 0;
        for (const QString& line : text.split(u'\n')) {
            // A wrapping label needs only its longest word on a line.
            const QStringList words = label->wordWrap() ? line.split(u' ') : QStringList{line};
            for (const QString& word : words)
                needed = std::max(needed, label->fontMetrics().horizontalAdvance(word));
        }
        if (needed > room)
            clipped << text + QStringLiteral(" (%1 > %2)").arg(needed).arg(room);
    }
    return clipped;
}

class MainWindowLayoutTest : public ::testing::TestWithParam<Screen> {};

TEST_P(MainWindowLayoutTest, everyCaptionFitsEveryTabIsReachableAndTheDatabaseGridShowsItsRows) {
    const Screen& screen = GetParam();
    const auto server = SimTestServer::fromFile(QStringLiteral(QORMIN_DEMO_SCENARIO));
    ASSERT_TRUE(server && server->isRunning());
    WindowHarness harness;
    for (int side = 0; side < 2; ++side)
        harness.storeConnection(side, server->address(), QStringLiteral("demo"));
    harness.load();
    auto& window = harness.window();
    settle();
    EXPECT_LE(window.minimumSize().width(), smallestScreenRoom.width());
    EXPECT_LE(window.minimumSize().height(), smallestScreenRoom.height());
    window.resize(screen.size);
    settle();
    ASSERT_EQ(window.size(), screen.size);

    QTabWidget* tabs = window.SSTab1();
    QTabBar* bar = tabs->tabBar();
    for (int index = 0; index < tabs->count(); ++index) {
        tabs->setCurrentIndex(index);
        settle();
        const QString caption = tabs->tabText(index);
        EXPECT_GE(bar->tabRect(index).width(), bar->fontMetrics().size(Qt::TextShowMnemonic, caption).width())
            << caption.toStdString();
        EXPECT_TRUE(bar->rect().contains(bar->tabRect(index))) << "turned to, " << caption.toStdString();
        const QStringList clipped = clippedCaptions(window);
        EXPECT_TRUE(clipped.isEmpty()) << caption.toStdString() << ": " << clipped.join(u'|').toStdString();
    }
    tabs->setCurrentIndex(0);
    settle();
    if (screen.everyTabInSight)
        EXPECT_TRUE(bar->rect().contains(bar->tabRect(tabs->count() - 1)));
    else
        EXPECT_TRUE(bar->usesScrollButtons());

    for (int side = 0; side < 2; ++side) {
        const qormin::controls::FlexGrid* grid = window.GridDB(side);
        ASSERT_GT(grid->Rows(), screen.databaseRowsInSight);
        EXPECT_GE(grid->viewport()->height() / grid->rowHeight(0), screen.databaseRowsInSight) << side;
    }
}

INSTANTIATE_TEST_SUITE_P(Screens, MainWindowLayoutTest, ::testing::ValuesIn(screens),
                         [](const auto& screenCase) { return std::string("at") + screenCase.param.name; });

} // namespace
