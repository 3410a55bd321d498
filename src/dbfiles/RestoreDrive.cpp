#include "dbfiles/RestoreDrive.h"

#include <algorithm>

namespace qormin::dbfiles {

namespace {

bool containsAny(const QString& upperName, std::initializer_list<const char*> fragments) {
    return std::any_of(fragments.begin(), fragments.end(), [&](const char* fragment) {
        return RestoreDrive::ContainsText(upperName, QString::fromLatin1(fragment)) > 0;
    });
}

} // namespace

int RestoreDrive::ContainsText(const QString& upperName, const QString& fragment) {
    return static_cast<int>(upperName.indexOf(fragment.toUpper(), 0, Qt::CaseInsensitive)) + 1;
}

DatabaseKind RestoreDrive::kindOf(const QString& databaseName) {
    const QString upperName = databaseName.toUpper();
    if (containsAny(upperName,
                    {"Accounting", "Billing", "FixedAsset", "Inventory", "Payroll", "ACCT", "PELWIN"})) {
        return DatabaseKind::Financial;
    }
    if (containsAny(upperName, {"Cardio", "Clinical_Area", "Doctors", "Hemodialysis", "Laboratory", "Nuclear",
                                "Radiology", "Station", "Transplant"})) {
        return DatabaseKind::Clinical;
    }
    return DatabaseKind::Other;
}

int RestoreDrive::restoreToIndex(const QString& databaseName, int side) {
    const int firstBox = side == 1 ? 3 : 0;
    return firstBox + static_cast<int>(kindOf(databaseName));
}

QString RestoreDrive::GetRestoreDrive(QString& databaseName, int side, const QStringList& restoreTo) {
    databaseName = databaseName.toUpper();
    return restoreTo.value(restoreToIndex(databaseName, side));
}

} // namespace qormin::dbfiles
