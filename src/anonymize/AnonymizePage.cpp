#include "anonymize/AnonymizePage.h"

#include "controls/FlexGrid.h"
#include "window/MainWindowContext.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>

namespace qormin::anonymize {

namespace {

template <typename Widget> Widget* named(Widget* widget, const char* name) {
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}

} // namespace

AnonymizePage::AnonymizePage(window::MainWindowContext& context, ListSource lists, QWidget* parent)
    : QWidget(parent), m_lists(std::move(lists)),
      m_cmdAnonymize(named(new QPushButton(tr("Fast Anonymize Right DB ->"), this), "cmdAnonymize")),
      m_cmdAnonymizeComplete(
          named(new QPushButton(tr("Anonymize Right DB ->"), this), "cmdAnonymizeComplete")),
      m_txtSecret(named(new QLineEdit(this), "txtSecret")),
      m_chkTestRun(named(new QCheckBox(tr("Test Run"), this), "chkTestRun")),
      m_lblRecNo(named(new QLabel(QStringLiteral("0"), this), "lblRecNo")),
      m_lblRecCount(named(new QLabel(QStringLiteral("0"), this), "lblRecCount")),
      m_GridA(named(new controls::FlexGrid(this), "GridA")),
      m_lstLast(named(new QListWidget(this), "lstLast")),
      m_lstFirst(named(new QListWidget(this), "lstFirst")) {
    m_cmdAnonymize->setToolTip(tr("Random given names for the columns after the first of each line"));
    m_cmdAnonymizeComplete->setToolTip(
        tr("Every listed column, the same fake name for the same real name under the secret"));
    m_txtSecret->setEchoMode(QLineEdit::Password);
    m_txtSecret->setPlaceholderText(tr("secret for this run (not stored)"));

    auto* progress = new QFormLayout;
    progress->addRow(tr("Secret"), m_txtSecret);
    progress->addRow(tr("Record"), m_lblRecNo);
    progress->addRow(tr("of"), m_lblRecCount);
    auto* buttons = new QVBoxLayout;
    buttons->addWidget(m_cmdAnonymize);
    buttons->addWidget(m_cmdAnonymizeComplete);
    buttons->addWidget(m_chkTestRun);
    buttons->addLayout(progress);
    buttons->addStretch(1);
    auto* nameLists = new QHBoxLayout;
    nameLists->addWidget(m_lstLast);
    nameLists->addWidget(m_lstFirst);
    auto* work = new QVBoxLayout;
    work->addWidget(m_GridA, 3);
    work->addLayout(nameLists, 1);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(buttons);
    layout->addLayout(work, 1);

    m_run = std::make_unique<AnonymizeRun>(AnonymizeControls{
        context.serverAccess(), context.messageBoxes(), *m_GridA, *m_lstLast, *m_lstFirst, *m_lblRecNo,
        *m_lblRecCount, *m_chkTestRun, [&context] { return context.stopRequested(); }});
    connect(m_cmdAnonymize, &QPushButton::clicked, this, &AnonymizePage::cmdAnonymize_Click);
    connect(m_cmdAnonymizeComplete, &QPushButton::clicked, this, &AnonymizePage::cmdAnonymizeComplete_Click);
}

AnonymizePage::~AnonymizePage() = default;

AnonymizePage* AnonymizePage::install(window::MainWindowContext& context, ListSource lists) {
    auto* page = new AnonymizePage(context, std::move(lists), context.page(pageIndex));
    page->setObjectName(QStringLiteral("AnonymizePage"));
    context.pageToolArea(pageIndex)->addWidget(page);
    return page;
}

void AnonymizePage::cmdAnonymize_Click() {
    m_run->runFast(m_lists());
}

void AnonymizePage::cmdAnonymizeComplete_Click() {
    m_run->runComplete(m_lists(), m_txtSecret->text());
}

} // namespace qormin::anonymize
