#pragma once

#include "transfer/TransferFwd.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QWidget>
#include <vector>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;

namespace qormin::transfer {

// "Migrate Data": copies rows of right-server tables into left-server tables as migrate.txt
// prescribes, block by block, inserting only rows whose key is not yet in the destination.
class frmMigrateData : public QWidget {
    Q_OBJECT
public:
    frmMigrateData(db::ServerAccess& access, platform::MessageBoxService& messageBoxes, QString dataDirectory,
                   QWidget* parent = nullptr);
    ~frmMigrateData() override;

    void cmdStart_Click();
    void cmdStop_Click();
    void cmdSkipTable_Click();

    static QString fileName();

private:
    struct Mapping;

    void buildLayout();
    void actOn(const QString& text, qint64 lineNumber);
    void addMapping(const QString& destination, const QString& firstWord, const QString& remainder);
    void emptyGrids();
    void runBlock();
    void copyBlock();
    bool admitBlockNames(const QList<Mapping>& mappings);
    void showSourceCount(const QString& source);
    void copyRows(db::RecordReader& reader, db::RecordWriter& writer, const QList<Mapping>& mappings,
                  int keyColumn);
    bool copyRow(db::RecordReader& reader, db::RecordWriter& writer, const QList<Mapping>& mappings,
                 int keyColumn);
    bool insertRow(const db::RecordReader& reader, db::RecordWriter& writer, const QList<Mapping>& mappings,
                   const QString& key);
    bool saveRow(db::RecordWriter& writer, const QList<Mapping>& mappings, const QStringList& names,
                 const std::vector<QVariant>& values, const QString& key);
    bool askContinue(const QString& error, const Mapping& mapping, const QString& value);
    QList<Mapping> blockMappings() const;
    qint64 startRow();
    void show(const QString& status);
    void log(const QString& text);

    db::ServerAccess& m_access;
    platform::MessageBoxService& m_messageBoxes;
    QString m_dataDirectory;
    bool m_stop = false;
    bool m_skipTable = false;
    bool m_moveToPending = false; // txtMoveTo applies to the first block copied in a run
    int m_destinationFields = 0;

    QCheckBox* m_simulate;
    QCheckBox* m_top20;
    QLineEdit* m_moveTo;
    QLineEdit* m_tableSource;
    QLineEdit* m_tableDest;
    controls::FlexGrid* m_grid1;
    controls::FlexGrid* m_grid2;
    QPlainTextEdit* m_migrate;
    QPlainTextEdit* m_log;
    QLabel* m_recCount;
    QLabel* m_status;
    QLabel* m_current;
};

} // namespace qormin::transfer
