#include "DatabaseFileFixture.h"
#include "QStringPrinter.h"

namespace qormin::test {
namespace {

struct RefusedNameCase {
    const char* name;
    const char* database; // as typed into txtDB (batch escapes)
    const char* click;
    const char* shown; // the name as the refusal line shows it
    const char* reason;
};

class RefusedNameTest : public DatabaseFileFixture, public testing::WithParamInterface<RefusedNameCase> {};

// A name that could end the statement's text is refused before the statement is built: nothing
// reaches either server, and the log says which name and why.
TEST_P(RefusedNameTest, sendsNothingAndSaysWhy) {
    const auto& c = GetParam();
    run(QStringLiteral("set txtDB %1\nclick %2\n")
            .arg(QString::fromUtf8(c.database), QString::fromUtf8(c.click)));
    EXPECT_EQ(statements(0), QStringList());
    EXPECT_EQ(statements(1), QStringList());
    EXPECT_EQ(logLines().value(0),
              QStringLiteral("Skipped \"%1\": the name holds %2 and is not put into a statement")
                  .arg(QString::fromUtf8(c.shown), QString::fromUtf8(c.reason)));
}

INSTANTIATE_TEST_SUITE_P(
    Buttons, RefusedNameTest,
    testing::Values(
        RefusedNameCase{"backup", "Bill'ing", "cmdBackup(0)", "Bill'ing", "a quote"},
        RefusedNameCase{"fullRecovery", "Billing]", "cmdFullRecovery(1)", "Billing]", "a closing bracket"},
        RefusedNameCase{"makeSimple", "Billing;DROP DATABASE x", "cmdMakeSimple", "Billing;DROP DATABASE x",
                        "a semicolon"},
        RefusedNameCase{"singleUser", "Billing--", "Command1", "Billing--", "a comment marker"},
        RefusedNameCase{"multiUser", "Billing/*", "Command2", "Billing/*", "a comment marker"},
        RefusedNameCase{"restoreFileList", "Bill\\r\\ning", "cmdRestoreFileList(0)", "Bill\\x0D\\x0Aing",
                        "a control character"},
        RefusedNameCase{"restore", "Bill'ing", "cmdRestore(1)", "Bill'ing", "a quote"},
        RefusedNameCase{"restoreDrill", "Billing;x", "cmdRestoreDrill(0)", "Billing;x", "a semicolon"},
        RefusedNameCase{"clearConnections", "Bill'ing", "cmdClearConnections(0)", "Bill'ing", "a quote"}),
    [](const auto& test) { return std::string(test.param.name); });

} // namespace
} // namespace qormin::test
