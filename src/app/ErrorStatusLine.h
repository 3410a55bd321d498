#pragma once

#include <QLabel>

namespace qormin::db {
class ServerAccess;
}

namespace qormin::app {

// The status bar's last error (a failed connect or statement, as txtErrs has it), kept in
// sight until the next statement succeeds: txtErrs is newest-first and easily scrolled away.
class ErrorStatusLine : public QLabel {
    Q_OBJECT
public:
    ErrorStatusLine(db::ServerAccess& access, QWidget* parent = nullptr);
};

} // namespace qormin::app
