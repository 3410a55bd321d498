#include "transfer/frmMigrateData.h"

#include "controls/FlexGrid.h"
#include "db/EventLoopYield.h"
#include "db/NameGuard.h"
#include "db/RecordReader.h"
#include "db/RecordWriter.h"
#include "db/ServerAccess.h"
#include "db/SideConnection.h"
#include "db/ValueFit.h"
#include "platform/MessageBoxService.h"
#include "transfer/MigrateFileLine.h"
#include "transfer/MigrateStatements.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace qormin::transfer {

namespace {

constexpr int destinationSide = 0;
constexpr int sourceSide = 1;
constexpr int shownLineLength = 200;

namespace Statements = MigrateStatements;
using Kind = MigrateFileLine::Kind;

// A refused line is named with its number and as much of its text as a log line can carry.
QString shownLine(const QString& text) {
    QString shown = text.left(shownLineLength);
    for (QChar& character : shown) {
        if (character.unicode() < 0x20) {
            character = QChar(0xfffd);
        }
    }
    return text.size() > shownLineLength ? shown + QStringLiteral("...") : shown;
}

QString withoutLineEnd(QByteArray bytes) {
    while (bytes.endsWith('\n') || bytes.endsWith('\r')) {
        bytes.chop(1);
    }
    return QString::fromUtf8(bytes);
}

int columnNamed(const db::RecordWriter& writer, const QString& name) {
    const auto& columns = writer.columns();
    for (size_t index = 0; index < columns.size(); ++index) {
        if (columns[index].name.compare(name, Qt::CaseInsensitive) == 0) {
            return static_cast<int>(index);
        }
    }
    return -1;
}

} // namespace

struct frmMigrateData::Mapping {
    QString destination;
    QString source;
    QString remainder;
};

frmMigrateData::frmMigrateData(db::ServerAccess& access, platform::MessageBoxService& messageBoxes,
                               QString dataDirectory, QWidget* parent)
    : QWidget(parent), m_access(access), m_messageBoxes(messageBoxes),
      m_dataDirectory(std::move(dataDirectory)), m_simulate(new QCheckBox(QStringLiteral("Simulate"), this)),
      m_top20(new QCheckBox(QStringLiteral("20 Records"), this)), m_moveTo(new QLineEdit(this)),
      m_tableSource(new QLineEdit(this)), m_tableDest(new QLineEdit(this)),
      m_grid1(new controls::FlexGrid(this)), m_grid2(new controls::FlexGrid(this)),
      m_migrate(new QPlainTextEdit(this)), m_log(new QPlainTextEdit(this)), m_recCount(new QLabel(this)),
      m_status(new QLabel(QStringLiteral("Status"), this)), m_current(new QLabel(this)) {
    setWindowTitle(QStringLiteral("Migrate Data"));
    buildLayout();
    emptyGrids();
}

frmMigrateData::~frmMigrateData() = default;

QString frmMigrateData::fileName() {
    return QStringLiteral("migrate.txt");
}

void frmMigrateData::buildLayout() {
    const std::pair<QWidget*, const char*> names[] = {{m_simulate, "chkSimulate"},
                                                      {m_top20, "chkTop20"},
                                                      {m_moveTo, "txtMoveTo"},
                                                      {m_tableSource, "txtTableSource"},
                                                      {m_tableDest, "txtTableDest"},
                                                      {m_grid1, "Grid1"},
                                                      {m_grid2, "Grid2"},
                                                      {m_migrate, "txtMigrate"},
                                                      {m_log, "txtLog"},
                                                      {m_recCount, "lblRecCount"},
                                                      {m_status, "lblStatus"},
                                                      {m_current, "lblCurrent"}};
    for (const auto& [widget, name] : names) {
        widget->setObjectName(QString::fromLatin1(name));
    }
    m_migrate->setReadOnly(true);
    m_log->setReadOnly(true);

    auto* buttons = new QHBoxLayout;
    const std::pair<const char*, void (frmMigrateData::*)()> commands[] = {
        {"cmdStart", &frmMigrateData::cmdStart_Click},
        {"cmdStop", &frmMigrateData::cmdStop_Click},
        {"cmdSkipTable", &frmMigrateData::cmdSkipTable_Click}};
    const char* captions[] = {"Start", "Stop", "SkipTable"};
    for (int index = 0; index < 3; ++index) {
        auto* button = new QPushButton(QString::fromLatin1(captions[index]), this);
        button->setObjectName(QString::fromLatin1(commands[index].first));
        connect(button, &QPushButton::clicked, this, commands[index].second);
        buttons->addWidget(button);
    }
    buttons->addWidget(m_simulate);
    buttons->addWidget(m_top20);
    buttons->addWidget(new QLabel(QStringLiteral("Move Rec Pos to:"), this));
    buttons->addWidget(m_moveTo);
    buttons->addStretch();

    auto* tables = new QGridLayout;
    tables->addWidget(new QLabel(QStringLiteral("Source (right)"), this), 0, 0);
    tables->addWidget(m_tableSource, 0, 1);
    tables->addWidget(new QLabel(QStringLiteral("Dest (left)"), this), 1, 0);
    tables->addWidget(m_tableDest, 1, 1);
    tables->addWidget(m_recCount, 0, 2);
    tables->addWidget(m_status, 1, 2);
    tables->addWidget(m_current, 2, 0, 1, 3);

    auto* grids = new QHBoxLayout;
    grids->addWidget(m_grid1, 1);
    grids->addWidget(m_grid2, 2);
    grids->addWidget(m_migrate, 2);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(buttons);
    layout->addLayout(tables);
    layout->addLayout(grids, 3);
    layout->addWidget(m_log, 2);
    resize(900, 600);
}

