#include "app/batch/BatchRunner.h"

#include "app/HandlerGate.h"
#include "app/LogView.h"
#include "app/RunningWorkStopper.h"
#include "app/batch/BatchCommand.h"
#include "app/batch/BatchLogEcho.h"
#include "app/batch/BatchMessageBoxService.h"
#include "app/frmMain.h"
#include "controls/FileListBox.h"
#include "controls/FlexGrid.h"
#include "controls/ctlSaveLoadFile.h"
#include "db/LogBuffer.h"
#include "db/SecretMask.h"
#include "db/ServerAccess.h"
#include "platform/TerminationRequests.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTime>
#include <QEventLoop>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QSet>
#include <QSpinBox>
#include <QTabWidget>
#include <QTextEdit>
#include <QTextStream>
#include <QTimer>

namespace qormin::app {

namespace {

using Kind = BatchCommand::Kind;

std::optional<platform::MessageBoxAnswer> answerOf(const QString& word) {
    if (word == u"yes")
        return platform::MessageBoxAnswer::Yes;
    if (word == u"no")
        return platform::MessageBoxAnswer::No;
    if (word == u"ok")
        return platform::MessageBoxAnswer::Ok;
    if (word == u"cancel")
        return platform::MessageBoxAnswer::Cancel;
    return std::nullopt;
}

QString lines(QString text) {
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    return text;
}

QString listText(const QListWidget* list) {
    QStringList items;
    for (int i = 0; i < list->count(); ++i)
        items.append(list->item(i)->text());
    return items.join(u'\n');
}

// The text-file panel holding control below scope, if any.
const controls::ctlSaveLoadFile* panelAround(const QWidget* control, const QWidget* scope) {
    for (const QWidget* parent = control->parentWidget(); parent != nullptr && parent != scope;
         parent = parent->parentWidget()) {
        if (const auto* panel = qobject_cast<const controls::ctlSaveLoadFile*>(parent))
            return panel;
    }
    return nullptr;
}

// A panel or its text box stands for the panel's text, which keeps the file's line ends.
controls::ctlSaveLoadFile* panelText(QWidget* control) {
    if (auto* panel = qobject_cast<controls::ctlSaveLoadFile*>(control))
        return panel;
    auto* panel = qobject_cast<controls::ctlSaveLoadFile*>(control->parentWidget());
    if (panel != nullptr && panel->TextBoxObj() == control)
        return panel;
    return nullptr;
}

QString rowError(int row, int rows) {
    const QString range = rows == 0 ? QStringLiteral("it has no rows")
                                    : QStringLiteral("rows 0 to ") + QString::number(rows - 1);
    return QStringLiteral("row ") + QString::number(row) + QStringLiteral(" is out of range (") + range +
           u')';
}

QString notOpenError(const QString& window) {
    return QStringLiteral("window \"") + window + QStringLiteral("\" is not open (use: open ") + window +
           QStringLiteral(") and no control is named so");
}

QString notAButtonError(const QWidget* control) {
    return QStringLiteral("\"") + control->objectName() + QStringLiteral("\" is not a button");
}

QString notAGridError(const QWidget* control) {
    return QStringLiteral("\"") + control->objectName() + QStringLiteral("\" is not a grid or a list");
}

QString duration(qint64 milliseconds) {
    const qint64 seconds = milliseconds / 1000;
    const auto twoDigits = [](qint64 value) { return QString::number(value).rightJustified(2, u'0'); };
    return twoDigits(seconds / 3600) + u':' + twoDigits(seconds / 60 % 60) + u':' + twoDigits(seconds % 60);
}

} // namespace

BatchRunner::BatchRunner(frmMain& window, BatchMessageBoxService& messageBoxes, QTextStream& output,
                         QTextStream& errors, QTextStream& log)
    : m_window(window), m_messageBoxes(messageBoxes), m_output(output), m_errors(errors), m_log(log),
      m_before(window.serverAccess().tally()) {
    m_elapsed.start();
}

BatchRunner::~BatchRunner() {
    QObject::disconnect(m_requestConnection);
}

int BatchRunner::run(QTextStream& input) {
    QStringList lines;
    QString line;
    while (input.readLineInto(&line))
        lines.append(line);
    QList<BatchCommand> commands;
    QList<qsizetype> lineNumbers; // of each command (comments and blank lines have none)
    bool malformed = !checkAll(lines, commands, lineNumbers);
    for (qsizetype index = 0; !malformed && !interruptedNow() && index < commands.size(); ++index) {
        const QString error = execute(commands.at(index));
        malformed = !error.isEmpty();
        if (malformed)
            reportBadLine(lineNumbers.at(index), lines.at(lineNumbers.at(index) - 1), error);
        m_output.flush();
    }
    return finish(malformed);
}

int BatchRunner::finish(bool malformed) {
    if (!malformed && !m_interrupted && m_messageBoxes.pendingAnswers() > 0)
        m_errors << "warning: " << m_messageBoxes.pendingAnswers() << " queued answer(s) were not needed"
                 << Qt::endl;
    if (!malformed && !m_interrupted && m_messageBoxes.pendingFileNames() > 0)
        m_errors << "warning: " << m_messageBoxes.pendingFileNames() << " queued file name(s) were not needed"
                 << Qt::endl;
    const db::StatementTally tally = m_window.serverAccess().tally() - m_before;
    const int status = exitStatus(tally, malformed, m_interrupted);
    m_log << BatchLogEcho::stamped(QDateTime::currentDateTime(), -1, QStringLiteral("summary"),
                                   summary(tally, m_elapsed.elapsed(), status));
    m_log.flush();
    return status;
}

void BatchRunner::reportBadLine(qsizetype lineNumber, const QString& line, const QString& error) {
    m_errors << "batch line " << lineNumber << ": " << error << Qt::endl
             << "  " << line.trimmed() << Qt::endl;
}

// The whole file is checked before its first command runs: a typo on the last line must not
// leave a run half done (a database dropped, the rest of the night's work not). What can be known
// before the run is checked: every line parses, every control of the main window and its pages
// exists and suits its command, every page exists, every window can be opened and is opened
// before its controls are named. The controls of a subsidiary window exist only once it is
// open, and grid rows, enabled buttons and values only as the run gets there: those are checked
// as each line runs.
bool BatchRunner::checkAll(const QStringList& lines, QList<BatchCommand>& commands,
                           QList<qsizetype>& lineNumbers) {
    QSet<QString> opened;
    for (qsizetype index = 0; index < lines.size(); ++index) {
        const BatchParseResult parsed = parseBatchLine(lines.at(index));
        QString error = parsed.error;
        if (parsed.command) {
            error = check(*parsed.command, opened);
            commands.append(*parsed.command);
            lineNumbers.append(index + 1);
        }
        if (!error.isEmpty()) {
            reportBadLine(index + 1, lines.at(index), error);
            return false;
        }
    }
    return true;
}

QString BatchRunner::check(const BatchCommand& command, QSet<QString>& opened) const {
    switch (command.kind) {
    case Kind::Open:
        if (!m_window.knowsWindow(command.name))
            return QStringLiteral("unknown window \"") + command.name + u'"';
        opened.insert(command.name);
        return QString();
    case Kind::Page:
        return command.row < m_window.SSTab1()->count() ? QString() : pageError(command.row);
    case Kind::Set:
    case Kind::Click:
    case Kind::Select:
    case Kind::DoubleClick:
    case Kind::Print:
        return checkControl(command, opened);
    default:
        return QString();
    }
}

QString BatchRunner::checkControl(const BatchCommand& command, const QSet<QString>& opened) const {
    const QString window = command.name.section(u'.', 0, 0);
    const bool inSubsidiaryWindow = command.name.contains(u'.') && m_window.knowsWindow(window);
    if (inSubsidiaryWindow && m_window.findWindow(window) == nullptr)
        return opened.contains(window) ? QString() : notOpenError(window);
    QString error;
    const QWidget* control = find(command.name, error);
    if (control == nullptr)
        return error;
    if (command.kind == Kind::Click && qobject_cast<const QAbstractButton*>(control) == nullptr)
        return notAButtonError(control);
    const bool rows = qobject_cast<const controls::FlexGrid*>(control) != nullptr ||
                      qobject_cast<const controls::FileListBox*>(control) != nullptr ||
                      qobject_cast<const QListWidget*>(control) != nullptr;
    if ((command.kind == Kind::Select || command.kind == Kind::DoubleClick) && !rows)
        return notAGridError(control);
    return QString();
}

void BatchRunner::watch(platform::TerminationRequests& requests) {
    m_requests = &requests;
    m_requestConnection = QObject::connect(&requests, &platform::TerminationRequests::requested, &m_window,
                                           [this](const QString& name) { interrupt(name); });
}

bool BatchRunner::interruptedNow() {
    if (m_requests != nullptr)
        m_requests->checkNow();
    return m_interrupted;
}

void BatchRunner::interrupt(const QString& signalName) {
    if (m_interrupted)
        return;
    m_interrupted = true;
    m_window.serverAccess().LogMessage(
        QStringLiteral("Interrupted by ") + signalName +
        QStringLiteral(": the running statement is cancelled and the run ends."));
    m_window.workStopper().stop();
    if (m_waiting != nullptr)
        m_waiting->quit();
}

int BatchRunner::abandon() {
    m_window.serverAccess().LogMessage(
        QStringLiteral(
            "The command under way did not end within %1 s of its cancel; the run ends without it.")
            .arg(RunningWorkStopper::handlerEndLimit.count()));
    finish(false);
    return interruptedExitCode;
}

void BatchRunner::wait(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    m_waiting = &loop;
    loop.exec();
    m_waiting = nullptr;
}

int BatchRunner::exitStatus(const db::StatementTally& tally, bool malformed, bool interrupted) {
    if (interrupted)
        return interruptedExitCode;
    if (malformed)
        return malformedExitCode;
    if (tally.connectFailures > 0)
        return connectFailedExitCode;
    return tally.failed > 0 || tally.valuesLost > 0 || tally.auditLinesLost > 0 ? statementFailedExitCode
                                                                                : succeededExitCode;
}

// The audit count shows only when lines were lost, so the usual line reads as it always has.
QString BatchRunner::summary(const db::StatementTally& tally, qint64 elapsedMilliseconds, int exitStatus) {
    const QString audit = tally.auditLinesLost > 0
                              ? QStringLiteral(", audit lines lost %1").arg(tally.auditLinesLost)
                              : QString();
    return QStringLiteral("sent %1, failed %2, withheld by Script only %3, values lost %8, elapsed %4, "
                          "header-row refusals %5, connect failures %6%9, exit status %7")
        .arg(tally.sent)
        .arg(tally.failed)
        .arg(tally.withheld)
        .arg(duration(elapsedMilliseconds))
        .arg(tally.headerRowRefusals)
        .arg(tally.connectFailures)
        .arg(exitStatus)
        .arg(tally.valuesLost)
        .arg(audit);
}

QString BatchRunner::execute(const BatchCommand& command) {
    switch (command.kind) {
    case Kind::None:
        return QString();
    case Kind::Answer:
        m_messageBoxes.queueAnswer(*answerOf(command.value));
        return QString();
    case Kind::AnswerFile:
        m_messageBoxes.queueFileName(command.value);
        return QString();
    case Kind::Wait:
        wait(command.row);
        return QString();
    case Kind::Page:
        return page(command.row);
    case Kind::Open:
        return startThroughGate(command.name, [this, &command] {
            return m_window.openWindow(command.name)
                       ? QString()
                       : QStringLiteral("unknown window \"") + command.name + u'"';
        });
    default:
        return executeControlCommand(command);
    }
}

QString BatchRunner::executeControlCommand(const BatchCommand& command) {
    QString error;
    QWidget* control = find(command.name, error);
    if (control == nullptr)
        return error;
    if (command.kind == Kind::Print)
        return print(control);
    return startThroughGate(
        HandlerGate::describe(control, &m_window),
        [this, control, &command] {
            switch (command.kind) {
            case Kind::Set:
                return set(control, command.value);
            case Kind::Click:
                return click(control);
            case Kind::Select:
            case Kind::DoubleClick:
                return clickRow(control, command);
            default:
                return QStringLiteral("unsupported command");
            }
        },
        control);
}

// A command starts a handler as a click would, so it waits its turn at the same gate.
QString BatchRunner::startThroughGate(const QString& label, const std::function<QString()>& command,
                                      const QWidget* control) {
    HandlerGate& gate = m_window.handlerGate();
    if (gate.busy())
        return QStringLiteral("the window is busy (") + gate.statusText() + u')';
    const HandlerGate::Run run(gate, label, control);
    return command();
}

// A dotted name goes down one level per part: "frmHistorical.txtYears" is a control of an
// open window, "ctlExclue.txtFileVal" a control inside a text-file panel.
QWidget* BatchRunner::find(const QString& name, QString& error) const {
    const QStringList parts = name.split(u'.');
    QWidget* scope = m_window.centralWidget();
    qsizetype next = 0;
    if (parts.size() > 1) {
        if (QWidget* window = m_window.findWindow(parts.first())) {
            scope = window;
            next = 1;
        } else if (findIn(scope, parts.first(), error) == nullptr) {
            error = notOpenError(parts.first());
            return nullptr;
        }
    }
    for (; next < parts.size(); ++next) {
        scope = findIn(scope, parts.at(next), error);
        if (scope == nullptr) {
            if (error.isEmpty())
                error = QStringLiteral("unknown control \"") + name + u'"';
            return nullptr;
        }
    }
    return scope;
}

// The controls of a text-file panel are reached only through the panel's name: the two panels
// of the window have the same inner names, and the bare name "cmdInit" is the window's own.
QWidget* BatchRunner::findIn(QWidget* scope, const QString& name, QString& error) const {
    error.clear();
    QWidget* first = scope->findChild<QWidget*>(name);
    if (first == nullptr || panelAround(first, scope) == nullptr)
        return first;
    QStringList dotted;
    for (QWidget* control : scope->findChildren<QWidget*>(name)) {
        const controls::ctlSaveLoadFile* panel = panelAround(control, scope);
        if (panel == nullptr)
            return control;
        dotted.append(panel->objectName() + u'.' + name);
    }
    error = QStringLiteral("\"") + name +
            QStringLiteral("\" is inside a text-file panel; name the panel too: ") +
            dotted.join(QStringLiteral(", "));
    return nullptr;
}

QString BatchRunner::set(QWidget* control, const QString& value) {
    if (auto* panel = panelText(control)) {
        panel->setText(value);
        return QString();
    }
    if (auto* check = qobject_cast<QCheckBox*>(control)) {
        if (value != u"0" && value != u"1")
            return QStringLiteral("a check box takes 0 or 1, not \"") + value + u'"';
        check->setChecked(value == u"1");
        return QString();
    }
    if (auto* edit = qobject_cast<QLineEdit*>(control)) {
        edit->setText(value);
        return QString();
    }
    if (auto* log = qobject_cast<LogView*>(control)) {
        log->buffer().setText(value);
        return QString();
    }
    if (auto* text = qobject_cast<QPlainTextEdit*>(control)) {
        text->setPlainText(value);
        return QString();
    }
    if (auto* text = qobject_cast<QTextEdit*>(control)) {
        text->setPlainText(value);
        return QString();
    }
    if (auto* combo = qobject_cast<QComboBox*>(control)) {
        combo->setCurrentText(value);
        return QString();
    }
    if (auto* spin = qobject_cast<QSpinBox*>(control)) {
        bool ok = false;
        const int number = value.toInt(&ok);
        if (!ok)
            return QStringLiteral("a number is needed, not \"") + value + u'"';
        spin->setValue(number);
        return QString();
    }
    // An inner tab strip (SSTab2) turns to a page by its index; SSTab1 has "page N".
    if (auto* tabs = qobject_cast<QTabWidget*>(control)) {
        bool ok = false;
        const int index = value.toInt(&ok);
        if (!ok || index < 0 || index >= tabs->count())
            return QStringLiteral("no page \"") + value + QStringLiteral("\" in ") + control->objectName();
        tabs->setCurrentIndex(index);
        return QString();
    }
    return QStringLiteral("\"") + control->objectName() + QStringLiteral("\" has no text to set");
}

QString BatchRunner::click(QWidget* control) {
    auto* button = qobject_cast<QAbstractButton*>(control);
    if (button == nullptr)
        return notAButtonError(control);
    if (!button->isEnabled())
        return QStringLiteral("\"") + control->objectName() + QStringLiteral("\" is disabled");
    button->click();
    return QString();
}

// A double-click is what the mouse does: the row's click first, then the double-click.
QString BatchRunner::clickRow(QWidget* control, const BatchCommand& command) {
    const bool twice = command.kind == Kind::DoubleClick;
    if (auto* grid = qobject_cast<controls::FlexGrid*>(control)) {
        if (command.row >= grid->Rows())
            return rowError(command.row, grid->Rows());
        if (command.column && *command.column >= grid->Cols())
            return QStringLiteral("column ") + QString::number(*command.column) +
                   QStringLiteral(" is out of range");
        grid->setRow(command.row);
        grid->setCol(command.column.value_or(0));
        Q_EMIT grid->Click();
        if (twice)
            Q_EMIT grid->DblClick();
        return QString();
    }
    if (auto* files = qobject_cast<controls::FileListBox*>(control)) {
        if (command.row >= files->ListCount())
            return rowError(command.row, files->ListCount());
        files->setListIndex(command.row);
        Q_EMIT files->Click();
        if (twice)
            Q_EMIT files->DblClick();
        return QString();
    }
    if (auto* list = qobject_cast<QListWidget*>(control)) {
        if (command.row >= list->count())
            return rowError(command.row, list->count());
        list->setCurrentRow(command.row);
        Q_EMIT list->itemClicked(list->item(command.row));
        if (twice)
            Q_EMIT list->itemDoubleClicked(list->item(command.row));
        return QString();
    }
    return notAGridError(control);
}

QString BatchRunner::print(QWidget* control) {
    QString text;
    if (const auto* panel = panelText(control)) {
        m_output << db::maskSecrets(escapedBatchValue(panel->text())) << Qt::endl;
        return QString();
    }
    if (auto* check = qobject_cast<QCheckBox*>(control))
        text = check->isChecked() ? QStringLiteral("1") : QStringLiteral("0");
    else if (auto* edit = qobject_cast<QLineEdit*>(control))
        text = edit->text();
    else if (auto* log = qobject_cast<LogView*>(control))
        text = log->buffer().text();
    else if (auto* plain = qobject_cast<QPlainTextEdit*>(control))
        text = escapedBatchValue(plain->toPlainText());
    else if (auto* rich = qobject_cast<QTextEdit*>(control))
        text = escapedBatchValue(rich->toPlainText());
    else if (auto* label = qobject_cast<QLabel*>(control))
        text = label->text();
    else if (auto* grid = qobject_cast<controls::FlexGrid*>(control))
        text = grid->toText();
    else if (auto* list = qobject_cast<QListWidget*>(control))
        text = listText(list);
    else if (auto* combo = qobject_cast<QComboBox*>(control))
        text = combo->currentText();
    else if (auto* spin = qobject_cast<QSpinBox*>(control))
        text = QString::number(spin->value());
    else if (auto* tabs = qobject_cast<QTabWidget*>(control))
        text = QString::number(tabs->currentIndex());
    else if (auto* button = qobject_cast<QAbstractButton*>(control))
        text = button->text();
    else
        return QStringLiteral("\"") + control->objectName() + QStringLiteral("\" has no text to print");
    m_output << db::maskSecrets(lines(text)) << Qt::endl;
    return QString();
}

QString BatchRunner::pageError(int index) const {
    return QStringLiteral("page ") + QString::number(index) + QStringLiteral(" does not exist (0 to ") +
           QString::number(m_window.SSTab1()->count() - 1) + u')';
}

QString BatchRunner::page(int index) {
    QTabWidget* tabs = m_window.SSTab1();
    if (index >= tabs->count())
        return pageError(index);
    return startThroughGate(tabs->tabText(index), [tabs, index] {
        tabs->setCurrentIndex(index);
        return QString();
    });
}

} // namespace qormin::app
