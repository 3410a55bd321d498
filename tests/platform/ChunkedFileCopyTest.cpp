#include "platform/ChunkedFileCopy.h"
#include "RowName.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::platform::ChunkedFileCopy;
using qormin::platform::FileCopyOutcome;
using qormin::platform::FileCopyProgress;
using Result = FileCopyOutcome::Result;

struct CopyCase {
    const char* name;
    bool sourceExists;
    bool cancelFirst;
    Result expected;
    const char* targetAfter; // nullptr: no target file
};

class ChunkedFileCopyTest : public testing::TestWithParam<CopyCase> {
protected:
    static void write(const QString& path, const QByteArray& data) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(data);
    }
    static std::filesystem::path local(const QString& path) {
        return std::filesystem::path(path.toStdString());
    }

    QTemporaryDir m_root;
};

// Odd sizes against a small chunk, so the last chunk is a short one.
QByteArray sourceBytes() {
    QByteArray data;
    for (int i = 0; i < 100'003; ++i)
        data.append(static_cast<char>(i * 7 % 251));
    return data;
}

TEST_P(ChunkedFileCopyTest, targetIsWholeOrUntouchedAndNoPartialFileStays) {
    const CopyCase& param = GetParam();
    const QString source = m_root.filePath(QStringLiteral("Billing.BAK"));
    const QString target = m_root.filePath(QStringLiteral("y/Billing.BAK"));
    QDir(m_root.path()).mkpath(QStringLiteral("y"));
    if (param.sourceExists)
        write(source, sourceBytes());
    write(target, "older copy");
    FileCopyProgress progress;
    progress.cancelRequested = param.cancelFirst;
    const FileCopyOutcome outcome = ChunkedFileCopy::copy(local(source), local(target), progress, 4096);
    EXPECT_EQ(outcome.result, param.expected) << outcome.reason;
    QFile copied(target);
    ASSERT_TRUE(copied.open(QIODevice::ReadOnly));
    EXPECT_EQ(copied.readAll(), param.targetAfter ? QByteArray(param.targetAfter) : sourceBytes());
    EXPECT_EQ(QDir(m_root.filePath(QStringLiteral("y"))).entryList(QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("Billing.BAK")});
    if (param.expected == Result::Copied) {
        EXPECT_EQ(progress.copied, sourceBytes().size());
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ChunkedFileCopyTest,
    testing::Values(CopyCase{"replacesTheTargetWithEveryByte", true, false, Result::Copied, nullptr},
                    CopyCase{"cancelledLeavesTheTargetAsItWas", true, true, Result::Cancelled, "older copy"},
                    CopyCase{"missingSourceIsReportedAsSuch", false, false, Result::SourceMissing,
                             "older copy"}),
    qormin::test::RowName());

} // namespace
