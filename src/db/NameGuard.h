#pragma once

#include <QString>

namespace qormin::db {

class ServerAccess;

// Names that reach a statement from a grid, a file name or a text box are pasted into it as they
// stand. A name that could end its own place in the statement and start other text is refused
// before the statement is built; every other name goes through unchanged.
namespace NameGuard {

// Where the statement puts the name. Inside [ ] or ' ' a blank is part of the name, so only a
// quote, a closing bracket, a semicolon, a comment marker or a control character is refused.
// Standing bare, anything but letters, digits, _ @ # $, the dots between parts and whole
// [bracketed] parts would end it: "x SHUTDOWN" would drop x and then stop the server.
enum class Position { Unbracketed, Bracketed, Quoted };

// Empty when the name may be used there; otherwise what it holds ("a quote", "a blank", ...).
QString refusal(const QString& name, Position position);

// The log line for a refused name, its control characters shown as \xNN.
QString refusedLine(const QString& name, const QString& reason);

// True when every name may be used there; otherwise logs the first refused one in txtLog and
// returns false, so the caller skips the statement (and goes on with the next item of its loop).
bool admit(ServerAccess& access, Position position, std::initializer_list<QString> names);

} // namespace NameGuard

} // namespace qormin::db
