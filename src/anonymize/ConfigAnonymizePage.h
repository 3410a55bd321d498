#pragma once

#include "window/Tab.h"

#include <QWidget>

class QCheckBox;
class QGroupBox;
class QPushButton;

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::controls {
class FlexGrid;
class ctlSaveLoadFile;
} // namespace qormin::controls

namespace qormin::anonymize {

// "Config Anonymize": the Configure button and the frame fraConfig with the excluded-table
// panel (ctlExclue), the anonymisation table panel (ctlATables), the name-column grid GridC and
// "Exclude Table". The frame stays hidden until Configure is pressed.
class ConfigAnonymizePage : public QWidget {
    Q_OBJECT
public:
    static constexpr int pageIndex = window::Tab::ConfigAnonymize;
    // Turning to "Anonymize" runs cmdInitAnonymize; turning to "Config Anonymize" runs cmdInit.
    static constexpr int initAnonymizeHookPage = window::Tab::Anonymize;
    static constexpr int configureHookPage = window::Tab::ConfigAnonymize;

    explicit ConfigAnonymizePage(window::MainWindowContext& context, QWidget* parent = nullptr);

    // Puts the page's controls onto the main window and registers its page hooks.
    static ConfigAnonymizePage* install(window::MainWindowContext& context);

    // "Configure": loads the excluded tables and shows fraConfig.
    void cmdInit_Click();
    // The once-only set-up of the anonymisation lists; so far it binds the table list.
    void cmdInitAnonymize();
    // With "Exclude Table" ticked, a click on a table's row adds it to the excluded tables.
    void GridC_Click();

    controls::ctlSaveLoadFile* ctlExclue() const { return m_ctlExclue; }
    controls::ctlSaveLoadFile* ctlATables() const { return m_ctlATables; }
    controls::FlexGrid* GridC() const { return m_GridC; }
    QCheckBox* chkExcludeTable() const { return m_chkExcludeTable; }
    QGroupBox* fraConfig() const { return m_fraConfig; }

private:
    QPushButton* m_cmdInit;
    QGroupBox* m_fraConfig;
    controls::ctlSaveLoadFile* m_ctlExclue;
    controls::ctlSaveLoadFile* m_ctlATables;
    controls::FlexGrid* m_GridC;
    QCheckBox* m_chkExcludeTable;
    bool m_anonymizeInitialised = false;
};

} // namespace qormin::anonymize
