#include "platform/PathMapper.h"
#include "RowName.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::platform::PathMapper;

struct MappingCase {
    const char* name;
    const char* typed;
    const char* mountRoot; // empty: the GVfs mounts
    const char* expected;
};

class PosixPathMappingTest : public testing::TestWithParam<MappingCase> {};

TEST_P(PosixPathMappingTest, resolvesTypedFolderToLocalFolder) {
    const MappingCase& c = GetParam();
    PathMapper mapper(PathMapper::Platform::Posix, QStringLiteral("/run/user/1000/gvfs"),
                      QStringLiteral("/home/dba/.local/share/QORMIN DB Tools/drives"));
    mapper.setMountRoot(QString::fromUtf8(c.mountRoot));
    EXPECT_EQ(mapper.resolve(QString::fromUtf8(c.typed)), QString::fromUtf8(c.expected));
}

const MappingCase mappingCases[] = {
    {"shareToGvfsMountWithLowerCaseServerAndShare", "\\\\SQLMAIN\\Backup\\MIR", "",
     "/run/user/1000/gvfs/smb-share:server=sqlmain,share=backup/MIR"},
    {"shareKeepsTrailingSeparator", "\\\\sqlmain\\backup\\MIR\\", "",
     "/run/user/1000/gvfs/smb-share:server=sqlmain,share=backup/MIR/"},
    {"shareRootAlone", "\\\\sqlmain\\backup", "",
     "/run/user/1000/gvfs/smb-share:server=sqlmain,share=backup"},
    {"shareWrittenWithSlashes", "//sqlmain/backup/x", "",
     "/run/user/1000/gvfs/smb-share:server=sqlmain,share=backup/x"},
    {"shareUnderChosenMountRootKeepsCase", "\\\\SQLMAIN\\Backup\\MIR", "/mnt/smb",
     "/mnt/smb/SQLMAIN/Backup/MIR"},
    {"serverWithoutShareCannotResolve", "\\\\sqlmain", "", ""},
    {"shareWithoutServerCannotResolve", "\\\\\\backup", "", ""},
    {"serverWithEmptyShareCannotResolve", "\\\\sqlmain\\", "", ""},
    {"driveLetterToLinkFolder", "X:\\MIR\\", "", "/home/dba/.local/share/QORMIN DB Tools/drives/x/MIR/"},
    {"lowerCaseDriveLetter", "y:\\backup", "", "/home/dba/.local/share/QORMIN DB Tools/drives/y/backup"},
    {"driveLetterAlone", "P:", "", "/home/dba/.local/share/QORMIN DB Tools/drives/p"},
    {"driveLetterRelative", "P:backup", "", "/home/dba/.local/share/QORMIN DB Tools/drives/p/backup"},
    {"nativePathUnchanged", "/srv/backup/MIR/", "", "/srv/backup/MIR/"},
    {"relativeBackslashesBecomeSlashes", "backup\\MIR", "", "backup/MIR"},
    {"emptyStaysEmpty", "", "", ""},
};

INSTANTIATE_TEST_SUITE_P(Cases, PosixPathMappingTest, testing::ValuesIn(mappingCases),
                         qormin::test::RowName());

TEST(PathMapperTest, windowsUsesTextsAsTheyStand) {
    PathMapper mapper(PathMapper::Platform::Windows, QString(), QString());
    mapper.setMountRoot(QStringLiteral("/mnt"));
    for (const char* typed : {"\\\\sqlmain\\backup\\MIR", "X:\\MIR\\", "d:/data"})
        EXPECT_EQ(mapper.resolve(QString::fromUtf8(typed)), QString::fromUtf8(typed));
}

} // namespace
