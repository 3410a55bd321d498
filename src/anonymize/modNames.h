#pragma once

#include <QString>

namespace qormin::anonymize::modNames {

// The default texts of txtLastNames (1,000 surnames) and txtFirstnames (1,004 given names):
// one name per line, each line ended by CR LF, read from the lists kept in names/.
QString defaultLastNames();
QString defaultFirstNames();

} // namespace qormin::anonymize::modNames
