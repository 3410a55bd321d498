#pragma once

#include <QString>

namespace qormin::controls {

// The file side of a text-file panel: loads a file's whole text and saves it back so that
// saving what was loaded gives back the same bytes (line ends as they were, no line break
// added, the same encoding).
class SaveLoadFileText {
public:
    enum class Encoding {
        Utf8,
        Latin1, // bytes that are not valid UTF-8, kept one character per byte
        System, // the 8-bit code page of the system (Windows)
    };

    // The whole text, or "" when the file is missing or unreadable.
    QString read(const QString& path);

    // Replaces the file with text, unchanged. On failure returns false, leaves the file as it
    // was and says why in errorText().
    bool write(const QString& path, const QString& text);

    QString errorText() const { return m_errorText; }
    // What the last read found; a write uses it, so a new file gets the platform's default.
    Encoding encoding() const { return m_encoding; }

    // The line a GridC click appends to the excluded-tables panel.
    static QString exclusionLine(const QString& database, const QString& table);

private:
    static Encoding platformEncoding();

    Encoding m_encoding = platformEncoding();
    QString m_errorText;
};

} // namespace qormin::controls
