#include "transfer/MigrateFileLine.h"

#include "QStringPrinter.h"
#include "RowName.h"

#include <QRandomGenerator>
#include <QStringList>
#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::transfer::MigrateFileLine;
using Kind = MigrateFileLine::Kind;

struct LineCase {
    const char* name;
    const char* text;
    Kind kind;
    const char* destination;
    const char* source;
    const char* firstWord;
    const char* remainder;
};

class MigrateFileLineTest : public ::testing::TestWithParam<LineCase> {};

TEST_P(MigrateFileLineTest, readsAsItsMarkerSays) {
    const LineCase& c = GetParam();
    const MigrateFileLine line = MigrateFileLine::read(QString::fromUtf8(c.text));
    EXPECT_EQ(line.kind, c.kind);
    EXPECT_EQ(line.destination, QString::fromUtf8(c.destination));
    EXPECT_EQ(line.source, QString::fromUtf8(c.source));
    EXPECT_EQ(line.firstWord, QString::fromUtf8(c.firstWord));
    EXPECT_EQ(line.remainder, QString::fromUtf8(c.remainder));
    EXPECT_EQ(line.reason.isEmpty(), c.kind != Kind::Refused);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, MigrateFileLineTest,
    ::testing::Values(
        LineCase{"empty", "", Kind::Blank, "", "", "", ""},
        LineCase{"onlyBlanks", "    ", Kind::Blank, "", "", "", ""},
        LineCase{"comment", "/#Billing..tbA|x", Kind::Comment, "", "", "", ""},
        LineCase{"header", "#Billing..tbNew | Old..tbOld", Kind::Header, "Billing..tbNew", "Old..tbOld", "",
                 ""},
        LineCase{"headerThirdPieceDropped", "#Dest|Src|extra", Kind::Header, "Dest", "Src", "", ""},
        LineCase{"headerWithoutBar", "#OnlyDest", Kind::Header, "OnlyDest", "", "", ""},
        LineCase{"mapping", "*PatientID | PatID", Kind::Mapping, "PatientID", "", "PatID", ""},
        LineCase{"mappingRemainder", "*Name|  LastName 10 ", Kind::Mapping, "Name", "", "LastName", "10"},
        LineCase{"mappingConstant", "*Status|=A", Kind::Mapping, "Status", "", "=A", ""},
        LineCase{"mappingNoDestination", "*|PatID", Kind::Mapping, "", "", "PatID", ""},
        LineCase{"mappingWithoutBar", "*PatID", Kind::Mapping, "PatID", "", "", ""},
        LineCase{"end", ".", Kind::End, "", "", "", ""},
        LineCase{"endWithText", ". next", Kind::End, "", "", "", ""},
        LineCase{"blankLed", " #Dest|Src", Kind::Refused, "", "", "", ""},
        LineCase{"tabLed", "\t#Dest|Src", Kind::Refused, "", "", "", ""},
        LineCase{"unknownMarker", "Dest|Src", Kind::Refused, "", "", "", ""}),
    qormin::test::RowName());

// The file is untrusted: random bytes, mutated good lines, huge lines and control characters
// always give one of the kinds, never a crash; a refused line says why.
TEST(MigrateFileLineFuzz, anyTextReadsAsOneKind) {
    const QStringList seeds = {QStringLiteral("#Billing..tbNew|Old..tbOld"),
                               QStringLiteral("*PatientID|PatID 5"), QStringLiteral("."),
                               QStringLiteral("/comment"), QStringLiteral("*F|=C x")};
    QRandomGenerator random(15);
    for (int round = 0; round < 20000; ++round) {
        QString text;
        if (round % 2 == 0) {
            text = seeds[random.bounded(int(seeds.size()))];
            for (int edit = random.bounded(4); edit >= 0; --edit) {
                const int at = int(random.bounded(int(text.size()) + 1));
                text.insert(at, QChar(char16_t(random.bounded(0x3000))));
            }
        } else {
            QByteArray bytes(random.bounded(64), '\0');
            for (char& byte : bytes) {
                byte = char(random.bounded(256));
            }
            text = QString::fromUtf8(bytes);
        }
        const MigrateFileLine line = MigrateFileLine::read(text);
        if (line.kind == Kind::Refused) {
            EXPECT_FALSE(line.reason.isEmpty()) << text.toStdString();
        }
    }
    const MigrateFileLine huge =
        MigrateFileLine::read(QStringLiteral("*") + QString(2'000'000, QLatin1Char('x')) +
                              QStringLiteral("|") + QString(2'000'000, QLatin1Char(' ')));
    EXPECT_EQ(huge.kind, Kind::Mapping);
    EXPECT_EQ(huge.destination.size(), 2'000'000);
    EXPECT_TRUE(huge.firstWord.isEmpty());
}

} // namespace
