#pragma once

#include <QAbstractScrollArea>

namespace qormin::db {
class LogBuffer;
}

namespace qormin::app {

class LogModel;

// Shows a log box's text (txtLog, txtErrs) as rows of its LogModel and paints only the rows in
// sight, so a line costs the same however many are already shown. Whole lines are selected
// (mouse, Shift+keys, Ctrl+A) and copied (Ctrl+C, context menu) joined by line feeds. A view
// scrolled to the top follows the newest lines; scrolled down, it keeps the lines in sight.
class LogView : public QAbstractScrollArea {
    Q_OBJECT
public:
    explicit LogView(db::LogBuffer& buffer, QWidget* parent = nullptr);

    db::LogBuffer& buffer() { return m_buffer; }
    const LogModel& model() const { return *m_model; }

    void selectLines(int anchor, int current);
    void selectAll();
    // The selected rows joined by line feeds; empty when nothing is selected.
    QString selectedText() const;
    void copy() const;
    int topRow() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void rowsArrived(int first, int last);
    void restart();
    void updateScrollBars();
    int visibleRows() const;
    int rowAt(int y) const;
    void moveCursorTo(int row, bool extend);
    void ensureVisible(int row);
    bool isSelected(int row) const;

    db::LogBuffer& m_buffer;
    LogModel* m_model;
    int m_anchor = -1; // the row a selection started from
    int m_cursor = -1; // the row it reaches; -1: nothing selected
    int m_widest = 0;  // widest line painted so far, in pixels
    bool m_refreshPending = false;
};

} // namespace qormin::app
