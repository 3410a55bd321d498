#pragma once

#include <QString>
#include <QWidget>
#include <limits>

class QLineEdit;

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::tablecopy {

// "Copy records to database 1": copies the records whose idnum lies in the typed range from
// each table of the right server's database into the same-named table on the left, inserting
// only those the left table lacks (looked up one by one), matched by column name.
class CopyByIdTools : public QWidget {
    Q_OBJECT
public:
    // The two counters of a table are 16-bit; a range past that is an overflow.
    static constexpr qint16 counterLimit = std::numeric_limits<qint16>::max();

    explicit CopyByIdTools(window::MainWindowContext& context, QWidget* parent = nullptr);

    void cmdCopybyRecID_Click();

    QLineEdit* txtStartIDNum() const { return m_start; }
    QLineEdit* txtENDIDNum() const { return m_end; }

private:
    struct Range {
        QString start;
        QString end;
    };

    bool idTextsAdmitted(const Range& range);
    void copyDatabase(const Range& range);
    void copyTable(const QString& database, const QString& table, const Range& range);
    bool objectIdOnRight(const QString& table, QString& objectId);
    void copyMissingRecords(const QString& database, const QString& table, const Range& range);
    // Runs sql on a side as a record set; false, with the error box told, when it failed.
    bool open(int side, const QString& sql, bool reportFailure = false);
    bool openedRows() const;

    window::MainWindowContext& m_context;
    QLineEdit* m_start;
    QLineEdit* m_end;
};

} // namespace qormin::tablecopy
