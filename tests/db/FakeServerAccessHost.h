#pragma once

#include "db/ServerAccess.h"

#include <QList>
#include <QStringList>

namespace qormin::test {

// Stands in for the window: the side's three text boxes, and what the routines show.
class FakeServerAccessHost : public db::ServerAccessHost {
public:
    QString server[2];
    QString user[2] = {QStringLiteral("sa"), QStringLiteral("sa")};
    QString password[2] = {QStringLiteral("demo"), QStringLiteral("demo")};
    QStringList errorBoxes;
    QStringList errorBoxTitles;
    QList<bool> busyChanges;

    QString serverText(int side) const override { return server[side]; }
    QString userText(int side) const override { return user[side]; }
    QString passwordText(int side) const override { return password[side]; }
    void showConnectError(const QString& description, const QString& title) override {
        errorBoxes.append(description);
        errorBoxTitles.append(title);
    }
    void setBusyCursor(bool busy) override { busyChanges.append(busy); }
};

} // namespace qormin::test