void frmMigrateData::cmdStop_Click() {
    m_stop = true;
}

void frmMigrateData::cmdSkipTable_Click() {
    m_skipTable = true;
}

void frmMigrateData::cmdStart_Click() {
    m_stop = false;
    m_moveToPending = true;
    const QString path = QDir(m_dataDirectory).filePath(fileName());
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        const QString message = QStringLiteral("Cannot read ") + QDir::toNativeSeparators(path) +
                                QStringLiteral(": ") + file.errorString();
        log(message);
        m_messageBoxes.MsgBox(message);
        return;
    }
    qint64 lineNumber = 0;
    while (!m_stop && !file.atEnd()) {
        const QString text = withoutLineEnd(file.readLine());
        m_migrate->moveCursor(QTextCursor::End);
        m_migrate->insertPlainText(text + QStringLiteral("\r\n"));
        actOn(text, ++lineNumber);
        db::yieldToEventLoop();
    }
    if (file.error() != QFileDevice::NoError) {
        log(QStringLiteral("Reading ") + fileName() + QStringLiteral(" failed: ") + file.errorString());
    }
    show(Statements::done);
}

void frmMigrateData::actOn(const QString& text, qint64 lineNumber) {
    const MigrateFileLine line = MigrateFileLine::read(text);
    switch (line.kind) {
    case Kind::Blank:
    case Kind::Comment:
        return;
    case Kind::Refused:
        log(QStringLiteral("Line ") + QString::number(lineNumber) + QStringLiteral(" ignored (") +
            line.reason + QStringLiteral("): ") + shownLine(text));
        return;
    case Kind::Header:
        m_tableDest->setText(line.destination);
        m_tableSource->setText(line.source);
        m_destinationFields = 0;
        return;
    case Kind::Mapping:
        if (!Statements::remainderUnderstood(line.remainder)) {
            log(QStringLiteral("Line ") + QString::number(lineNumber) +
                QStringLiteral(" remainder ignored (not a length): ") + shownLine(line.remainder));
        }
        addMapping(line.destination, line.firstWord, line.remainder);
        return;
    case Kind::End:
        m_skipTable = false;
        runBlock();
        emptyGrids();
        return;
    }
}

void frmMigrateData::addMapping(const QString& destination, const QString& firstWord,
                                const QString& remainder) {
    // Cells are set one by one: a tab inside the line must not make a third column.
    const int row = m_grid1->Rows();
    m_grid1->setRows(row + 1);
    m_grid2->setRows(row + 1);
    m_grid1->setTextMatrix(row, 0, destination);
    m_grid2->setTextMatrix(row, 0, firstWord);
    m_grid2->setTextMatrix(row, 1, remainder);
    m_destinationFields += destination.isEmpty() ? 0 : 1;
}

// Row 0 is the header row, so the mappings are rows 1, 2, ... as in the classic grid.
void frmMigrateData::emptyGrids() {
    m_grid1->setCols(1);
    m_grid1->setRows(1);
    m_grid1->setTextMatrix(0, 0, QStringLiteral("Dest field"));
    m_grid2->setCols(2);
    m_grid2->setRows(1);
    m_grid2->setTextMatrix(0, 0, QStringLiteral("Source"));
    m_grid2->setTextMatrix(0, 1, QStringLiteral("Rest"));
}

