#pragma once

#include <QString>

namespace qormin::db {

class ServerAccess;

// Names that reach a statement from a grid, a file name or a text box are pasted into it as they
// stand. A name holding a quote, a closing bracket, a semicolon, a comment marker or a control
// character could end the statement's own text and start another, so such a name is refused
// before the statement is built; every other name goes through unchanged.
namespace NameGuard {

// Empty when the name may be used; otherwise what it holds ("a quote", "a semicolon", ...).
QString refusal(const QString& name);

// The log line for a refused name, its control characters shown as \xNN.
QString refusedLine(const QString& name, const QString& reason);

// True when every name may be used; otherwise logs the first refused one in txtLog and returns
// false, so the caller skips the statement (and goes on with the next item of its loop).
bool admit(ServerAccess& access, std::initializer_list<QString> names);

} // namespace NameGuard

} // namespace qormin::db
