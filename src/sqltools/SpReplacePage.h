#pragma once

#include "window/Tab.h"

#include <QWidget>

class QLineEdit;
class QPlainTextEdit;

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::sqltools {

// "SP Replace": finds the modules of every database of the left server whose definition holds
// txtSearchSP (into the table Temp of txtDB), lists them as one script in txtSPSpec, rewrites
// that script and saves it to SPBefore/SPAfter files. The script is only edited here; it runs
// only when the user passes it to the script runner.
class SpReplacePage : public QWidget {
    Q_OBJECT
public:
    static constexpr int pageIndex = window::Tab::SpReplace;

    SpReplacePage(window::MainWindowContext& context, QWidget* parent = nullptr);
    static SpReplacePage* install(window::MainWindowContext& context);

    void cmdReloadSPs_Click();
    void cmdListSP_Click();
    void cmdReplaceSP_Click();
    void cmdSPTemplate_Click(int index);
    void cmdSaveSP_Click();

    QLineEdit* txtSearchSP() const { return m_txtSearchSP; }
    QLineEdit* txtReplaceWith() const { return m_txtReplaceWith; }
    QPlainTextEdit* txtSPSpec() const { return m_txtSPSpec; }

private:
    void addButton(QLayout* layout, const QString& name, const QString& caption,
                   void (SpReplacePage::*handler)());
    // The left connection's default database becomes txtDB; false when txtDB holds no usable name.
    bool useWorkingDatabase();
    void executeOnLeft(const QString& sql);
    void ListSPs();
    void saveScript(const QString& prefix);

    window::MainWindowContext& m_context;
    QLineEdit* m_txtSearchSP;
    QLineEdit* m_txtReplaceWith;
    QPlainTextEdit* m_txtSPSpec;
};

} // namespace qormin::sqltools
