#include "db/TakeToken.h"

#include "QStringPrinter.h"
#include "RowName.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

struct TakeTokenCase {
    const char* name;
    const char* text;
    const char* delimiter;
    const char* token;
    const char* rest;
};

class TakeTokenTest : public ::testing::TestWithParam<TakeTokenCase> {};

TEST_P(TakeTokenTest, splitsAtFirstDelimiterIgnoringCase) {
    const auto& c = GetParam();
    QString text = QString::fromUtf8(c.text);
    EXPECT_EQ(qormin::db::TakeToken(text, QString::fromUtf8(c.delimiter)), QString::fromUtf8(c.token));
    EXPECT_EQ(text, QString::fromUtf8(c.rest));
}

const TakeTokenCase takeTokenCases[] = {
    {"blanksAroundAreTrimmed", " a ,b , c", ",", "a", "b , c"},
    {"noDelimiterTakesAll", "no delimiter  ", ",", "no delimiter", ""},
    // Only blanks are trimmed: the line break before GO stays.
    {"lineBreakBeforeGoStays", "select 1\r\ngo\r\n x", "GO\r\n", "select 1\r\n", " x"},
    {"delimiterInsideAWord", "LOGO\r\nrest", "GO\r\n", "LO", "rest"},
    {"tabsAndLineBreaksAreNotBlanks", "\tx \r\n", ";", "\tx \r\n", ""},
    {"onlyTheFirstDelimiterGoes", "a;;b", ";", "a", ";b"},
    {"emptyText", "", ",", "", ""},
};

INSTANTIATE_TEST_SUITE_P(Cases, TakeTokenTest, ::testing::ValuesIn(takeTokenCases), qormin::test::RowName());

} // namespace
