#include "app/pages/RestoreDirPage.h"

#include "controls/FileListBox.h"
#include "window/MainWindowContext.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

namespace qormin::app {

RestoreDirPage::RestoreDirPage(window::MainWindowContext& context, QWidget* parent)
    : QWidget(parent), m_toolArea(new QVBoxLayout) {
    auto* source = new QGroupBox(tr("1. Specify source folder with .bak"), this);
    auto* sourceLayout = new QVBoxLayout(source);
    auto* folderRow = new QHBoxLayout;
    folderRow->addWidget(context.txtRestoreDir(), 1);
    folderRow->addWidget(new QLabel(tr("(end with \"\\\")"), source));
    sourceLayout->addLayout(folderRow);
    sourceLayout->addWidget(context.File2(), 1);

    auto* attach = new QGroupBox(tr("Data files to attach"), this);
    auto* attachLayout = new QVBoxLayout(attach);
    attachLayout->addWidget(context.fileAttach(), 1);

    auto* lists = new QHBoxLayout;
    lists->addWidget(source, 1);
    lists->addWidget(attach, 1);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(lists, 1);
    layout->addLayout(m_toolArea);
}

QBoxLayout* RestoreDirPage::toolArea() const {
    return m_toolArea;
}

} // namespace qormin::app
