#include "QStringPrinter.h"
#include "RowName.h"

#include "app/DatabaseHealth.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::app::backupAttention;
using qormin::app::BackupThresholds;
using qormin::app::DatabaseHealth;

struct AttentionCase {
    const char* name;
    DatabaseHealth health;
    const char* attention;
};

class BackupAttentionTest : public testing::TestWithParam<AttentionCase> {};

TEST_P(BackupAttentionTest, marksOnlyOverdueBackupsOfOnlineDatabases) {
    EXPECT_EQ(backupAttention(GetParam().health, BackupThresholds{}),
              QString::fromUtf8(GetParam().attention));
}

const AttentionCase attentionCases[] = {
    {"inTime", {"ONLINE", "FULL", 600, 15}, ""},
    {"fullAtItsLimitIsInTime", {"ONLINE", "SIMPLE", 1440, {}}, ""},
    {"fullPastItsLimit", {"ONLINE", "SIMPLE", 1500, {}}, "full backup 25 h old"},
    {"neverBackedUp", {"ONLINE", "SIMPLE", {}, {}}, "no full backup"},
    {"fullRecoveryWithoutLogBackup", {"ONLINE", "FULL", 60, {}}, "no log backup"},
    {"logPastItsLimit", {"ONLINE", "FULL", 60, 61}, "log backup 1 h old"},
    {"bothAndCaseIgnored", {"online", "full", 3000, {}}, "full backup 2 d old; no log backup"},
    {"bulkLoggedNeedsNoLogMark", {"ONLINE", "BULK_LOGGED", 60, {}}, ""},
    {"restoringIsNotJudged", {"RESTORING", "FULL", {}, {}}, ""},
    {"offlineIsNotJudged", {"OFFLINE", "SIMPLE", 90000, {}}, ""},
};

INSTANTIATE_TEST_SUITE_P(Cases, BackupAttentionTest, testing::ValuesIn(attentionCases),
                         qormin::test::RowName());

TEST(AgeTextTest, keepsTheNumberSmall) {
    const std::pair<qint64, const char*> cases[] = {{-5, "0 min"},  {59, "59 min"}, {60, "1 h"},
                                                    {2879, "47 h"}, {2880, "2 d"},  {9400, "6 d"}};
    for (const auto& [minutes, text] : cases)
        EXPECT_EQ(qormin::app::ageText(minutes), QString::fromUtf8(text)) << minutes;
}

} // namespace
