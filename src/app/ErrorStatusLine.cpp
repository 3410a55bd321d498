#include "app/ErrorStatusLine.h"

#include "db/ServerAccess.h"

namespace qormin::app {

ErrorStatusLine::ErrorStatusLine(db::ServerAccess& access, QWidget* parent) : QLabel(parent) {
    setObjectName(QStringLiteral("lblLastError"));
    setStyleSheet(QStringLiteral("color: #b00020;"));
    // A long server message must not widen the window: the line is cut, the tip has it all.
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    setMinimumWidth(0);
    connect(&access, &db::ServerAccess::lastErrorChanged, this, [this](const QString& line) {
        setText(line);
        setToolTip(line);
    });
}

} // namespace qormin::app
