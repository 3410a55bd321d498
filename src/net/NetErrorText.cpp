#include "net/NetErrorText.h"

#include <QHash>

namespace qormin::net {

QString NetErrorText(int code) {
    // 66 and 1208 read oddly on purpose: operators know these texts from years of use.
    static const QHash<int, QString> texts = {
        {5, QStringLiteral("Access Denied.")},
        {66, QStringLiteral("Bad device.")},
        {67, QStringLiteral("Bad net name")},
        {85, QStringLiteral("Already Assigned.")},
        {86, QStringLiteral("Invalid Password")},
        {170, QStringLiteral("Busy")},
        {173, QStringLiteral("Cancel Violation")},
        {234, QStringLiteral("Buffer to small to hold network name, make lpnLength bigger")},
        {1202, QStringLiteral("Device already remembered")},
        {1203, QStringLiteral("Could not find the specified device")},
        {1204, QStringLiteral("Bad Provider")},
        {1205, QStringLiteral("Cannot Open Profile")},
        {1206, QStringLiteral("Bad Profile")},
        {1208, QStringLiteral("Device already remembered")},
        {1222, QStringLiteral("No Network Present")},
        {2250, QStringLiteral("No Connection Present")},
        {2401, QStringLiteral("Files open and the force parameter is false")},
        {2404, QStringLiteral("Connection Currently in use ")},
    };
    const auto found = texts.constFind(code);
    if (found != texts.constEnd()) {
        return *found;
    }
    return QStringLiteral("Unrecognized Error ") + QString::number(code) + QLatin1Char('.');
}

} // namespace qormin::net
