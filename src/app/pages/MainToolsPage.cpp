#include "app/pages/MainToolsPage.h"

#include "app/MainWindowContext.h"
#include "controls/FileListBox.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

namespace qormin::app {

namespace {

QGroupBox* sideBox(const QString& title, QVBoxLayout* buttons, controls::FileListBox* files,
                   QWidget* parent) {
    auto* box = new QGroupBox(title, parent);
    auto* column = new QVBoxLayout;
    column->addLayout(buttons);
    column->addStretch(1);
    auto* layout = new QHBoxLayout(box);
    layout->addLayout(column);
    auto* listColumn = new QVBoxLayout;
    listColumn->addWidget(new QLabel(QObject::tr("Backup folder files"), box));
    listColumn->addWidget(files, 1);
    layout->addLayout(listColumn, 1);
    return box;
}

} // namespace

MainToolsPage::MainToolsPage(MainWindowContext& context, QWidget* parent)
    : QWidget(parent), m_sideButtons{new QVBoxLayout, new QVBoxLayout}, m_toolArea(new QVBoxLayout) {
    for (QVBoxLayout* buttons : m_sideButtons)
        buttons->setSpacing(3);

    auto* shared = new QGroupBox(tr("Shared"), this);
    auto* sharedLayout = new QVBoxLayout(shared);
    auto* folders = new QFormLayout;
    folders->addRow(tr("backup drive / path:"), context.txtBackupDrive());
    folders->addRow(tr("Shared backup folder:"), context.txtPath(2));
    sharedLayout->addLayout(folders);
    sharedLayout->addLayout(m_toolArea);
    sharedLayout->addStretch(1);

    auto* layout = new QHBoxLayout(this);
    layout->addWidget(sideBox(tr("Left server (0)"), m_sideButtons[0], context.FileA(), this), 3);
    layout->addWidget(shared, 2);
    layout->addWidget(sideBox(tr("Right server (1)"), m_sideButtons[1], context.FileB(), this), 3);
}

QBoxLayout* MainToolsPage::sideButtons(int side) {
    return m_sideButtons[side == 0 ? 0 : 1];
}

QBoxLayout* MainToolsPage::toolArea() const {
    return m_toolArea;
}

} // namespace qormin::app
