#include "app/pages/MainToolsPage.h"

#include "controls/FileListBox.h"
#include "window/MainWindowContext.h"

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

MainToolsPage::MainToolsPage(window::MainWindowContext& context, QWidget* parent)
    : QWidget(parent), m_sideButtons{new QVBoxLayout, new QVBoxLayout}, m_toolArea(new QVBoxLayout) {
    for (QVBoxLayout* buttons : m_sideButtons)
        buttons->setSpacing(3);

    auto* folders = new QHBoxLayout;
    folders->addWidget(new QLabel(tr("backup drive / path:"), this));
    folders->addWidget(context.txtBackupDrive(), 1);
    folders->addSpacing(12);
    folders->addWidget(new QLabel(tr("Shared backup folder:"), this));
    folders->addWidget(context.txtPath(2), 1);

    auto* columns = new QHBoxLayout;
    columns->addWidget(sideBox(tr("Left server (0)"), m_sideButtons[0], context.FileA(), this), 1);
    columns->addLayout(m_toolArea);
    columns->addWidget(sideBox(tr("Right server (1)"), m_sideButtons[1], context.FileB(), this), 1);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(folders);
    layout->addLayout(columns, 1);
}

QBoxLayout* MainToolsPage::sideButtons(int side) {
    return m_sideButtons[side == 0 ? 0 : 1];
}

QBoxLayout* MainToolsPage::toolArea() const {
    return m_toolArea;
}

} // namespace qormin::app