void frmMigrateData::runBlock() {
    if (m_destinationFields == 0) {
        log(Statements::noDestinationFields);
        if (m_simulate->isChecked()) {
            show(Statements::simulateNoDestinationFields);
            log(Statements::simulateNoDestinationFields);
        }
        return;
    }
    if (m_simulate->isChecked()) {
        // Logged too, so each simulated block is still seen after "Done." replaces the status.
        show(Statements::simulateCopying);
        log(Statements::simulateCopying + QStringLiteral(": ") + m_tableSource->text() +
            QStringLiteral(" -> ") + m_tableDest->text());
        return;
    }
    copyBlock();
}

// Mappings 1 .. the count of destination fields, in grid order: a mapping without a
// destination field before the last one leaves the last one out, as the count always did.
QList<frmMigrateData::Mapping> frmMigrateData::blockMappings() const {
    QList<Mapping> mappings;
    for (int row = 1; row <= m_destinationFields && row < m_grid1->Rows(); ++row) {
        mappings.append(
            {m_grid1->TextMatrix(row, 0), m_grid2->TextMatrix(row, 0), m_grid2->TextMatrix(row, 1)});
    }
    return mappings;
}

bool frmMigrateData::admitBlockNames(const QList<Mapping>& mappings) {
    using Position = db::NameGuard::Position;
    if (!db::NameGuard::admit(m_access, Position::Unbracketed,
                              {m_tableSource->text(), m_tableDest->text()})) {
        return false;
    }
    // Only the key look-up pastes a field name bare; the inserts bracket theirs.
    for (const Mapping& mapping : mappings) {
        const Position position = &mapping == &mappings.front() ? Position::Unbracketed : Position::Bracketed;
        if (!db::NameGuard::admit(m_access, position, {mapping.destination})) {
            return false;
        }
    }
    return true;
}

void frmMigrateData::copyBlock() {
    const QList<Mapping> mappings = blockMappings();
    if (mappings.isEmpty() || !admitBlockNames(mappings)) {
        return;
    }
    if (!m_access.IsConnected(destinationSide) || !m_access.IsConnected(sourceSide)) {
        log(QStringLiteral("Connect both servers in the main window first."));
        return;
    }
    const QString source = m_tableSource->text();
    showSourceCount(source);
    // Read where ServerConn(1) counted, in its current database: a second connection would
    // start in the login's default database and find another table or none.
    db::RecordReader reader(m_access.side(sourceSide),
                            m_top20->isChecked() ? Statements::firstRowsQuery(source) : source,
                            db::RecordReader::Mode::ReadOnlyOnSide);
    if (!reader.open()) {
        log(reader.error() + QLatin1Char(' ') + source);
        return;
    }
    const int keyColumn = reader.columnIndex(mappings.front().source);
    if (keyColumn < 0) {
        log(Statements::itemNotFound + QStringLiteral(" Key: ") + mappings.front().source);
        return;
    }
    db::RecordWriter writer(m_access.side(destinationSide), m_tableDest->text());
    if (!writer.open()) {
        log(writer.error() + QLatin1Char(' ') + m_tableDest->text());
        return;
    }
    copyRows(reader, writer, mappings, keyColumn);
    if (!reader.error().isEmpty()) {
        log(reader.error() + QLatin1Char(' ') + source);
    }
}

void frmMigrateData::showSourceCount(const QString& source) {
    const db::StatementOutcome counted =
        m_access.side(sourceSide)
            .execute(Statements::countQuery(source), db::ResultRetention::FirstResultSet);
    const bool hasValue =
        counted.succeeded && !counted.resultSets.empty() && !counted.resultSets.front().rows.empty();
    m_recCount->setText(hasValue ? Statements::valueText(counted.resultSets.front().rows.front().front())
                                 : QString());
    if (!counted.succeeded) {
        log(counted.errorDescription + QLatin1Char(' ') + Statements::countQuery(source));
    }
}

// txtMoveTo holds the source row to resume at: rows before it are walked and counted, not copied.
qint64 frmMigrateData::startRow() {
    if (!m_moveToPending) {
        return 1;
    }
    m_moveToPending = false;
    bool isNumber = false;
    const qint64 row = m_moveTo->text().trimmed().toLongLong(&isNumber);
    return isNumber && row > 1 ? row : 1;
}

void frmMigrateData::copyRows(db::RecordReader& reader, db::RecordWriter& writer,
                              const QList<Mapping>& mappings, int keyColumn) {
    const qint64 firstRow = startRow();
    qint64 rowNumber = 0;
    while (!m_stop && !m_skipTable && reader.next()) {
        m_status->setText(QString::number(++rowNumber));
        if (rowNumber >= firstRow && !copyRow(reader, writer, mappings, keyColumn)) {
            m_stop = true;
        }
        db::yieldToEventLoop();
    }
}

