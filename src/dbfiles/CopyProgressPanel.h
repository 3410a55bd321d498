#pragma once

#include <QWidget>

class QLabel;
class QProgressBar;
class QPushButton;

namespace qormin::dbfiles {

class FileCopyRunner;

// The file copy under way: its name, bytes and percentage, and the button that cancels it.
class CopyProgressPanel : public QWidget {
    Q_OBJECT
public:
    CopyProgressPanel(FileCopyRunner& runner, QWidget* parent = nullptr);

    QPushButton* cmdCancelCopy() const { return m_cancel; }
    static QString progressText(const QString& file, qint64 copied, qint64 total);

private:
    QLabel* m_label;
    QProgressBar* m_bar;
    QPushButton* m_cancel;
    QString m_file;
};

} // namespace qormin::dbfiles
