#include "GvfsTestSession.h"
#include "RowName.h"
#include "SambaTestServer.h"
#include "net/DriveLinkStore.h"
#include "net/GioShareMounter.h"
#include "net/ModNetUse.h"
#include "net/MountShareConnector.h"
#include "net/ShareAddress.h"
#include "net/ShareCredentials.h"
#include "net/SmbclientShareMounter.h"
#include "platform/PathMapper.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

namespace {

using qormin::test::PrintTo;

using namespace qormin;
using qormin::platform::PathMapper;

enum class MounterKind { Gvfs, Smbclient };

std::string kindName(MounterKind kind) {
    return kind == MounterKind::Gvfs ? "Gvfs" : "Smbclient";
}
void PrintTo(MounterKind kind, std::ostream* out) {
    *out << kindName(kind);
}

// One Samba server (and one GVfs session) for all cases: starting them is the slow part.
struct SharedServers {
    test::SambaTestServer samba;
    QString sambaProblem;
    test::GvfsTestSession gvfs;
    QString gvfsProblem;
};

std::unique_ptr<SharedServers> servers;
const QByteArray certificate = "left server certificate";

class ShareMappingTest : public ::testing::Test {
public:
    static void SetUpTestSuite() {
        servers = std::make_unique<SharedServers>();
        if (!servers->samba.start(servers->sambaProblem))
            return;
        QDir(servers->samba.backupFolder()).mkpath(QStringLiteral("MIR"));
        QFile file(servers->samba.backupFolder() + QStringLiteral("/MIR/SERVER1.cer"));
        if (file.open(QIODevice::WriteOnly))
            file.write(certificate);
        servers->gvfs.start(servers->gvfsProblem);
    }
    static void TearDownTestSuite() { servers.reset(); }

protected:
    void prepare(MounterKind kind) {
        if (!servers->sambaProblem.isEmpty())
            GTEST_SKIP() << "Samba cannot run here: " << servers->sambaProblem.toStdString();
        if (kind == MounterKind::Gvfs && !servers->gvfsProblem.isEmpty())
            GTEST_SKIP() << "GVfs cannot run here (the smbclient cases still run): "
                         << servers->gvfsProblem.toStdString();
        ASSERT_TRUE(m_folder.isValid());
        m_links = std::make_unique<net::DriveLinkStore>(m_folder.filePath(QStringLiteral("drives")));
        if (kind == MounterKind::Gvfs) {
            m_paths = std::make_unique<PathMapper>(PathMapper::Platform::Posix, servers->gvfs.gvfsFolder(),
                                                   m_links->root());
            m_mounter = std::make_unique<net::GioShareMounter>(servers->gvfs.environment());
        } else {
            // Stands in for the system's CIFS mount of the share under the mount root.
            const QString mountRoot = m_folder.filePath(QStringLiteral("mnt"));
            QDir().mkpath(mountRoot + u'/' + servers->samba.serverText());
            QFile::link(servers->samba.backupFolder(),
                        mountRoot + u'/' + servers->samba.serverText() + QStringLiteral("/backup"));
            m_paths = std::make_unique<PathMapper>(PathMapper::Platform::Posix, QString(), m_links->root());
            m_paths->setMountRoot(mountRoot);
            m_mounter = std::make_unique<net::SmbclientShareMounter>(
                [this](const net::ShareAddress& share) { return m_paths->resolve(share.remoteName()); });
        }
        m_connector = std::make_unique<net::MountShareConnector>(*m_mounter, *m_links);
        m_net = std::make_unique<net::ModNetUse>(*m_connector);
    }

    void TearDown() override {
        if (m_connector)
            m_connector->cancelAllConnections();
    }

    QByteArray readThroughDrive(const QString& path) const {
        QFile file(m_paths->resolve(path));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
    }

