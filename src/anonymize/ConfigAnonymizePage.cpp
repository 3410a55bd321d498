#include "anonymize/ConfigAnonymizePage.h"

#include "anonymize/AnonymizePage.h"
#include "anonymize/AnonymizeStatements.h"
#include "anonymize/modNames.h"
#include "controls/FlexGrid.h"
#include "controls/SaveLoadFileText.h"
#include "controls/ctlSaveLoadFile.h"
#include "db/EventLoopYield.h"
#include "db/NameGuard.h"
#include "db/Recordset.h"
#include "db/ServerAccess.h"
#include "db/SideConnection.h"
#include "db/SqlLiteral.h"
#include "platform/MessageBoxService.h"
#include "platform/SettingsStore.h"
#include "window/MainWindowContext.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>

namespace qormin::anonymize {

namespace Statements = AnonymizeStatements;

namespace {

const char* const excludedTablesFile = "ExcludedTables.txt";
const char* const anonymizeTablesFile = "AnonymizeTables.txt";
const QString settingsSection = QStringLiteral("MAIN");
const QString tableListKey = QStringLiteral("ctlATables.TextBoxObj");
const QString crlf = QStringLiteral("\r\n");
constexpr int rightSide = 1;
constexpr int panelMinimumHeight = 160;
constexpr int gridMinimumHeight = 240;
constexpr int firstColumnCell = 2;

controls::ctlSaveLoadFile* panel(const char* name, window::MainWindowContext& context, QWidget* parent) {
    auto* created = new controls::ctlSaveLoadFile(context.dataDirectory(), context.messageBoxes(), parent);
    created->setObjectName(QString::fromLatin1(name));
    created->setMinimumHeight(panelMinimumHeight);
    return created;
}

QPushButton* button(const char* name, const QString& caption, QWidget* parent) {
    auto* created = new QPushButton(caption, parent);
    created->setObjectName(QString::fromLatin1(name));
    return created;
}

// The text boxes know only line feeds; the lists are CR LF text everywhere else.
QString boxText(const QPlainTextEdit* box) {
    return box->toPlainText().replace(u'\n', crlf);
}

void setBoxText(QPlainTextEdit* box, QString text) {
    box->setPlainText(text.replace(crlf, QStringLiteral("\n")));
}

} // namespace

ConfigAnonymizePage::ConfigAnonymizePage(window::MainWindowContext& context, QWidget* parent)
    : QWidget(parent), m_context(context), m_cmdInit(button("cmdInit", tr("Configure"), this)),
      m_fraConfig(new QGroupBox(tr("Anonymize configuration"), this)),
      m_ctlExclue(panel("ctlExclue", context, m_fraConfig)),
      m_ctlATables(panel("ctlATables", context, m_fraConfig)), m_GridC(new controls::FlexGrid(m_fraConfig)),
      m_grdSample(new controls::FlexGrid(m_fraConfig)),
      m_chkExcludeTable(new QCheckBox(tr("&Exclude Table"), m_fraConfig)) {
    m_cmdInit->setToolTip(tr("Load the excluded tables and show the configuration"));
    m_fraConfig->setObjectName(QStringLiteral("fraConfig"));
    m_fraConfig->hide();
    m_GridC->setObjectName(QStringLiteral("GridC"));
    m_GridC->setMinimumHeight(gridMinimumHeight);
    m_grdSample->setObjectName(QStringLiteral("grdSample"));
    m_chkExcludeTable->setObjectName(QStringLiteral("chkExcludeTable"));
    m_chkExcludeTable->setToolTip(tr("A click on a table's row adds it to the excluded tables"));
    auto* cmdGetTables = button("cmdGetTables", tr("Get Tables"), m_fraConfig);
    auto* cmdSampleData = button("cmdSampleData", tr("Sample Data"), m_fraConfig);
    auto* cmdSaveFile = button("cmdSaveFile", tr("Save Tables"), m_fraConfig);
    cmdGetTables->setToolTip(tr("Find name columns on the right server"));
    cmdSaveFile->setToolTip(tr("Write the tables and columns of the grid to AnonymizeTables.txt"));

    auto* gridButtons = new QHBoxLayout;
    gridButtons->addWidget(cmdGetTables);
    gridButtons->addWidget(cmdSampleData);
    gridButtons->addWidget(cmdSaveFile);
    gridButtons->addWidget(m_chkExcludeTable);
    gridButtons->addStretch(1);
    auto* tables = new QVBoxLayout;
    tables->addLayout(gridButtons);
    tables->addWidget(m_GridC, 3);
    tables->addWidget(m_grdSample, 2);
    auto* lists = new QVBoxLayout;
    lists->addWidget(m_ctlExclue, 1);
    lists->addWidget(m_ctlATables, 1);
    auto* frame = new QHBoxLayout(m_fraConfig);
    frame->addLayout(tables, 3);
    frame->addLayout(lists, 2);

    auto* cmdInitAnonymize = button("cmdInitAnonymize", tr("Init"), this);
    auto* cmdDefault = button("cmdDefault", tr("Default tables"), this);
    cmdInitAnonymize->setToolTip(tr("Restore the saved name lists and table list (once per run)"));
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_cmdInit);
    buttons->addWidget(cmdInitAnonymize);
    buttons->addWidget(cmdDefault);
    buttons->addStretch(1);
    auto* body = new QHBoxLayout;
    body->addWidget(m_fraConfig, 3);
    body->addWidget(buildNameLists(), 1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(buttons);
    layout->addLayout(body, 1);

    connect(m_cmdInit, &QPushButton::clicked, this, &ConfigAnonymizePage::cmdInit_Click);
    connect(cmdInitAnonymize, &QPushButton::clicked, this, &ConfigAnonymizePage::cmdInitAnonymize);
    connect(cmdDefault, &QPushButton::clicked, this, &ConfigAnonymizePage::cmdDefault_Click);
    connect(cmdGetTables, &QPushButton::clicked, this, &ConfigAnonymizePage::cmdGetTables_Click);
    connect(cmdSampleData, &QPushButton::clicked, this, &ConfigAnonymizePage::cmdSampleData_Click);
    connect(cmdSaveFile, &QPushButton::clicked, this, &ConfigAnonymizePage::cmdSaveFile_Click);
    connect(m_GridC, &controls::FlexGrid::Click, this, &ConfigAnonymizePage::GridC_Click);
    connect(m_ctlATables->TextBoxObj(), &QPlainTextEdit::textChanged, this, [this] {
        m_context.settings().saveSetting(settingsSection, tableListKey, m_ctlATables->text());
    });
}

QWidget* ConfigAnonymizePage::buildNameLists() {
    auto* box = new QGroupBox(tr("Replacement names"), this);
    m_txtLastNames = new QPlainTextEdit(box);
    m_txtLastNames->setObjectName(QStringLiteral("txtLastNames"));
    m_txtFirstnames = new QPlainTextEdit(box);
    m_txtFirstnames->setObjectName(QStringLiteral("txtFirstnames"));
    setBoxText(m_txtLastNames, modNames::defaultLastNames());
    setBoxText(m_txtFirstnames, modNames::defaultFirstNames());
    persistOnChange(m_txtLastNames, QStringLiteral("txtLastNames"));
    persistOnChange(m_txtFirstnames, QStringLiteral("txtFirstnames"));
    auto* layout = new QVBoxLayout(box);
    layout->addWidget(new QLabel(tr("Surnames"), box));
    layout->addWidget(m_txtLastNames, 1);
    layout->addWidget(new QLabel(tr("Given names"), box));
    layout->addWidget(m_txtFirstnames, 1);
    auto* extra = new QGridLayout;
    for (int index = 0; index < anonymizeBoxCount; ++index) {
        m_txtAnonymize[index] = new QLineEdit(box);
        m_txtAnonymize[index]->setObjectName(QStringLiteral("txtAnonymize(%1)").arg(index));
        m_txtAnonymizeField[index] = new QLineEdit(box);
        m_txtAnonymizeField[index]->setObjectName(QStringLiteral("txtAnonymizeField(%1)").arg(index));
        persistOnChange(m_txtAnonymize[index], QStringLiteral("txtAnonymize%1").arg(index));
        persistOnChange(m_txtAnonymizeField[index], QStringLiteral("txtAnonymizeField%1").arg(index));
        extra->addWidget(m_txtAnonymize[index], index, 0);
        extra->addWidget(m_txtAnonymizeField[index], index, 1);
    }
    layout->addLayout(extra);
    return box;
}

void ConfigAnonymizePage::persistOnChange(QPlainTextEdit* box, const QString& key) {
    connect(box, &QPlainTextEdit::textChanged, this,
            [this, box, key] { m_context.settings().saveSetting(settingsSection, key, boxText(box)); });
}

void ConfigAnonymizePage::persistOnChange(QLineEdit* box, const QString& key) {
    connect(box, &QLineEdit::textChanged, this, [this, key](const QString& text) {
        m_context.settings().saveSetting(settingsSection, key, text);
    });
}

ConfigAnonymizePage* ConfigAnonymizePage::install(window::MainWindowContext& context) {
    auto* page = new ConfigAnonymizePage(context, context.page(pageIndex));
    page->setObjectName(QStringLiteral("ConfigAnonymizePage"));
    context.pageToolArea(pageIndex)->addWidget(page);
    AnonymizePage::install(context, [page] { return page->lists(); });
    context.addPageHook(initAnonymizeHookPage, [page] { page->cmdInitAnonymize(); });
    context.addPageHook(configureHookPage, [page] { page->cmdInit_Click(); });
    return page;
}

AnonymizeLists ConfigAnonymizePage::lists() const {
    return {m_ctlATables->text(), boxText(m_txtLastNames), boxText(m_txtFirstnames)};
}

void ConfigAnonymizePage::cmdInit_Click() {
    m_ctlExclue->BindFile(QString::fromLatin1(excludedTablesFile));
    m_fraConfig->show();
}

void ConfigAnonymizePage::restoreNames(QPlainTextEdit* box, const QString& key) {
    const QString stored = m_context.settings().getSetting(settingsSection, key);
    if (!stored.isEmpty())
        setBoxText(box, stored);
}

void ConfigAnonymizePage::cmdInitAnonymize() {
    if (m_anonymizeInitialised)
        return;
    m_anonymizeInitialised = true;
    restoreNames(m_txtLastNames, QStringLiteral("txtLastNames"));
    restoreNames(m_txtFirstnames, QStringLiteral("txtFirstnames"));
    const QString tables = m_context.settings().getSetting(settingsSection, tableListKey);
    if (tables.isEmpty())
        cmdDefault_Click();
    else
        m_ctlATables->setText(tables);
    // The file replaces the list only where it exists.
    const QString text = m_ctlATables->text();
    m_ctlATables->BindFile(QString::fromLatin1(anonymizeTablesFile));
    if (!QFileInfo::exists(m_ctlATables->filePath()))
        m_ctlATables->setText(text);
}

void ConfigAnonymizePage::cmdDefault_Click() {
    m_ctlATables->setText(Statements::defaultTables());
}

// The first column of a query's rows (empty values left out); nested queries reuse the shared
// record set, so each level takes its rows before the next query.
QStringList ConfigAnonymizePage::firstColumnValues(const QString& sql) {
    db::ServerAccess& access = m_context.serverAccess();
    QString result;
    if (!access.OpenRecordset(rightSide, sql, QVariant(), result)) {
        access.LogError(result);
        return {};
    }
    QStringList values;
    for (db::Recordset& records = access.sharedRecordset(); !records.eof(); records.MoveNext())
        values.append(records.field(0).toString());
    return values;
}

void ConfigAnonymizePage::cmdGetTables_Click() {
    m_GridC->clear();
    m_GridC->setRows(1);
    m_GridC->setCols(firstColumnCell + 1);
    m_GridC->setTextMatrix(0, 0, tr("Database"));
    m_GridC->setTextMatrix(0, 1, tr("Table"));
    m_GridC->setTextMatrix(0, firstColumnCell, tr("Columns"));
    for (const QString& database : firstColumnValues(Statements::databasesQuery())) {
        if (m_context.stopRequested())
            break;
        if (database.isEmpty() ||
            !db::NameGuard::admit(m_context.serverAccess(), db::NameGuard::Position::Quoted, {database}))
            continue;
        discoverTables(database);
        m_context.serverAccess().LogMessage(database);
    }
}

void ConfigAnonymizePage::discoverTables(const QString& database) {
    db::ServerAccess& access = m_context.serverAccess();
    access.EnsureConnected(rightSide);
    // What setting the connection's default database did: the tables query names no database.
    access.side(rightSide).execute(QStringLiteral("use ") + db::quotedName(database),
                                   db::ResultRetention::Nothing);
    for (const QString& table : firstColumnValues(Statements::tablesQuery())) {
        if (m_context.stopRequested())
            return;
        if (Statements::isExcluded(m_ctlExclue->text(), database, table)) {
            access.LogMessage(Statements::skippingLine(database, table));
            continue;
        }
        if (!db::NameGuard::admit(access, db::NameGuard::Position::Quoted, {table}))
            continue;
        const QStringList columns = nameColumns(database, table);
        if (!columns.isEmpty())
            addGridCRow(database, table, columns);
        db::EventLoopYield::processEvents();
    }
}

QStringList ConfigAnonymizePage::nameColumns(const QString& database, const QString& table) {
    QStringList columns;
    for (const QString& column : firstColumnValues(Statements::nameColumnsQuery(database, table))) {
        if (column.toUpper() != QLatin1String("HOSPNUM"))
            columns.append(column);
    }
    return columns;
}

void ConfigAnonymizePage::addGridCRow(const QString& database, const QString& table,
                                      const QStringList& columns) {
    const int row = m_GridC->Rows();
    m_GridC->setRows(row + 1);
    m_GridC->setCols(std::max(m_GridC->Cols(), firstColumnCell + static_cast<int>(columns.size())));
    m_GridC->setTextMatrix(row, 0, database);
    m_GridC->setTextMatrix(row, 1, table);
    for (int index = 0; index < columns.size(); ++index)
        m_GridC->setTextMatrix(row, firstColumnCell + index, columns[index]);
}

void ConfigAnonymizePage::cmdSampleData_Click() {
    const int row = m_GridC->Row();
    const QString database = m_GridC->TextMatrix(row, 0);
    const QString table = m_GridC->TextMatrix(row, 1);
    const QString column = m_GridC->TextMatrix(row, m_GridC->Col());
    db::ServerAccess& access = m_context.serverAccess();
    if (!db::NameGuard::admit(access, db::NameGuard::Position::Unbracketed, {database, table, column}))
        return;
    QString result;
    if (!access.OpenRecordset(rightSide, Statements::sampleQuery(column, database, table), QVariant(),
                              result)) {
        access.LogError(result);
        return;
    }
    m_grdSample->bind(access.sharedRecordset().table());
}

void ConfigAnonymizePage::cmdSaveFile_Click() {
    const QString path = QDir(m_context.dataDirectory()).filePath(QString::fromLatin1(anonymizeTablesFile));
    QByteArray bytes;
    for (int row = 0; row < m_GridC->Rows(); ++row) {
        QStringList cells;
        for (int column = 0; column < m_GridC->Cols(); ++column)
            cells.append(m_GridC->TextMatrix(row, column));
        bytes += Statements::savedTablesLine(cells).toLocal8Bit() + crlf.toLatin1();
    }
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size()) {
        m_context.messageBoxes().MsgBox(QStringLiteral("Cannot write ") + path + QStringLiteral(": ") +
                                        file.errorString());
        return;
    }
    m_context.serverAccess().LogMessage(QStringLiteral("Saved. ") + QDir::toNativeSeparators(path));
}

void ConfigAnonymizePage::GridC_Click() {
    if (!m_chkExcludeTable->isChecked() || m_GridC->Rows() == 0)
        return;
    const int row = m_GridC->Row();
    m_ctlExclue->appendText(
        controls::SaveLoadFileText::exclusionLine(m_GridC->TextMatrix(row, 0), m_GridC->TextMatrix(row, 1)));
}

} // namespace qormin::anonymize
