#pragma once

#include <QString>
#include <optional>
#include <utility>
#include <vector>

namespace qormin::sim {

// One T-SQL cursor statement, as the record loops of the client send them.
struct CursorStatement {
    enum class Kind { Declare, Open, Fetch, Close, Deallocate, UpdateCurrent };
    Kind kind = Kind::Open;
    QString cursor;
    QString options;                                      // Declare: "GLOBAL FORWARD_ONLY STATIC READ_ONLY"
    QString select;                                       // Declare
    QString table;                                        // UpdateCurrent
    std::vector<std::pair<QString, QString>> assignments; // UpdateCurrent: column, "@P1" or a literal

    bool isUpdatableDeclaration() const;

    // The statements of a batch made only of cursor statements; nullopt for any other batch.
    static std::optional<std::vector<CursorStatement>> parseBatch(const QString& text);
    // "UPDATE t SET [a] = @P1, [b] = @P2 WHERE CURRENT OF c"; nullopt for any other text.
    static std::optional<CursorStatement> parseUpdate(const QString& text);
};

} // namespace qormin::sim
