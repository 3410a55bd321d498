#include "dbfiles/CopyProgressPanel.h"

#include "dbfiles/FileCopyRunner.h"

#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QProgressBar>
#include <QPushButton>

namespace qormin::dbfiles {

namespace {
constexpr int barSteps = 1000;
}

CopyProgressPanel::CopyProgressPanel(FileCopyRunner& runner, QWidget* parent)
    : QWidget(parent), m_label(new QLabel(tr("No copy running"), this)), m_bar(new QProgressBar(this)),
      m_cancel(new QPushButton(tr("Cancel copy"), this)) {
    m_label->setObjectName(QStringLiteral("lblCopyProgress"));
    m_bar->setObjectName(QStringLiteral("barCopy"));
    m_bar->setRange(0, barSteps);
    m_bar->setValue(0);
    m_bar->setTextVisible(false);
    m_cancel->setObjectName(QStringLiteral("cmdCancelCopy"));
    m_cancel->setEnabled(false);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_label, 2);
    layout->addWidget(m_bar, 1);
    layout->addWidget(m_cancel);

    connect(m_cancel, &QPushButton::clicked, &runner, &FileCopyRunner::cancel);
    connect(&runner, &FileCopyRunner::copyStarted, this, [this](const QString& source) {
        m_file = QFileInfo(source).fileName();
        m_bar->setValue(0);
        m_label->setText(progressText(m_file, 0, -1));
        m_cancel->setEnabled(true);
    });
    connect(&runner, &FileCopyRunner::progress, this, [this](qint64 copied, qint64 total) {
        m_label->setText(progressText(m_file, copied, total));
        if (total > 0)
            m_bar->setValue(static_cast<int>(copied * barSteps / total));
    });
    connect(&runner, &FileCopyRunner::copyEnded, this, [this] { m_cancel->setEnabled(false); });
}

QString CopyProgressPanel::progressText(const QString& file, qint64 copied, qint64 total) {
    const QLocale locale = QLocale::c();
    QString text = file + QStringLiteral(": ") + locale.formattedDataSize(copied, 1);
    if (total < 0)
        return text;
    text += QStringLiteral(" of ") + locale.formattedDataSize(total, 1);
    const qint64 percent = total == 0 ? 100 : copied * 100 / total;
    return text + QStringLiteral(" (") + QString::number(percent) + QStringLiteral(" %)");
}

} // namespace qormin::dbfiles
