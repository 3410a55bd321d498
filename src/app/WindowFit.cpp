#include "app/WindowFit.h"

#include <QEvent>
#include <QFrame>
#include <QPointer>
#include <QScrollArea>
#include <QSplitter>
#include <QStyle>
#include <QTabBar>
#include <QTabWidget>

namespace qormin::app::WindowFit {

namespace {

constexpr double tabsLeastShare = 0.6;
constexpr int logLeastWidth = 420;

// Sets the row's split on every resize until the user drags the handle.
class RowShare : public QObject {
public:
    RowShare(QSplitter& row, QTabWidget& tabs) : QObject(&row), m_row(row), m_tabs(&tabs) {
        row.installEventFilter(this);
        connect(&row, &QSplitter::splitterMoved, this, [this] { m_row.removeEventFilter(this); });
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched == &m_row && event->type() == QEvent::Resize && !m_tabs.isNull())
            split();
        return false;
    }

private:
    void split() {
        const int total = m_row.width() - m_row.handleWidth();
        const int allTabs = m_tabs->tabBar()->sizeHint().width() +
                            2 * m_tabs->style()->pixelMetric(QStyle::PM_DefaultFrameWidth);
        const int tabs =
            std::max(static_cast<int>(total * tabsLeastShare), std::min(allTabs, total - logLeastWidth));
        m_row.setSizes({tabs, total - tabs});
    }

    QSplitter& m_row;
    QPointer<QTabWidget> m_tabs;
};

} // namespace

QWidget* scrollable(QWidget* page) {
    auto* area = new QScrollArea(page->parentWidget());
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setWidget(page);
    return area;
}

void keepTabsReachable(QTabWidget& tabs) {
    tabs.setUsesScrollButtons(true);
    tabs.setElideMode(Qt::ElideNone);
}

void shareRowWithTabs(QSplitter& row, QTabWidget& tabs) {
    new RowShare(row, tabs);
}

} // namespace qormin::app::WindowFit