// False when the run ends: the operator answered No, or the link to the destination was lost
// (every row after it would fail the same way).
bool frmMigrateData::copyRow(db::RecordReader& reader, db::RecordWriter& writer,
                             const QList<Mapping>& mappings, int keyColumn) {
    const QString key = Statements::valueText(reader.value(keyColumn));
    if (!Statements::keyUsable(key)) {
        return true;
    }
    const QString lookup = Statements::keyLookup(m_tableDest->text(), mappings.front().destination, key);
    const db::StatementOutcome found =
        m_access.side(destinationSide).execute(lookup, db::ResultRetention::FirstResultSet);
    if (!found.succeeded) {
        log(found.errorDescription + QLatin1Char(' ') + lookup);
        return m_access.IsConnected(destinationSide);
    }
    if (!found.resultSets.empty() && !found.resultSets.front().rows.empty()) {
        show(Statements::alreadyExistsLine(key));
        return true;
    }
    return insertRow(reader, writer, mappings, key);
}

bool frmMigrateData::insertRow(const db::RecordReader& reader, db::RecordWriter& writer,
                               const QList<Mapping>& mappings, const QString& key) {
    QStringList names;
    std::vector<QVariant> values;
    for (const Mapping& mapping : mappings) {
        QVariant value;
        QString error;
        if (Statements::isConstant(mapping.source)) {
            value = Statements::constantOf(mapping.source);
        } else if (const int column = reader.columnIndex(mapping.source); column >= 0) {
            value = reader.value(column);
        } else {
            error = Statements::itemNotFound;
        }
        value = Statements::applyRemainder(value, mapping.remainder);
        // NULL and empty values are not stored: the column keeps its default.
        if (error.isEmpty() && !Statements::valueText(value).isEmpty()) {
            const int target = columnNamed(writer, mapping.destination);
            if (target < 0) {
                error = Statements::itemNotFound;
            } else if (const QString change =
                           db::valueChangeIn(value, writer.columns()[static_cast<size_t>(target)]);
                       !change.isEmpty()) {
                error = Statements::doesNotFit;
                // Counted whatever the operator answers: the field is not stored as it was.
                m_access.reportLoss(db::RecordWriter::lossLine(
                    QStringLiteral("Not written"), m_tableDest->text(), QStringLiteral("key ") + key,
                    mapping.destination, QStringLiteral("the value ") + change));
            } else {
                names.append(mapping.destination);
                values.push_back(value);
            }
        }
        if (!error.isEmpty() && !askContinue(error, mapping, Statements::valueText(value))) {
            return false;
        }
    }
    return saveRow(writer, mappings, names, values, key);
}

// The server's refusal is a failing field too: the one it names, else the row's key field.
bool frmMigrateData::saveRow(db::RecordWriter& writer, const QList<Mapping>& mappings,
                             const QStringList& names, const std::vector<QVariant>& values,
                             const QString& key) {
    const db::RowWrite written = writer.addRowByName(names, values);
    if (written.added) {
        show(Statements::addedLine(key));
    }
    if (written.errors == 0) {
        return true;
    }
    // A lost link is not a field the operator could skip: no question, the run ends.
    if (!m_access.IsConnected(destinationSide)) {
        log(written.lastError + QLatin1Char(' ') + m_tableDest->text());
        return false;
    }
    const QString refused = db::RecordWriter::refusedColumn(written.lastError);
    const Mapping* failing = &mappings.front();
    for (const Mapping& mapping : mappings) {
        if (!refused.isEmpty() && mapping.destination.compare(refused, Qt::CaseInsensitive) == 0) {
            failing = &mapping;
        }
    }
    const qsizetype given = names.indexOf(failing->destination);
    const QString value = given >= 0 ? Statements::valueText(values[static_cast<size_t>(given)]) : QString();
    return askContinue(written.lastError, *failing, value);
}

bool frmMigrateData::askContinue(const QString& error, const Mapping& mapping, const QString& value) {
    const QString question = Statements::continueQuestion(error, mapping.source, mapping.destination, value);
    log(question);
    return m_messageBoxes.MsgBox(question, platform::MessageBoxButtons::YesNo, windowTitle()) ==
           platform::MessageBoxAnswer::Yes;
}

void frmMigrateData::show(const QString& status) {
    m_current->setText(status);
}

void frmMigrateData::log(const QString& text) {
    m_log->appendPlainText(text);
    db::yieldToEventLoop();
}

} // namespace qormin::transfer
