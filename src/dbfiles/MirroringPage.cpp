#include "dbfiles/MirroringPage.h"

#include "dbfiles/MirroringStatements.h"
#include "dbfiles/MirroringTools.h"

#include <QFontDatabase>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

namespace qormin::dbfiles {

namespace {

QString indexed(const char* name, int index) {
    return QString::fromLatin1(name) + QLatin1Char('(') + QString::number(index) + QLatin1Char(')');
}

QPushButton* button(const char* name, int index, const QString& caption, QWidget* parent) {
    auto* created = new QPushButton(caption, parent);
    created->setObjectName(indexed(name, index));
    return created;
}

template <typename Handler> void onClick(QWidget* page, const char* name, int index, Handler handler) {
    auto* found = page->findChild<QPushButton*>(indexed(name, index));
    QObject::connect(found, &QPushButton::clicked, page, handler);
}

} // namespace

MirroringPage::MirroringPage(QWidget* parent) : QWidget(parent), m_SSTab2(new QTabWidget(this)) {
    setObjectName(QStringLiteral("MirroringPage"));
    m_SSTab2->setObjectName(QStringLiteral("SSTab2"));
    m_SSTab2->addTab(buildPartnerPage(), tr("Mirroring"));
    m_SSTab2->addTab(buildCreatePage(), tr("Create"));
    m_SSTab2->addTab(buildResetPage(), tr("Reset"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_SSTab2);
}

QWidget* MirroringPage::buildPartnerPage() {
    auto* page = new QWidget(m_SSTab2);
    auto* grid = new QGridLayout;
    const char* const captions[3][2] = {{"Set Partner ->", "<- Set Partner"},
                                        {"Make Online / fix", "Make Online (partner off)"},
                                        {"Mirror All from 1", "Mirror All from 2"}};
    const char* const names[3] = {"cmdSetPartner", "cmdMakeOnline", "cmdMirrorAll"};
    for (int row = 0; row < 3; ++row) {
        for (int side = 0; side < 2; ++side)
            grid->addWidget(button(names[row], side, tr(captions[row][side]), page), row, side);
    }
    auto* note = new QLabel(tr("Left server (svr1) = principal, right server (svr2) = mirror. "
                               "\"Mirror All\" backs up (from 1 only), copies x:\\MIR to y:\\MIR, "
                               "restores NORECOVERY on the right and sets the partners, for the current "
                               "database or, with ALL DBS, every database of the left grid."),
                            page);
    note->setWordWrap(true);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(note);
    layout->addLayout(grid);
    layout->addStretch(1);
    return page;
}

// In the order of use: svr1 writes SERVER1.cer, copy it to y:, svr2 writes SERVER2.cer and
// imports SERVER1.cer, copy SERVER2.cer to x:, svr1 imports it.
QWidget* MirroringPage::buildCreatePage() {
    auto* page = new QWidget(m_SSTab2);
    auto* layout = new QHBoxLayout(page);
    const char* const runCaptions[3] = {"RunScript svr1", "RunScript svr2", "RunScript svr1"};
    for (int frame = 1; frame <= 3; ++frame) {
        QWidget* box = scriptFrame(frame, tr("Create"));
        auto* buttons = new QHBoxLayout;
        buttons->addWidget(button("cmdRunScript", frame, tr(runCaptions[frame - 1]), box));
        buttons->addWidget(button("cmdCopyCert", frame - 1, tr("CopyCert"), box));
        qobject_cast<QVBoxLayout*>(box->layout())->addLayout(buttons);
        layout->addWidget(box, 1);
    }
    return page;
}

QWidget* MirroringPage::buildResetPage() {
    auto* page = new QWidget(m_SSTab2);
    auto* layout = new QHBoxLayout(page);
    QWidget* reset = scriptFrame(0, tr("Reset Mirroring"));
    qobject_cast<QVBoxLayout*>(reset->layout())
        ->addWidget(button("cmdRunScript", 0, tr("RunScript both servers"), reset));
    layout->addWidget(reset, 1);

    QWidget* restart = scriptFrame(4, tr("Restart Mirroring"));
    restart->setObjectName(QStringLiteral("fraRestart"));
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(button("cmdRunScript", 4, tr("Restart Mirroring"), restart));
    buttons->addWidget(button("cmdRestartEndpoint", 0, tr("Restart on svr1"), restart));
    buttons->addWidget(button("cmdRestartEndpoint", 1, tr("Restart on svr2"), restart));
    qobject_cast<QVBoxLayout*>(restart->layout())->addLayout(buttons);
    layout->addWidget(restart, 1);
    return page;
}

QWidget* MirroringPage::scriptFrame(int index, const QString& caption) {
    auto* frame = new QGroupBox(caption, this);
    if (index < 4)
        frame->setObjectName(indexed("fraScr", index));
    auto* text = new QPlainTextEdit(frame);
    text->setObjectName(indexed("txtScript1", index));
    text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    text->setLineWrapMode(QPlainTextEdit::NoWrap);
    // The passwords are filled in as the script runs (DatabaseFileTools), so none is on screen.
    QString shown = MirroringStatements::shownScript(index);
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text->setPlainText(shown);
    m_txtScript1.at(index) = text;
    auto* layout = new QVBoxLayout(frame);
    layout->addWidget(text, 1);
    return frame;
}

QString MirroringPage::scriptText(int index) const {
    QString text = m_txtScript1.at(index)->toPlainText();
    text.remove(QLatin1Char('\r'));
    text.replace(QLatin1Char('\n'), QStringLiteral("\r\n"));
    return text;
}

void MirroringPage::connectTools(MirroringTools& tools, std::function<bool()> mirrorAllConfirmed) {
    MirroringTools* handlers = &tools;
    for (int side = 0; side < 2; ++side) {
        onClick(this, "cmdSetPartner", side, [handlers, side] { handlers->cmdSetPartner_Click(side); });
        onClick(this, "cmdMakeOnline", side, [handlers, side] { handlers->cmdMakeOnline_Click(side); });
        onClick(this, "cmdMirrorAll", side, [handlers, side, mirrorAllConfirmed] {
            if (mirrorAllConfirmed())
                handlers->cmdMirrorAll_Click(side);
        });
        onClick(this, "cmdRestartEndpoint", side,
                [handlers, side] { handlers->cmdRestartEndpoint_Click(side); });
    }
    for (int index = 0; index < 3; ++index)
        onClick(this, "cmdCopyCert", index, [handlers, index] { handlers->cmdCopyCert_Click(index); });
    for (int index = 0; index < MirroringStatements::scriptCount; ++index)
        onClick(this, "cmdRunScript", index, [handlers, index] { handlers->cmdRunScript_Click(index); });
}

} // namespace qormin::dbfiles
