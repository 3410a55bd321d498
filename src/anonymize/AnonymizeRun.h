#pragma once

#include <QRandomGenerator>
#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

class QCheckBox;
class QLabel;
class QListWidget;

namespace qormin::db {
class RecordReader;
class ServerAccess;
} // namespace qormin::db

namespace qormin::platform {
class MessageBoxService;
}

namespace qormin::controls {
class FlexGrid;
}

namespace qormin::anonymize {

class NameMapping;

// The controls of the "Anonymize" page a run reads and writes.
struct AnonymizeControls {
    db::ServerAccess& access;
    platform::MessageBoxService& messageBoxes;
    controls::FlexGrid& GridA;
    QListWidget& lstLast;
    QListWidget& lstFirst;
    QLabel& lblRecNo;
    QLabel& lblRecCount;
    QCheckBox& chkTestRun;
    std::function<bool()> stopRequested; // chkStop
};

// What a run starts from: the table list and the two name lists as the boxes hold them (CR LF).
struct AnonymizeLists {
    QString tables;
    QString lastNames;
    QString firstNames;
};

// Overwrites person names on the right server (side 1) in place, record by record, through the
// positioned cursor of the record-loop facility.
//
// The fast run draws a random name per field and leaves the first listed column of every line
// unchanged, as the tool always has. The complete run replaces every listed column with a name
// picked by a keyed hash of the original (NameMapping), and closes each table with a report and
// a check that no sampled original value is left.
class AnonymizeRun {
public:
    explicit AnonymizeRun(AnonymizeControls controls);

    // Tests fix the fast run's draws; otherwise they are seeded from the clock once per run.
    void setSeed(quint32 seed) { m_seed = seed; }

    void runFast(const AnonymizeLists& lists);
    // secret: typed by the operator for this run only; never stored.
    void runComplete(const AnonymizeLists& lists, const QString& secret);

private:
    struct TableTotals;

    bool confirmAndFill(const AnonymizeLists& lists);
    void fillList(QListWidget& list, const QString& text);
    void fillGrid(const QString& tables);
    QStringList listEntries(const QListWidget& list) const;
    QStringList rowColumns(int row, int firstColumn) const;
    bool admitLine(const QString& table, const QStringList& columns);
    bool openTable(db::RecordReader& reader, const QString& table);
    void showRecordCount(const QString& table);
    void showRecordNumber(qint32 number);
    void fastTable(int row, const QStringList& firstNames);
    void completeTable(int row, const NameMapping& mapping, const QSet<QString>& listNames);
    void updateFieldByField(db::RecordReader& reader, const QString& table, const QStringList& names,
                            const std::vector<QVariant>& values, TableTotals& totals);
    void checkRemaining(const QString& table, const QStringList& columns, const QStringList& samples);
    void finish();

    AnonymizeControls m_controls;
    std::optional<quint32> m_seed;
    qint64 m_recordsNotReplaced = 0;
    QRandomGenerator m_random;
};

} // namespace qormin::anonymize
