#include "net/ToolProcess.h"

#include <gtest/gtest.h>

namespace {

using qormin::net::ToolProcess;

ToolProcess shell(const QString& script) {
    return ToolProcess(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), script},
                       QProcessEnvironment::systemEnvironment());
}

TEST(ToolProcessTest, feedsTheInputAndKeepsBothOutputs) {
    const auto result =
        shell(QStringLiteral("cat; echo oops >&2; exit 3")).run("secret\n", std::chrono::seconds(60));
    EXPECT_TRUE(result.started);
    EXPECT_FALSE(result.timedOut);
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.output, QByteArray("secret\n"));
    EXPECT_EQ(result.errors, QByteArray("oops\n"));
    EXPECT_FALSE(result.succeeded());
}

TEST(ToolProcessTest, answersPromptsAsTheyCome) {
    const auto result =
        shell(QStringLiteral("printf 'User: '; read user; printf 'Password: '; read pw; echo \"$user/$pw\""))
            .converse(
                [](const QByteArray& output) {
                    ToolProcess::Answer answer;
                    if (output.endsWith("User: "))
                        answer.input = "admin\n";
                    if (output.endsWith("Password: "))
                        answer.input = "pw\n";
                    return answer;
                },
                std::chrono::seconds(60));
    EXPECT_TRUE(result.succeeded());
    EXPECT_EQ(result.output, QByteArray("User: Password: admin/pw\n"));
}

TEST(ToolProcessTest, givesUpOnAToolThatHangs) {
    const auto result = shell(QStringLiteral("exec sleep 600")).run({}, std::chrono::milliseconds(200));
    EXPECT_TRUE(result.started);
    EXPECT_TRUE(result.timedOut);
    EXPECT_FALSE(result.succeeded());
}

TEST(ToolProcessTest, saysWhenTheToolCannotStart) {
    const ToolProcess missing(QStringLiteral("/nonexistent/tool"), {},
                              QProcessEnvironment::systemEnvironment());
    EXPECT_FALSE(missing.run({}, std::chrono::seconds(60)).started);
}

} // namespace
