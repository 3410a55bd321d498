#include "sqltools/SpeedTestPage.h"

#include "db/EventLoopYield.h"
#include "db/NameGuard.h"
#include "db/SecretMask.h"
#include "db/ServerAccess.h"
#include "platform/BuiltInSecrets.h"
#include "sqltools/SpeedTest.h"
#include "sqltools/SpeedTestStatements.h"
#include "window/MainWindowContext.h"

#include <QBoxLayout>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <array>

namespace qormin::sqltools {

namespace {

struct TestButton {
    const char* caption;
    const char* stepName; // in the failure line
};

const std::array<TestButton, SpeedTest::StepCount> testButtons = {{
    {"Create Table", "Create Table"},
    {"Test ADD   <3s", "Test ADD"},
    {"Test Delete", "Test Delete"},
    {"Test Read  <2s", "Test Read"},
}};

} // namespace

SpeedTestPage::SpeedTestPage(window::MainWindowContext& context, QWidget* parent)
    : QWidget(parent), m_context(context), m_txtTESTConnection(new QLineEdit(this)),
      m_lblTime(new QLabel(this)) {
    m_txtTESTConnection->setObjectName(QStringLiteral("txtTESTConnection"));
    m_lblTime->setObjectName(QStringLiteral("lblTime"));
    QLineEdit* leftServer = context.txtServer(0);
    m_txtTESTConnection->setText(shownConnection(leftServer->text()));
    // The default follows the left server's address (restored after the pages are built) until
    // the user types a connection of their own.
    connect(leftServer, &QLineEdit::textChanged, this, [this](const QString& server) {
        if (!m_connectionEdited) {
            m_txtTESTConnection->setText(shownConnection(server));
        }
    });
    connect(m_txtTESTConnection, &QLineEdit::textEdited, this, [this] { m_connectionEdited = true; });

    auto* fields = new QFormLayout;
    fields->addRow(QStringLiteral("Test connection"), m_txtTESTConnection);
    auto* buttons = new QHBoxLayout;
    for (int index = 0; index < SpeedTest::StepCount; ++index) {
        auto* button = new QPushButton(QString::fromLatin1(testButtons[size_t(index)].caption), this);
        button->setObjectName(QStringLiteral("cmdTest(%1)").arg(index));
        connect(button, &QPushButton::clicked, this, [this, index] { cmdTest_Click(index); });
        buttons->addWidget(button);
    }
    auto* testCopy = new QPushButton(QStringLiteral("Test copy"), this);
    testCopy->setObjectName(QStringLiteral("cmdTestCopy"));
    connect(testCopy, &QPushButton::clicked, this, &SpeedTestPage::cmdTestCopy_Click);
    buttons->addWidget(testCopy);
    buttons->addStretch();
    auto* time = new QHBoxLayout;
    time->addWidget(new QLabel(QStringLiteral("Seconds:"), this));
    time->addWidget(m_lblTime);
    time->addStretch();

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(fields);
    layout->addLayout(buttons);
    layout->addLayout(time);
    layout->addStretch();
}

SpeedTestPage* SpeedTestPage::install(window::MainWindowContext& context) {
    auto* page = new SpeedTestPage(context, context.page(pageIndex));
    context.pageToolArea(pageIndex)->addWidget(page);
    return page;
}

void SpeedTestPage::cmdTest_Click(int index) {
    if (index < 0 || index >= SpeedTest::StepCount) {
        return;
    }
    db::ServerAccess& access = m_context.serverAccess();
    m_lblTime->clear();
    db::EventLoopYield::processEvents();
    access.StartTiming();
    const QString database = m_context.txtDB()->text();
    if (!db::NameGuard::admit(access, db::NameGuard::Position::Unbracketed, {database})) {
        return;
    }
    // The test's connection goes with the handler, after the time is shown, as it always did.
    SpeedTest test(access);
    const QString password =
        platform::builtInSecret(m_context.settings(), platform::BuiltInSecret::SpeedTestLogin);
    const SpeedTestOutcome outcome =
        test.run(index, SpeedTestStatements::withPassword(m_txtTESTConnection->text(), password), database);
    m_lblTime->setText(QString::number(access.ElapsedSeconds(), 'g', 7));
    reportFailures(index, outcome);
}

void SpeedTestPage::cmdTestCopy_Click() {}

// The password stays in the settings; the box shows its mask, filled in as a test runs.
QString SpeedTestPage::shownConnection(const QString& server) {
    return SpeedTestStatements::defaultConnection(server, QString::fromLatin1(db::secretMaskText));
}

void SpeedTestPage::reportFailures(int index, const SpeedTestOutcome& outcome) {
    const QString step = QString::fromLatin1(testButtons[size_t(index)].stepName);
    db::ServerAccess& access = m_context.serverAccess();
    if (!outcome.connected) {
        access.LogMessage(step + QStringLiteral(": the test connection failed: ") + outcome.connectError);
    } else if (outcome.failed > 0) {
        access.LogMessage(QStringLiteral("%1: %2 of %3 statements failed: %4")
                              .arg(step)
                              .arg(outcome.failed)
                              .arg(outcome.statements)
                              .arg(outcome.firstError));
    }
}

} // namespace qormin::sqltools
