#include "db/HeaderRowPass.h"

#include "db/ServerAccess.h"

namespace qormin::db {

HeaderRowPass::HeaderRowPass(ServerAccess& access, bool headerRow) : m_access(headerRow ? &access : nullptr) {
    if (m_access != nullptr)
        m_access->enterHeaderRowPass();
}

HeaderRowPass::~HeaderRowPass() {
    if (m_access != nullptr)
        m_access->leaveHeaderRowPass();
}

} // namespace qormin::db
