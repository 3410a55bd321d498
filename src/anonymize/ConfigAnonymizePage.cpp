#include "anonymize/ConfigAnonymizePage.h"

#include "controls/FlexGrid.h"
#include "controls/SaveLoadFileText.h"
#include "controls/ctlSaveLoadFile.h"
#include "window/MainWindowContext.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QGroupBox>
#include <QPushButton>

namespace qormin::anonymize {

namespace {

const char* const excludedTablesFile = "ExcludedTables.txt";
const char* const anonymizeTablesFile = "AnonymizeTables.txt";
constexpr int panelMinimumHeight = 160;
constexpr int gridMinimumHeight = 320;

controls::ctlSaveLoadFile* panel(const char* name, window::MainWindowContext& context, QWidget* parent) {
    auto* created = new controls::ctlSaveLoadFile(context.dataDirectory(), context.messageBoxes(), parent);
    created->setObjectName(QString::fromLatin1(name));
    created->setMinimumHeight(panelMinimumHeight);
    return created;
}

} // namespace

ConfigAnonymizePage::ConfigAnonymizePage(window::MainWindowContext& context, QWidget* parent)
    : QWidget(parent), m_cmdInit(new QPushButton(tr("Configure"), this)),
      m_fraConfig(new QGroupBox(tr("Anonymize configuration"), this)),
      m_ctlExclue(panel("ctlExclue", context, m_fraConfig)),
      m_ctlATables(panel("ctlATables", context, m_fraConfig)), m_GridC(new controls::FlexGrid(m_fraConfig)),
      m_chkExcludeTable(new QCheckBox(tr("&Exclude Table"), m_fraConfig)) {
    m_cmdInit->setObjectName(QStringLiteral("cmdInit"));
    m_cmdInit->setToolTip(tr("Load the excluded tables and show the configuration"));
    m_fraConfig->setObjectName(QStringLiteral("fraConfig"));
    m_fraConfig->hide();
    m_GridC->setObjectName(QStringLiteral("GridC"));
    m_GridC->setMinimumHeight(gridMinimumHeight);
    m_chkExcludeTable->setObjectName(QStringLiteral("chkExcludeTable"));
    m_chkExcludeTable->setToolTip(tr("A click on a table's row adds it to the excluded tables"));

    auto* tables = new QVBoxLayout;
    tables->addWidget(m_chkExcludeTable);
    tables->addWidget(m_GridC, 1);
    auto* lists = new QVBoxLayout;
    lists->addWidget(m_ctlExclue, 1);
    lists->addWidget(m_ctlATables, 1);
    auto* frame = new QHBoxLayout(m_fraConfig);
    frame->addLayout(tables, 3);
    frame->addLayout(lists, 2);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_cmdInit);
    buttons->addStretch(1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(buttons);
    layout->addWidget(m_fraConfig, 1);

    connect(m_cmdInit, &QPushButton::clicked, this, &ConfigAnonymizePage::cmdInit_Click);
    connect(m_GridC, &controls::FlexGrid::Click, this, &ConfigAnonymizePage::GridC_Click);
}

ConfigAnonymizePage* ConfigAnonymizePage::install(window::MainWindowContext& context) {
    auto* page = new ConfigAnonymizePage(context, context.page(pageIndex));
    page->setObjectName(QStringLiteral("ConfigAnonymizePage"));
    context.pageToolArea(pageIndex)->addWidget(page);
    context.addPageHook(initAnonymizeHookPage, [page] { page->cmdInitAnonymize(); });
    context.addPageHook(configureHookPage, [page] { page->cmdInit_Click(); });
    return page;
}

void ConfigAnonymizePage::cmdInit_Click() {
    m_ctlExclue->BindFile(QString::fromLatin1(excludedTablesFile));
    m_fraConfig->show();
}

void ConfigAnonymizePage::cmdInitAnonymize() {
    if (m_anonymizeInitialised)
        return;
    m_anonymizeInitialised = true;
    // The persisted name lists and the table list (or the default tables) are restored here,
    // before the binding.
    m_ctlATables->BindFile(QString::fromLatin1(anonymizeTablesFile));
}

void ConfigAnonymizePage::GridC_Click() {
    if (!m_chkExcludeTable->isChecked() || m_GridC->Rows() == 0)
        return;
    const int row = m_GridC->Row();
    m_ctlExclue->appendText(
        controls::SaveLoadFileText::exclusionLine(m_GridC->TextMatrix(row, 0), m_GridC->TextMatrix(row, 1)));
}

} // namespace qormin::anonymize
