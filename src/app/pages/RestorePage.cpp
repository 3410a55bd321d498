#include "app/pages/RestorePage.h"

#include "controls/FileListBox.h"
#include "window/MainWindowContext.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

namespace qormin::app {

RestorePage::RestorePage(window::MainWindowContext& context, QWidget* parent)
    : QWidget(parent), m_toolArea(new QVBoxLayout) {
    auto* drives = new QGroupBox(tr("Restore Drive"), this);
    drives->setObjectName(QStringLiteral("fraRestoreDrive"));
    auto* grid = new QGridLayout(drives);
    grid->addWidget(new QLabel(tr("Left (0)"), drives), 0, 1);
    grid->addWidget(new QLabel(tr("Right (1)"), drives), 0, 2);
    const QString labels[] = {tr("Financial DB drive:"), tr("Clinical DB drive:"), tr("Other DB drive:")};
    for (int kind = 0; kind < 3; ++kind) {
        grid->addWidget(new QLabel(labels[kind], drives), kind + 1, 0);
        for (int side = 0; side < window::MainWindowContext::sideCount; ++side) {
            QLineEdit* drive = context.txtRestoreTO(kind + 3 * side);
            drive->setMaximumWidth(48);
            grid->addWidget(drive, kind + 1, side + 1);
        }
    }
    grid->addWidget(new QLabel(tr("files are restored in \\db\\ subfolder"), drives), 4, 0, 1, 3);

    auto* left = new QVBoxLayout;
    left->addWidget(drives);
    left->addLayout(m_toolArea);
    left->addStretch(1);

    auto* files = new QVBoxLayout;
    files->addWidget(new QLabel(tr("Backup files of the shared folder"), this));
    files->addWidget(context.File1(), 1);

    auto* layout = new QHBoxLayout(this);
    layout->addLayout(left, 3);
    layout->addLayout(files, 2);
}

QBoxLayout* RestorePage::toolArea() const {
    return m_toolArea;
}

} // namespace qormin::app
