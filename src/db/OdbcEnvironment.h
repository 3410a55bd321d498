#pragma once

namespace qormin::db {

// The process-wide ODBC 3 environment handle every connection is allocated from.
class OdbcEnvironment {
public:
    static OdbcEnvironment& shared();

    OdbcEnvironment();
    ~OdbcEnvironment();
    OdbcEnvironment(const OdbcEnvironment&) = delete;
    OdbcEnvironment& operator=(const OdbcEnvironment&) = delete;

    void* handle() const { return m_handle; }

private:
    void* m_handle = nullptr;
};

} // namespace qormin::db
