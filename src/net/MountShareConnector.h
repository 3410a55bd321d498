#pragma once

#include "net/ShareConnector.h"

#include <QChar>
#include <QString>
#include <cstdint>

namespace qormin::net {

class DriveLinkStore;
class ShareMounter;

// Drive letters on Linux: mounts the share for the current user and links the letter to
// its folder, answering with the codes Windows gives for the same situations.
class MountShareConnector : public ShareConnector {
public:
    MountShareConnector(ShareMounter& mounter, DriveLinkStore& links) : m_mounter(mounter), m_links(links) {}

    std::uint32_t addConnection(const std::string& remoteName, const std::string& localName,
                                const std::string& user, const std::string& password) override;
    std::uint32_t cancelConnection(const std::string& localName) override;
    std::string lastDetail() const override { return m_detail.toStdString(); }

    // Drop Dir: every drive letter goes, and with it each share this tool mounted. Returns the
    // first failure, after trying them all.
    std::uint32_t cancelAllConnections();

private:
    std::uint32_t cancelLetter(QChar letter);
    std::uint32_t fail(std::uint32_t code, const QString& detail);

    ShareMounter& m_mounter;
    DriveLinkStore& m_links;
    QString m_detail;
};

} // namespace qormin::net
