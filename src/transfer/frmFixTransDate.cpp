#include "transfer/frmFixTransDate.h"

#include "db/EventLoopYield.h"
#include "db/NameGuard.h"
#include "db/RecordReader.h"
#include "db/ServerAccess.h"
#include "db/SideConnection.h"
#include "platform/MessageBoxService.h"
#include "platform/SettingsStore.h"
#include "transfer/FixTransDateStatements.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QDateTime>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTextCursor>
#include <QVBoxLayout>
#include <algorithm>
#include <climits>

namespace qormin::transfer {

namespace {

constexpr int workingSide = 0;
namespace Statements = FixTransDateStatements;

const QString section = QStringLiteral("TDate");
const QString laidOutTable = QStringLiteral("BILLING_Jul16..TBBILLDAILYBILL");
const QStringList keyColumns = {QStringLiteral("IDNum"), QStringLiteral("RevenueID"),
                                QStringLiteral("itemid"), QStringLiteral("refnum")};

QVariant firstValue(const db::StatementOutcome& outcome) {
    if (outcome.resultSets.empty() || outcome.resultSets.front().rows.empty()) {
        return {};
    }
    return outcome.resultSets.front().rows.front().front();
}

bool hasRow(const db::StatementOutcome& outcome) {
    return !outcome.resultSets.empty() && !outcome.resultSets.front().rows.empty();
}

} // namespace

frmFixTransDate::frmFixTransDate(db::ServerAccess& access, platform::MessageBoxService& messageBoxes,
                                 platform::SettingsStore& settings, QWidget* parent)
    : QWidget(parent), m_access(access), m_messageBoxes(messageBoxes), m_settings(settings),
      m_src(new QLineEdit(laidOutTable, this)), m_dest(new QLineEdit(laidOutTable, this)),
      m_where(new QLineEdit(Statements::defaultWhere, this)),
      m_chkLog(new QCheckBox(QStringLiteral("Log"), this)), m_log(new QPlainTextEdit(this)),
      m_progress(new QProgressBar(this)) {
    setWindowTitle(QStringLiteral("Fix Trans Date"));
    buildLayout();
    loadSettings();
}

frmFixTransDate::~frmFixTransDate() = default;

void frmFixTransDate::buildLayout() {
    m_src->setObjectName(QStringLiteral("txtSrc"));
    m_dest->setObjectName(QStringLiteral("txtDest"));
    m_where->setObjectName(QStringLiteral("txtWhere"));
    m_where->installEventFilter(this);
    m_chkLog->setObjectName(QStringLiteral("chkLog"));
    m_chkLog->setChecked(true);
    m_log->setObjectName(QStringLiteral("txtLog"));
    m_log->setReadOnly(true);
    m_progress->setObjectName(QStringLiteral("ProgressBar1"));
    m_progress->setRange(0, 1);
    m_progress->setValue(0);

    auto* option1 = new QRadioButton(QStringLiteral("Step 1 (from backup)"), this);
    option1->setObjectName(QStringLiteral("Option1"));
    option1->setChecked(true);
    auto* option2 = new QRadioButton(QStringLiteral("Step 2  (from other tables)"), this);
    option2->setObjectName(QStringLiteral("Option2"));
    auto* start = new QPushButton(QStringLiteral("Start"), this);
    start->setObjectName(QStringLiteral("Command1"));
    connect(start, &QPushButton::clicked, this, &frmFixTransDate::Command1_Click);
    auto* stop = new QPushButton(QStringLiteral("Stop"), this);
    stop->setObjectName(QStringLiteral("cmdStop"));
    connect(stop, &QPushButton::clicked, this, &frmFixTransDate::cmdStop_Click);

    auto* fields = new QFormLayout;
    fields->addRow(QStringLiteral("Source"), m_src);
    fields->addRow(QStringLiteral("Dest"), m_dest);
    fields->addRow(QStringLiteral("Where"), m_where);
    auto* buttons = new QHBoxLayout;
    for (QWidget* widget : std::initializer_list<QWidget*>{option1, option2, m_chkLog, start, stop}) {
        buttons->addWidget(widget);
    }
    buttons->addStretch();
    // The log and the progress bar take whatever room the window gives.
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(fields);
    layout->addLayout(buttons);
    layout->addWidget(m_log, 1);
    layout->addWidget(m_progress);
    resize(800, 500);
}

void frmFixTransDate::loadSettings() {
    m_src->setText(m_settings.getSetting(section, QStringLiteral("txtSrc"), Statements::defaultTable));
    m_dest->setText(m_settings.getSetting(section, QStringLiteral("txtDest"), Statements::defaultTable));
    m_where->setText(m_settings.getSetting(section, QStringLiteral("txtWhere"), Statements::defaultWhere));
}

void frmFixTransDate::saveSettings() {
    m_settings.saveSetting(section, QStringLiteral("txtSrc"), m_src->text());
    m_settings.saveSetting(section, QStringLiteral("txtDest"), m_dest->text());
    m_settings.saveSetting(section, QStringLiteral("txtWhere"), m_where->text());
}

void frmFixTransDate::closeEvent(QCloseEvent* event) {
    saveSettings();
    QWidget::closeEvent(event);
}

bool frmFixTransDate::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_where && event->type() == QEvent::MouseButtonDblClick) {
        txtWhere_DblClick();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void frmFixTransDate::txtWhere_DblClick() {
    m_where->setText(Statements::resumeWhere);
}

void frmFixTransDate::cmdStop_Click() {
    m_stop = true;
}

void frmFixTransDate::WriteLog(const QString& text, bool append) {
    if (m_chkLog->isChecked()) {
        showLine(text, append);
    }
}

void frmFixTransDate::showLine(const QString& text, bool append) {
    // Inserted at one end rather than set whole, so a long run's log costs the same per line.
    QTextCursor cursor(m_log->document());
    cursor.movePosition(append ? QTextCursor::End : QTextCursor::Start);
    cursor.insertText(append ? QStringLiteral("\n") + text : text + QStringLiteral("\n"));
    db::yieldToEventLoop();
}

void frmFixTransDate::Command1_Click() {
    if (!db::NameGuard::admit(m_access, db::NameGuard::Position::Unbracketed,
                              {m_src->text(), m_dest->text()})) {
        return;
    }
    if (!m_access.IsConnected(workingSide)) {
        m_messageBoxes.MsgBox(QStringLiteral("Connect the left server in the main window first."));
        return;
    }
    db::SideConnection& side = m_access.side(workingSide);
    addFixedColumns(side);
    showRowCount(side);
    if (m_where->text().isEmpty()) {
        m_where->setText(Statements::whereOrAll(m_where->text()));
    }
    db::RecordReader reader(side, Statements::badRowsQuery(m_dest->text(), m_where->text()),
                            db::RecordReader::Mode::Updatable, 1, m_dest->text());
    if (!reader.open()) {
        endRun(reader.error());
        return;
    }
    m_stop = false;
    // The loop does not look at the stop flag: Stop never ended a repair, and still does not.
    while (reader.next()) {
        if (!repairRow(reader, side)) {
            endRun(m_error);
            return;
        }
        m_progress->setValue(std::min(m_progress->value() + 1, m_progress->maximum()));
        db::yieldToEventLoop();
    }
    if (!reader.error().isEmpty()) {
        endRun(reader.error());
        return;
    }
    // The end of a run is shown whether or not the rows were logged.
    showLine(Statements::done, true);
}

// A table that has the column already refuses it; that is the point of ignoring the outcome.
void frmFixTransDate::addFixedColumns(db::SideConnection& side) {
    for (const QString& table : {m_src->text(), m_dest->text()}) {
        side.execute(Statements::addFixedColumn(table), db::ResultRetention::Nothing);
    }
}

void frmFixTransDate::showRowCount(db::SideConnection& side) {
    side.execute(QStringLiteral("USE ") + Statements::defaultDatabase(), db::ResultRetention::Nothing);
    const QVariant count =
        firstValue(side.execute(Statements::rowCountQuery(), db::ResultRetention::FirstResultSet));
    m_progress->setRange(0, static_cast<int>(std::clamp<qlonglong>(count.toLongLong(), 1, INT_MAX)));
    m_progress->setValue(0);
}

bool frmFixTransDate::repairRow(db::RecordReader& reader, db::SideConnection& side) {
    for (const QString& column : keyColumns) {
        if (reader.columnIndex(column) < 0) {
            m_error = QStringLiteral(
                "Item cannot be found in the collection corresponding to the requested name or "
                "ordinal.");
            return false;
        }
    }
    const QVariant idNum = reader.value(QStringLiteral("IDNum"));
    const QVariant revenueId = reader.value(QStringLiteral("RevenueID"));
    const QVariant itemId = reader.value(QStringLiteral("itemid"));
    const QVariant refNum = reader.value(QStringLiteral("refnum"));
    const TransDateKeys keys = TransDateKeys::of(idNum, refNum, revenueId, itemId);
    // The look-ups up to the first that finds a date go to the side as one job: one wait per row
    // rather than one per query.
    std::vector<db::ChainedStatement> lookups;
    lookups.push_back({Statements::methodQuery(Statements::backupMethod, m_src->text(), keys),
                       db::ResultRetention::FirstResultSet,
                       {},
                       {}});
    for (int method = Statements::firstOtherMethod; method <= Statements::lastOtherMethod; ++method) {
        lookups.push_back({Statements::methodQuery(method, m_src->text(), keys),
                           db::ResultRetention::FirstResultSet,
                           {},
                           {}});
    }
    const std::vector<db::StatementOutcome> outcomes = side.executeChain(lookups, true);
    QVariant date;
    if (!dateOf(outcomes.front(), date)) {
        return false;
    }
    if (date.isValid()) {
        WriteLog(Statements::foundInBackupLine(reader.value(QStringLiteral("TransDate")), date), true);
        return saveDate(reader, date, Statements::backupMethod);
    }
    WriteLog(Statements::notFoundInBackup, true);
    for (size_t index = 1; index < outcomes.size(); ++index) {
        if (!dateOf(outcomes[index], date)) {
            return false;
        }
        if (date.isValid()) {
            const int method = Statements::firstOtherMethod + static_cast<int>(index) - 1;
            WriteLog(Statements::foundLine(method, date), true);
            return saveDate(reader, date, method);
        }
    }
    WriteLog(Statements::notFoundAnywhere, true);
    WriteLog(Statements::notFoundInSourcesLine(idNum, revenueId, refNum, itemId), true);
    WriteLog(QString(), true);
    return true;
}

// False when the query failed (the run ends); date is invalid when no row came back.
bool frmFixTransDate::dateOf(const db::StatementOutcome& outcome, QVariant& date) {
    if (!outcome.succeeded) {
        m_error = outcome.errorDescription;
        return false;
    }
    date = hasRow(outcome) ? firstValue(outcome) : QVariant();
    // A hit whose date is NULL (method 8 does not exclude it) is still a hit.
    if (hasRow(outcome) && !date.isValid()) {
        date = QVariant(QMetaType::fromType<QDateTime>());
    }
    return true;
}

bool frmFixTransDate::saveDate(db::RecordReader& reader, const QVariant& date, int method) {
    // Every row is followed by the next: the repair has no stop.
    return reader.updateCurrentRow({QStringLiteral("TransDate"), QStringLiteral("TransDateFixed")},
                                   {date, QVariant(method)}, &m_error,
                                   db::RecordReader::AfterChange::FetchNext);
}

void frmFixTransDate::endRun(const QString& error) {
    WriteLog(error, true);
    m_messageBoxes.MsgBox(error);
}

} // namespace qormin::transfer
