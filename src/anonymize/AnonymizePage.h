#pragma once

#include "anonymize/AnonymizeRun.h"
#include "window/Tab.h"

#include <QWidget>
#include <functional>
#include <memory>

class QCheckBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::controls {
class FlexGrid;
}

namespace qormin::anonymize {

// "Anonymize": the two runs over the right server, the test-run switch, the progress labels,
// the work grid GridA and the name lists lstLast and lstFirst as the last run read them.
// The secret of the complete run is typed here for each run and never stored.
class AnonymizePage : public QWidget {
    Q_OBJECT
public:
    static constexpr int pageIndex = window::Tab::Anonymize;
    using ListSource = std::function<AnonymizeLists()>;

    AnonymizePage(window::MainWindowContext& context, ListSource lists, QWidget* parent = nullptr);
    ~AnonymizePage() override;

    static AnonymizePage* install(window::MainWindowContext& context, ListSource lists);

    void cmdAnonymize_Click();
    void cmdAnonymizeComplete_Click();

    AnonymizeRun& run() { return *m_run; }
    controls::FlexGrid* GridA() const { return m_GridA; }

private:
    ListSource m_lists;
    QPushButton* m_cmdAnonymize;
    QPushButton* m_cmdAnonymizeComplete;
    QLineEdit* m_txtSecret;
    QCheckBox* m_chkTestRun;
    QLabel* m_lblRecNo;
    QLabel* m_lblRecCount;
    controls::FlexGrid* m_GridA;
    QListWidget* m_lstLast;
    QListWidget* m_lstFirst;
    std::unique_ptr<AnonymizeRun> m_run;
};

} // namespace qormin::anonymize
