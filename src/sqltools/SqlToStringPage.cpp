#include "sqltools/SqlToStringPage.h"

#include "sqltools/CrLfText.h"
#include "sqltools/SqlToCodeConverter.h"
#include "window/MainWindowContext.h"

#include <QBoxLayout>
#include <QGridLayout>
#include <QPlainTextEdit>
#include <QPushButton>

namespace qormin::sqltools {

namespace {

QPlainTextEdit* textBox(const QString& name, QWidget* parent) {
    auto* box = new QPlainTextEdit(parent);
    box->setObjectName(name);
    box->setLineWrapMode(QPlainTextEdit::NoWrap);
    return box;
}

} // namespace

SqlToStringPage::SqlToStringPage(QWidget* parent)
    : QWidget(parent), m_txtSRC(textBox(QStringLiteral("txtSRC"), this)),
      m_txtDest(textBox(QStringLiteral("txtDest"), this)),
      m_txtCompare{textBox(QStringLiteral("txtCompare(0)"), this),
                   textBox(QStringLiteral("txtCompare(1)"), this)},
      m_cmdCompare(new QPushButton(QStringLiteral("Compare"), this)) {
    auto* makeVB = new QPushButton(QStringLiteral("SQL -> VB"), this);
    makeVB->setObjectName(QStringLiteral("cmdMakeVB"));
    auto* clearSQL = new QPushButton(QStringLiteral("VB -> SQL"), this);
    clearSQL->setObjectName(QStringLiteral("cmdClearSQL"));
    m_cmdCompare->setObjectName(QStringLiteral("cmdCompare"));
    connect(makeVB, &QPushButton::clicked, this, &SqlToStringPage::cmdMakeVB_Click);
    connect(clearSQL, &QPushButton::clicked, this, &SqlToStringPage::cmdClearSQL_Click);
    for (int index = 0; index < 2; ++index) {
        connect(m_txtCompare[index], &QPlainTextEdit::textChanged, this,
                [this, index] { txtCompare_Change(index); });
    }

    auto* layout = new QGridLayout(this);
    layout->addWidget(m_txtSRC, 0, 0);
    layout->addWidget(m_txtDest, 0, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(makeVB);
    buttons->addWidget(clearSQL);
    buttons->addStretch();
    layout->addLayout(buttons, 1, 0, 1, 2);
    layout->addWidget(m_txtCompare[0], 2, 0);
    layout->addWidget(m_txtCompare[1], 2, 1);
    layout->addWidget(m_cmdCompare, 3, 0, 1, 2, Qt::AlignLeft);
    layout->setRowStretch(0, 3);
    layout->setRowStretch(2, 1);
}

SqlToStringPage* SqlToStringPage::install(window::MainWindowContext& context) {
    auto* page = new SqlToStringPage(context.page(pageIndex));
    context.pageToolArea(pageIndex)->addWidget(page);
    return page;
}

void SqlToStringPage::cmdMakeVB_Click() {
    CrLfText::setText(*m_txtDest, SqlToCodeConverter::makeCode(CrLfText::text(*m_txtSRC)));
}

void SqlToStringPage::cmdClearSQL_Click() {
    CrLfText::setText(*m_txtSRC, SqlToCodeConverter::clearCode(CrLfText::text(*m_txtDest)));
}

void SqlToStringPage::txtCompare_Change(int /*index*/) {
    const bool same =
        SqlToCodeConverter::sameText(m_txtCompare[0]->toPlainText(), m_txtCompare[1]->toPlainText());
    const QColor colour = same ? QColor(0, 255, 0) : QColor(255, 0, 0);
    QPalette palette = m_cmdCompare->palette();
    palette.setColor(QPalette::Button, colour);
    m_cmdCompare->setPalette(palette);
    // Styles paint push buttons their own way; only a style sheet reliably shows the colour.
    m_cmdCompare->setStyleSheet(QStringLiteral("background-color: %1;").arg(colour.name()));
}

} // namespace qormin::sqltools
