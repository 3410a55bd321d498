#pragma once

#include <QString>

namespace qormin::db {

// This process's freetds.conf. FreeTDS 1.3 takes a CA file and its host name check only from a
// configuration file, never from the connection string, so each side's verified connection
// gets a section of its own in a file that FREETDSCONF names. A file the user's FREETDSCONF
// named is copied in after those sections, so every other connection reads what it read
// before; without one FreeTDS goes on to ~/.freetds.conf and its system file as it always did.
class FreeTdsConfigFile {
public:
    // Points FREETDSCONF at the file. The driver reads the environment on the worker threads
    // while it connects, so this runs once, before the first connection opens (the first
    // ServerAccess calls it); later calls do nothing.
    static void install();
    // Writes the section (its first line "[name]") in place of an older one of that name.
    // False when the file cannot be written.
    static bool put(const QString& section);
    static QString path();
};

} // namespace qormin::db
