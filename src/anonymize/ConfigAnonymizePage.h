#pragma once

#include "anonymize/AnonymizeRun.h"
#include "window/Tab.h"

#include <QWidget>
#include <array>

class QCheckBox;
class QGroupBox;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::controls {
class FlexGrid;
class ctlSaveLoadFile;
} // namespace qormin::controls

namespace qormin::anonymize {

// "Config Anonymize": the set-up of an anonymisation run. Configure shows the frame fraConfig
// with the excluded-table panel (ctlExclue), the table list (ctlATables), the name-column grid
// GridC with its discovery and sample buttons, and the sample grid; beside it the two
// replacement name lists and the once-only Init that restores the persisted lists.
class ConfigAnonymizePage : public QWidget {
    Q_OBJECT
public:
    static constexpr int pageIndex = window::Tab::ConfigAnonymize;
    // Turning to "Anonymize" runs cmdInitAnonymize; turning to "Config Anonymize" runs cmdInit.
    static constexpr int initAnonymizeHookPage = window::Tab::Anonymize;
    static constexpr int configureHookPage = window::Tab::ConfigAnonymize;
    // txtAnonymize(i) and txtAnonymizeField(i): persisted, read by no run.
    static constexpr int anonymizeBoxCount = 3;

    explicit ConfigAnonymizePage(window::MainWindowContext& context, QWidget* parent = nullptr);

    // Puts both anonymisation pages onto the main window and registers their page hooks.
    static ConfigAnonymizePage* install(window::MainWindowContext& context);

    // "Configure": loads the excluded tables and shows fraConfig.
    void cmdInit_Click();
    // "Init", once per program run: the persisted name lists and table list (else the default
    // tables), then the table list's file.
    void cmdInitAnonymize();
    void cmdDefault_Click();
    void cmdGetTables_Click();
    void cmdSampleData_Click();
    void cmdSaveFile_Click();
    // With "Exclude Table" ticked, a click on a table's row adds it to the excluded tables.
    void GridC_Click();

    // What a run reads: the table list and both name lists, lines ended by CR LF.
    AnonymizeLists lists() const;

    controls::ctlSaveLoadFile* ctlExclue() const { return m_ctlExclue; }
    controls::ctlSaveLoadFile* ctlATables() const { return m_ctlATables; }
    controls::FlexGrid* GridC() const { return m_GridC; }
    controls::FlexGrid* grdSample() const { return m_grdSample; }
    QCheckBox* chkExcludeTable() const { return m_chkExcludeTable; }
    QGroupBox* fraConfig() const { return m_fraConfig; }

private:
    QWidget* buildNameLists();
    void persistOnChange(QPlainTextEdit* box, const QString& key);
    void persistOnChange(QLineEdit* box, const QString& key);
    void restoreNames(QPlainTextEdit* box, const QString& key);
    void addGridCRow(const QString& database, const QString& table, const QStringList& columns);
    void discoverTables(const QString& database);
    QStringList nameColumns(const QString& database, const QString& table);
    QStringList firstColumnValues(const QString& sql);

    window::MainWindowContext& m_context;
    QPushButton* m_cmdInit;
    QGroupBox* m_fraConfig;
    controls::ctlSaveLoadFile* m_ctlExclue;
    controls::ctlSaveLoadFile* m_ctlATables;
    controls::FlexGrid* m_GridC;
    controls::FlexGrid* m_grdSample;
    QCheckBox* m_chkExcludeTable;
    QPlainTextEdit* m_txtLastNames = nullptr;
    QPlainTextEdit* m_txtFirstnames = nullptr;
    std::array<QLineEdit*, anonymizeBoxCount> m_txtAnonymize{};
    std::array<QLineEdit*, anonymizeBoxCount> m_txtAnonymizeField{};
    bool m_anonymizeInitialised = false;
};

} // namespace qormin::anonymize
