#pragma once

#include "window/Tab.h"

#include <QWidget>

class QPlainTextEdit;
class QPushButton;

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::sqltools {

// "SQL to String": SQL in txtSRC becomes code building it in txtDest (cmdMakeVB) and back
// (cmdClearSQL); txtCompare(0) and txtCompare(1) are compared on every change, cmdCompare
// green when they match but for letter case, red otherwise. Touches no server.
class SqlToStringPage : public QWidget {
    Q_OBJECT
public:
    static constexpr int pageIndex = window::Tab::SqlToString;

    explicit SqlToStringPage(QWidget* parent = nullptr);
    static SqlToStringPage* install(window::MainWindowContext& context);

    void cmdMakeVB_Click();
    void cmdClearSQL_Click();
    void txtCompare_Change(int index);

    QPlainTextEdit* txtSRC() const { return m_txtSRC; }
    QPlainTextEdit* txtDest() const { return m_txtDest; }
    QPlainTextEdit* txtCompare(int index) const { return m_txtCompare[index == 1 ? 1 : 0]; }
    QPushButton* cmdCompare() const { return m_cmdCompare; }

private:
    QPlainTextEdit* m_txtSRC;
    QPlainTextEdit* m_txtDest;
    QPlainTextEdit* m_txtCompare[2];
    QPushButton* m_cmdCompare;
};

} // namespace qormin::sqltools
