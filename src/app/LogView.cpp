#include "app/LogView.h"

#include "app/LogModel.h"
#include "db/LogBuffer.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <algorithm>

namespace qormin::app {

namespace {

constexpr int margin = 4;
// A single line of a megabyte would be laid out on every paint; what lies beyond this is still
// copied, only not drawn.
constexpr qsizetype paintedCharacters = 4000;
constexpr int unboundedWidth = 1 << 24;
constexpr int textFlags = Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine | Qt::TextExpandTabs;

} // namespace

LogView::LogView(db::LogBuffer& buffer, QWidget* parent)
    : QAbstractScrollArea(parent), m_buffer(buffer), m_model(new LogModel(buffer, this)) {
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setBackgroundRole(QPalette::Base);
    connect(m_model, &LogModel::rowsInserted, this,
            [this](const QModelIndex&, int first, int last) { rowsArrived(first, last); });
    connect(m_model, &LogModel::modelReset, this, &LogView::restart);
    updateScrollBars();
}

void LogView::selectLines(int anchor, int current) {
    const int last = m_model->rowCount() - 1;
    m_anchor = std::clamp(anchor, 0, last);
    m_cursor = std::clamp(current, 0, last);
    ensureVisible(m_cursor);
    viewport()->update();
}

void LogView::selectAll() {
    if (m_model->rowCount() == 0)
        return;
    m_anchor = m_model->rowCount() - 1;
    m_cursor = 0;
    viewport()->update();
}

QString LogView::selectedText() const {
    if (m_cursor < 0)
        return {};
    return m_model->lines(std::min(m_anchor, m_cursor), std::max(m_anchor, m_cursor));
}

void LogView::copy() const {
    if (m_cursor >= 0)
        QApplication::clipboard()->setText(selectedText());
}

int LogView::topRow() const {
    return verticalScrollBar()->value();
}

// New lines on top push the selection and, when the view is scrolled away from the top, the
// scroll position down with them, so what the operator looks at stays where it is. Everything
// else waits for the event loop: a burst of lines costs one repaint.
void LogView::rowsArrived(int first, int last) {
    const int count = last - first + 1;
    if (first == 0 && m_cursor >= 0) {
        m_anchor += count;
        m_cursor += count;
    }
    if (first == 0 && topRow() > 0) {
        const int top = topRow();
        updateScrollBars();
        verticalScrollBar()->setValue(top + count);
    }
    if (m_refreshPending)
        return;
    m_refreshPending = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_refreshPending = false;
            updateScrollBars();
            viewport()->update();
        },
        Qt::QueuedConnection);
}

void LogView::restart() {
    m_anchor = -1;
    m_cursor = -1;
    m_widest = 0;
    updateScrollBars();
    verticalScrollBar()->setValue(0);
    horizontalScrollBar()->setValue(0);
    viewport()->update();
}

void LogView::updateScrollBars() {
    const int rows = visibleRows();
    verticalScrollBar()->setRange(0, std::max(0, m_model->rowCount() - rows));
    verticalScrollBar()->setPageStep(rows);
    verticalScrollBar()->setSingleStep(1);
    const int width = viewport()->width();
    horizontalScrollBar()->setRange(0, std::max(0, m_widest + 2 * margin - width));
    horizontalScrollBar()->setPageStep(width);
    horizontalScrollBar()->setSingleStep(fontMetrics().averageCharWidth() * 4);
}

int LogView::visibleRows() const {
    return std::max(1, viewport()->height() / fontMetrics().lineSpacing());
}

int LogView::rowAt(int y) const {
    return topRow() + y / fontMetrics().lineSpacing();
}

void LogView::paintEvent(QPaintEvent*) {
    QPainter painter(viewport());
    const int height = fontMetrics().lineSpacing();
    const int rows = m_model->rowCount();
    const int left = margin - horizontalScrollBar()->value();
    const int widestBefore = m_widest;
    const QPalette& colours = palette();
    for (int row = topRow(), y = 0; row < rows && y < viewport()->height(); ++row, y += height) {
        if (isSelected(row)) {
            painter.fillRect(QRect(0, y, viewport()->width(), height), colours.highlight());
            painter.setPen(colours.color(QPalette::HighlightedText));
        } else {
            painter.setPen(colours.color(QPalette::Text));
        }
        QRect drawn;
        painter.drawText(QRect(left, y, unboundedWidth, height), textFlags,
                         m_model->line(row).left(paintedCharacters), &drawn);
        m_widest = std::max(m_widest, drawn.width());
    }
    if (m_widest != widestBefore)
        updateScrollBars();
}

void LogView::resizeEvent(QResizeEvent* event) {
    QAbstractScrollArea::resizeEvent(event);
    updateScrollBars();
}

void LogView::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Copy)) {
        copy();
        return;
    }
    if (event->matches(QKeySequence::SelectAll)) {
        selectAll();
        return;
    }
    const bool extend = event->modifiers().testFlag(Qt::ShiftModifier);
    const int from = m_cursor >= 0 ? m_cursor : topRow();
    const int page = visibleRows();
    switch (event->key()) {
    case Qt::Key_Up:
        moveCursorTo(m_cursor >= 0 ? from - 1 : from, extend);
        return;
    case Qt::Key_Down:
        moveCursorTo(m_cursor >= 0 ? from + 1 : from, extend);
        return;
    case Qt::Key_PageUp:
        moveCursorTo(from - page, extend);
        return;
    case Qt::Key_PageDown:
        moveCursorTo(from + page, extend);
        return;
    case Qt::Key_Home:
        moveCursorTo(0, extend);
        return;
    case Qt::Key_End:
        moveCursorTo(m_model->rowCount() - 1, extend);
        return;
    default:
        QAbstractScrollArea::keyPressEvent(event);
    }
}

void LogView::moveCursorTo(int row, bool extend) {
    if (m_model->rowCount() == 0)
        return;
    selectLines(extend && m_cursor >= 0 ? m_anchor : row, row);
}

void LogView::ensureVisible(int row) {
    if (row < topRow())
        verticalScrollBar()->setValue(row);
    else if (row >= topRow() + visibleRows())
        verticalScrollBar()->setValue(row - visibleRows() + 1);
}

bool LogView::isSelected(int row) const {
    return m_cursor >= 0 && row >= std::min(m_anchor, m_cursor) && row <= std::max(m_anchor, m_cursor);
}

void LogView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || m_model->rowCount() == 0)
        return;
    const int row = std::min(rowAt(event->position().toPoint().y()), m_model->rowCount() - 1);
    moveCursorTo(row, event->modifiers().testFlag(Qt::ShiftModifier));
}

// Dragging past the top or bottom edge scrolls a row per move.
void LogView::mouseMoveEvent(QMouseEvent* event) {
    if (!event->buttons().testFlag(Qt::LeftButton) || m_cursor < 0)
        return;
    const int y = event->position().toPoint().y();
    const int row = y < 0 ? topRow() - 1 : rowAt(std::min(y, viewport()->height()));
    moveCursorTo(row, true);
}

void LogView::contextMenuEvent(QContextMenuEvent* event) {
    QMenu menu;
    QAction* copyAction = menu.addAction(tr("&Copy"), this, &LogView::copy);
    copyAction->setShortcut(QKeySequence::Copy);
    copyAction->setEnabled(m_cursor >= 0);
    menu.addAction(tr("Select All"), this, &LogView::selectAll)->setShortcut(QKeySequence::SelectAll);
    menu.addSeparator();
    menu.addAction(tr("Clear"), this, [this] { m_buffer.clear(); });
    menu.exec(event->globalPos());
}

} // namespace qormin::app
