#include "net/GioPromptResponder.h"
#include "RowName.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using qormin::test::PrintTo;

using qormin::net::GioPromptResponder;
using qormin::net::ShareCredentials;

struct Step {
    const char* output;
    const char* expectedInput;
    bool expectedClose;
};

struct Outcome {
    const char* name;
    const char* domain;
    bool refused;
    bool unexpected;
};

struct ConversationCase {
    Outcome is;
    std::vector<Step> steps;
};
std::string_view label(const ConversationCase& row) {
    return row.is.name;
}

class GioPromptResponderTest : public ::testing::TestWithParam<ConversationCase> {};

TEST_P(GioPromptResponderTest, answersEachPromptOnce) {
    const ConversationCase& c = GetParam();
    GioPromptResponder responder(ShareCredentials{QStringLiteral("administrator"),
                                                  QString::fromUtf8(c.is.domain), QStringLiteral("pä ss")});
    for (const Step& step : c.steps) {
        const auto answer = responder.read(QByteArray(step.output));
        EXPECT_EQ(answer.input, QByteArray(step.expectedInput)) << step.output;
        EXPECT_EQ(answer.closeInput, step.expectedClose) << step.output;
    }
    EXPECT_EQ(responder.credentialsRefused(), c.is.refused);
    EXPECT_EQ(responder.unexpectedQuestion(), c.is.unexpected);
}

constexpr const char* header = "Authentication Required\nEnter user and password for share \xe2\x80\x9c"
                               "backup\xe2\x80\x9d on \xe2\x80\x9csrv\xe2\x80\x9d:\n";

INSTANTIATE_TEST_SUITE_P(
    Conversations, GioPromptResponderTest,
    ::testing::Values(
        ConversationCase{{"userDomainPassword", "HOSP", false, false},
                         {{header, "", false},
                          {"User [guest]: ", "administrator\n", false},
                          {"Domain [WORKGROUP]: ", "HOSP\n", false},
                          {"Password: ", "p\xc3\xa4 ss\n", false}}},
        ConversationCase{{"emptyDomainKeepsTheDefault", "", false, false},
                         {{"User: ", "administrator\n", false},
                          {"Domain [WORKGROUP]: ", "\n", false},
                          {"Password: ", "p\xc3\xa4 ss\n", false}}},
        ConversationCase{{"promptInPieces", "", false, false},
                         {{"Kerberos auth with 'guest@WORKGROUP' not possible\nUs", "", false},
                          {"er [guest]: ", "administrator\n", false}}},
        ConversationCase{{"secondRoundMeansRefused", "", true, false},
                         {{"User [guest]: ", "administrator\n", false},
                          {"Domain [WORKGROUP]: ", "\n", false},
                          {"Password: ", "p\xc3\xa4 ss\n", false},
                          {header, "", false},
                          {"User [administrator]: ", "", true}}},
        ConversationCase{{"passwordAskedTwiceMeansRefused", "", true, false},
                         {{"Password: ", "p\xc3\xa4 ss\n", false}, {"\nPassword: ", "", true}}},
        ConversationCase{{"questionWithChoicesIsNotAnswered", "", false, true},
                         {{"Can't verify the identity\n[1] Connect anyway\n[2] Cancel\nChoice: ", "", true}}},
        ConversationCase{{"plainOutputIsNoPrompt", "", false, false},
                         {{"Mounted smb://srv/backup\n", "", false}, {"User: someone\n", "", false}}}),
    qormin::test::RowName());

} // namespace
