#include "QStringPrinter.h"

#include "RowName.h"
#include "platform/SecretStore.h"
#include "platform/SettingsStore.h"

#include <QSettings>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <map>

namespace {

using qormin::test::PrintTo;

using qormin::platform::SecretStore;
using qormin::platform::SettingsStore;
using Values = std::map<QString, QString>;

// A credential store in memory; the test keeps the state after the settings store took it.
struct SecretState {
    Values values;
    bool reachable = true;
    bool refuseLaterWrites = false;
    bool flushAnswers = true;
};

class MemorySecretStore : public SecretStore {
public:
    explicit MemorySecretStore(std::shared_ptr<SecretState> state) : m_state(std::move(state)) {}
    Loaded load(const QStringList& keys) override {
        if (!m_state->reachable)
            return {false, QStringLiteral("no session bus"), {}};
        Loaded loaded{true, {}, {}};
        for (const QString& key : keys) {
            if (m_state->values.count(key) != 0)
                loaded.values.insert(key, m_state->values[key]);
        }
        return loaded;
    }
    bool writeNow(const QString& key, const QString& value, QString&) override {
        store(key, value);
        return true;
    }
    void writeLater(const QString& key, const QString& value) override {
        if (m_state->refuseLaterWrites)
            m_failed(QStringLiteral("locked"));
        else
            store(key, value);
    }
    void setFailureHandler(FailureHandler handler) override { m_failed = std::move(handler); }
    bool flush() override { return m_state->flushAnswers; }

private:
    void store(const QString& key, const QString& value) {
        if (value.isEmpty())
            m_state->values.erase(key);
        else
            m_state->values[key] = value;
    }
    std::shared_ptr<SecretState> m_state;
    FailureHandler m_failed;
};

const QString sqlPassword = QStringLiteral("MIR/DB0");
const QString sharePassword = QStringLiteral("MAIN/txtServerPW1");
const QString server = QStringLiteral("MIR/txtServer0");

struct Save {
    QString address;
    QString value;
};

struct SecretCase {
    const char* name;
    Values fileBefore;
    SecretState storeBefore;
    std::vector<Save> saves;
    Values fileAfter;  // every value the file holds at the end, after the store is closed
    Values storeAfter; // every value the credential store holds then
    int notices;
};

class SecretSettingsTest : public testing::TestWithParam<SecretCase> {};

Values fileValues(const QString& path) {
    QSettings file(path, QSettings::IniFormat);
    Values values;
    for (const QString& key : file.allKeys())
        values[key] = file.value(key).toString();
    return values;
}

// What a password box shows is what was saved last, wherever the value went; the file holds
// passwords only where the credential store could not take them.
TEST_P(SecretSettingsTest, passwordsGoToTheCredentialStoreAndTheFileOnlyWhenItCannotBeUsed) {
    const SecretCase& c = GetParam();
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("settings.ini"));
    auto state = std::make_shared<SecretState>(c.storeBefore);
    QStringList notices;
    Values shown = c.storeBefore.reachable ? c.storeBefore.values : Values{};
    {
        {
            QSettings old(path, QSettings::IniFormat);
            for (const auto& [key, value] : c.fileBefore) {
                old.setValue(key, value);
                shown[key] = value;
            }
        }
        auto store = SettingsStore::openFile(path);
        store->keepSecretsIn(std::make_unique<MemorySecretStore>(state), {sqlPassword, sharePassword});
        store->setNoticeReporter([&notices](const QString& notice) { notices.append(notice); });
        for (const Save& save : c.saves) {
            store->saveSetting(save.address.section(u'/', 0, 0), save.address.section(u'/', 1), save.value);
            shown[save.address] = save.value;
        }
        for (const auto& [address, value] : shown)
            EXPECT_EQ(store->getSetting(address.section(u'/', 0, 0), address.section(u'/', 1)), value)
                << address.toStdString();
    }
    EXPECT_EQ(fileValues(path), c.fileAfter);
    EXPECT_EQ(state->values, c.storeAfter);
    EXPECT_EQ(notices.size(), c.notices) << notices.join(u'\n').toStdString();
    for (const QString& notice : notices)
        EXPECT_TRUE(notice.startsWith(QStringLiteral("Passwords are kept in the settings file ") + path))
            << notice.toStdString();
}

const QString old = QStringLiteral("old-pw");
const QString typed = QStringLiteral("typed-pw");
const QString kept = QStringLiteral("kept-pw");
const SecretState emptyStore{};
const SecretState unreachable{{}, false};

INSTANTIATE_TEST_SUITE_P(
    Cases, SecretSettingsTest,
    testing::Values(SecretCase{"plainTextValuesMoveOnceAndLeaveTheFile",
                               {{sqlPassword, old}, {sharePassword, old}, {server, QStringLiteral("db1")}},
                               emptyStore,
                               {},
                               {{server, QStringLiteral("db1")}},
                               {{sqlPassword, old}, {sharePassword, old}},
                               0},
                    SecretCase{"theFilesValueWinsOverAnOlderStoredOne",
                               {{sqlPassword, typed}},
                               SecretState{{{sqlPassword, old}, {sharePassword, kept}}},
                               {},
                               {},
                               {{sqlPassword, typed}, {sharePassword, kept}},
                               0},
                    SecretCase{"savesReachOnlyTheStoreAndAnEmptyValueRemovesIt",
                               {},
                               SecretState{{{sharePassword, old}}},
                               {{sqlPassword, QStringLiteral("t")},
                                {sqlPassword, typed},
                                {sharePassword, QString()},
                                {server, QStringLiteral("db2")}},
                               {{server, QStringLiteral("db2")}},
                               {{sqlPassword, typed}},
                               0},
                    SecretCase{"anUnreachableStoreLeavesEverythingInTheFileAndSaysSoOnce",
                               {{sqlPassword, old}},
                               unreachable,
                               {{sharePassword, typed}, {sqlPassword, typed}},
                               {{sqlPassword, typed}, {sharePassword, typed}},
                               {},
                               1},
                    SecretCase{"aRefusedWriteMovesTheRunToTheFileWithoutCopyingWhatTheStoreKeeps",
                               {},
                               SecretState{{{sharePassword, kept}}, true, true},
                               {{sqlPassword, typed}, {sqlPassword, old}},
                               {{sqlPassword, old}},
                               {{sharePassword, kept}},
                               1},
                    SecretCase{"writesUnansweredAtTheEndStayInTheFileForTheNextRun",
                               {},
                               SecretState{{}, true, false, false},
                               {{sqlPassword, typed}},
                               {{sqlPassword, typed}},
                               {{sqlPassword, typed}},
                               0}),
    qormin::test::RowName());

} // namespace
