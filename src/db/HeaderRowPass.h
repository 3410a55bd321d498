#pragma once

namespace qormin::db {

class ServerAccess;

// Marks a loop's pass over a grid's header row. The all-databases and all-tables loops walk
// row 0 like any other, as the tool always has, so their first statements name the column
// header ("name", "TableName") and the server refuses them. Refusals inside the pass are
// counted apart (StatementTally::headerRowRefusals) and do not make a run look failed; a
// statement of any other row that fails still does. Logging is unchanged.
class HeaderRowPass {
public:
    // Marks nothing unless headerRow is true, so loops can write HeaderRowPass pass(access, row == 0).
    HeaderRowPass(ServerAccess& access, bool headerRow);
    ~HeaderRowPass();
    HeaderRowPass(const HeaderRowPass&) = delete;
    HeaderRowPass& operator=(const HeaderRowPass&) = delete;

private:
    ServerAccess* m_access;
};

} // namespace qormin::db
