#include "DatabaseFileFixture.h"
#include "QStringPrinter.h"
#include "RowName.h"

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

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
        RefusedNameCase{"makeOnline", "Bill'ing", "cmdMakeOnline(1)", "Bill'ing", "a quote"},
        RefusedNameCase{"restoreDrill", "Billing;x", "cmdRestoreDrill(0)", "Billing;x", "a semicolon"},
        RefusedNameCase{"clearConnections", "Bill'ing", "cmdClearConnections(0)", "Bill'ing", "a quote"}),
    qormin::test::RowName());

// Every button that pastes txtDB into a statement, by where the statement puts it: a blank
// ends a bare name (DROP DATABASE x SHUTDOWN ), but is part of a [bracketed] or quoted one.
struct PastedNameCase {
    const char* click;
    bool bare;
    const char* field = "txtDB"; // where the name is typed
};
std::string_view label(const PastedNameCase& row) {
    return row.click;
}

class PastedNameTest : public DatabaseFileFixture, public testing::WithParamInterface<PastedNameCase> {
protected:
    QStringList sent() { return statements(0) + statements(1); }
    void runWith(const QString& name) {
        const QString click = QString::fromUtf8(GetParam().click);
        const QString open =
            click.contains(u'.') ? QStringLiteral("open ") + click.section(u'.', 0, 0) + u'\n' : QString();
        // The exit status is not the point: a name sent may still be refused by the server.
        harness().runBatch(
            open +
            QStringLiteral("set %1 %2\nclick %3\n").arg(QString::fromUtf8(GetParam().field), name, click));
    }
};

TEST_P(PastedNameTest, refusesWhatWouldEndTheNameWhereItStands) {
    const auto& c = GetParam();
    const QString hostile = c.bare ? QStringLiteral("x SHUTDOWN ") : QStringLiteral("x'; SHUTDOWN --");
    runWith(hostile);
    EXPECT_EQ(sent(), QStringList());
    EXPECT_EQ(logLines().value(0),
              QStringLiteral("Skipped \"%1\": the name holds %2 and is not put into a statement")
                  .arg(hostile, c.bare ? QStringLiteral("a blank") : QStringLiteral("a quote")));
}

TEST_P(PastedNameTest, sendsAnOrdinaryName) {
    const auto& c = GetParam();
    const QString name = c.bare ? QStringLiteral("Lab_2024") : QStringLiteral("Lab Results 2024");
    runWith(name);
    EXPECT_FALSE(sent().filter(name).isEmpty()) << sent().join(u'\n').toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Buttons, PastedNameTest,
    testing::Values(PastedNameCase{"cmdBackup(0)", true}, PastedNameCase{"cmdVerify(0)", false},
                    PastedNameCase{"cmdFullRecovery(1)", true}, PastedNameCase{"cmdMakeSimple", true},
                    PastedNameCase{"Command1", true}, PastedNameCase{"Command2", true},
                    PastedNameCase{"cmdRestoreFileList(0)", false}, PastedNameCase{"cmdRestore(1)", true},
                    PastedNameCase{"cmdClearConnections(0)", false}, PastedNameCase{"cmdDetachAll", false},
                    PastedNameCase{"cmdDrop(1)", true}, PastedNameCase{"cmdSetPartner(0)", false},
                    PastedNameCase{"cmdMakeOnline(1)", true}, PastedNameCase{"cmdTableSizes(0)", true},
                    PastedNameCase{"cmdBigTables", true}, PastedNameCase{"cmdReloadSPs", false},
                    PastedNameCase{"cmdTruncate", true}, PastedNameCase{"cmdCopybyRecID", true},
                    PastedNameCase{"frmFixTransDate.Command1", true, "frmFixTransDate.txtDest"}),
    qormin::test::RowName());

// A backup made elsewhere names its files itself; those names go between quotes in the MOVE
// clauses, so the guard reads them too.
class BackupFileNamesTest : public DatabaseFileFixture {
protected:
    QByteArray extraRules() const override {
        return R"json(
    {"regex": "^ RESTORE FILELISTONLY .*Evil\\.bak'",
     "response": {"result": {"columns": ["LogicalName:nvarchar(128)", "PhysicalName:nvarchar(260)"],
                             "rows": [["Evil' , MOVE 'x' TO 'c:\\windows\\x", "D:\\data\\Evil.mdf"]]}}},)json";
    }
};

TEST_F(BackupFileNamesTest, aHostileLogicalNameStopsTheRestoreOfThatDatabase) {
    run(QStringLiteral("set txtDB Evil\nclick cmdRestore(1)\n"));
    EXPECT_EQ(statements(1),
              QStringList(QStringLiteral(" RESTORE FILELISTONLY  FROM DISK = 'p:\\backup\\MIR\\Evil.bak' "
                                         "WITH FILE = 1")));
    EXPECT_EQ(logLines().value(0),
              QStringLiteral("Skipped \"Evil' , MOVE 'x' TO 'c:\\windows\\x\": the name holds a "
                             "quote and is not put into a statement"));
}

} // namespace
} // namespace qormin::test
