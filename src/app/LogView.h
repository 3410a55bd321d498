#pragma once

#include <QPlainTextEdit>

namespace qormin::db {
class LogBuffer;
}

namespace qormin::app {

// Shows a log box's text (txtLog, txtErrs) and follows its buffer line by line, so a long run
// costs the same per line however much is already shown.
class LogView : public QPlainTextEdit {
    Q_OBJECT
public:
    explicit LogView(db::LogBuffer& buffer, QWidget* parent = nullptr);

    db::LogBuffer& buffer() { return m_buffer; }

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void prependLine(const QString& line);
    void appendLine(const QString& line);

    db::LogBuffer& m_buffer;
};

} // namespace qormin::app