    QTemporaryDir m_folder;
    std::unique_ptr<net::DriveLinkStore> m_links;
    std::unique_ptr<PathMapper> m_paths;
    std::unique_ptr<net::ShareMounter> m_mounter;
    std::unique_ptr<net::MountShareConnector> m_connector;
    std::unique_ptr<net::ModNetUse> m_net;
};

struct ResultCase {
    const char* name;
    const char* share;
    bool rightPassword;
    bool knownUser;
    bool mapTwice;
    std::int32_t code;
    const char* text;
};

class ShareMappingResultTest : public ShareMappingTest,
                               public ::testing::WithParamInterface<std::tuple<MounterKind, ResultCase>> {
protected:
    void SetUp() override { prepare(std::get<0>(GetParam())); }
};

TEST_P(ShareMappingResultTest, reportsTheWindowsCodeAndLinksOnlyAMappedShare) {
    const ResultCase& c = std::get<1>(GetParam());
    const QString user = c.knownUser ? servers->samba.user() : QStringLiteral("nobody-here");
    const QString password = c.rightPassword ? servers->samba.password() : QStringLiteral("wrong");
    const QString remoteName = servers->samba.serverText() + u'\\' + QString::fromUtf8(c.share);
    if (c.mapTwice) {
        m_net->NetUseConnect(remoteName, QStringLiteral("X:"), user, password);
        ASSERT_EQ(m_net->NetLastResult(), 0) << m_connector->lastDetail();
    }
    m_net->NetUseConnect(remoteName, QStringLiteral("X:"), user, password);
    EXPECT_EQ(m_net->NetLastResult(), c.code) << m_connector->lastDetail();
    EXPECT_EQ(m_net->NetLastError(), c.code);
    EXPECT_EQ(m_net->NetLastErrorText(), QString::fromUtf8(c.text));
    const bool linked = c.code == 0 || c.code == 85;
    EXPECT_EQ(m_links->hasEntry(u'x'), linked);
    EXPECT_EQ(readThroughDrive(QStringLiteral("x:\\MIR\\SERVER1.cer")),
              linked ? certificate : QByteArray("<unreadable>"));
}

const ResultCase resultCases[] = {
    {"mapped", "backup", true, true, false, 0, ""},
    {"sameLetterTwiceIsAlreadyAssigned", "backup", true, true, true, 85, "Already Assigned."},
    {"wrongPassword", "backup", false, true, false, 86, "Invalid Password"},
    {"unknownUser", "backup", true, false, false, 86, "Invalid Password"},
    {"unknownShare", "nosuch", true, true, false, 67, "Bad net name"},
    {"missingFolderBelowShare", "backup\\NOFOLDER", true, true, false, 67, "Bad net name"},
};

INSTANTIATE_TEST_SUITE_P(Mounters, ShareMappingResultTest,
                         ::testing::Combine(::testing::Values(MounterKind::Gvfs, MounterKind::Smbclient),
                                            ::testing::ValuesIn(resultCases)),
                         [](const auto& testInfo) {
                             return kindName(std::get<0>(testInfo.param)) + "_" +
                                    std::get<1>(testInfo.param).name;
                         });

// Dropping mounts; the window tests drop the smbclient-checked drives.
class GvfsShareMappingTest : public ShareMappingTest {
protected:
    void SetUp() override { prepare(MounterKind::Gvfs); }

    QString mountFolder() const {
        return servers->gvfs.gvfsFolder() + QStringLiteral("/smb-share:port=") +
               QString::number(servers->samba.port()) + QStringLiteral(",server=127.0.0.1,share=backup");
    }
    std::int32_t mapBackup(const char* drive) {
        m_net->NetUseConnect(servers->samba.serverText() + QStringLiteral("\\backup"),
                             QString::fromUtf8(drive), servers->samba.user(), servers->samba.password());
        return m_net->NetLastResult();
    }
    net::ShareAddress backupShare() const {
        return *net::ShareAddress::parse(QStringLiteral("\\\\") + servers->samba.serverText() +
                                         QStringLiteral("\\backup"));
    }
};

TEST_F(GvfsShareMappingTest, dropRemovesEveryDriveLinkAndTheLetterMapsAgain) {
    mapBackup("X:");
    mapBackup("Y:");
    ASSERT_EQ(m_links->letters().size(), 2) << m_connector->lastDetail();
    EXPECT_EQ(m_connector->cancelAllConnections(), 0u) << m_connector->lastDetail();
    EXPECT_TRUE(m_links->letters().isEmpty());
    EXPECT_EQ(readThroughDrive(QStringLiteral("y:\\MIR\\SERVER1.cer")), QByteArray("<unreadable>"));
    EXPECT_EQ(mapBackup("Y:"), 0) << m_connector->lastDetail();
}

TEST_F(GvfsShareMappingTest, dropUnmountsOnlyAfterTheLastLetterOfTheShare) {
    mapBackup("X:");
    ASSERT_EQ(mapBackup("Y:"), 0) << m_connector->lastDetail();
    EXPECT_EQ(m_connector->cancelConnection("X:"), 0u);
    EXPECT_EQ(readThroughDrive(QStringLiteral("y:\\MIR\\SERVER1.cer")), certificate);
    EXPECT_EQ(m_connector->cancelConnection("Y:"), 0u);
    EXPECT_FALSE(QFileInfo::exists(mountFolder()));
}

TEST_F(GvfsShareMappingTest, dropLeavesAMountTheDesktopMadeAlone) {
    ASSERT_EQ(
        m_mounter->mount(backupShare(), {servers->samba.user(), QString(), servers->samba.password()}).code,
        0u);
    ASSERT_EQ(mapBackup("X:"), 0) << m_connector->lastDetail();
    EXPECT_EQ(m_connector->cancelAllConnections(), 0u);
    EXPECT_TRUE(QFileInfo::exists(mountFolder() + QStringLiteral("/MIR/SERVER1.cer")));
    EXPECT_EQ(m_mounter->unmount(backupShare()), 0u);
}

TEST_F(GvfsShareMappingTest, letterWhoseMountEndedIsMappedAgain) {
    ASSERT_EQ(mapBackup("X:"), 0) << m_connector->lastDetail();
    ASSERT_EQ(m_mounter->unmount(backupShare()), 0u);
    EXPECT_EQ(mapBackup("X:"), 0) << m_connector->lastDetail();
    EXPECT_EQ(readThroughDrive(QStringLiteral("x:\\MIR\\SERVER1.cer")), certificate);
}

} // namespace
