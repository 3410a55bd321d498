#pragma once

#include <QString>
#include <optional>

namespace qormin::sim {

// A column or parameter type as T-SQL spells it; the wire encoding is chosen from it.
struct SqlType {
    enum class Kind {
        TinyInt,
        SmallInt,
        Int,
        BigInt,
        Bit,
        Real,
        Float,
        Decimal,
        Numeric,
        Money,
        SmallDateTime,
        DateTime,
        Date,
        Time,
        DateTime2,
        DateTimeOffset,
        Char,
        VarChar,
        NChar,
        NVarChar,
        Binary,
        VarBinary,
        Text,
        NText,
        Image,
        UniqueIdentifier,
    };
    static constexpr int maxLength = -1;

    Kind kind = Kind::Int;
    int length = 0; // characters for text kinds, bytes for binary kinds, maxLength for (max)
    int precision = 0;
    int scale = 0;

    // Accepts "int", "decimal(10,2)", "nvarchar(max)", "datetime2(3)" ... in any case.
    static std::optional<SqlType> parse(const QString& text);
    QString name() const;
    bool isMax() const { return length == maxLength; }
    bool isUnicode() const;
    bool isCharacter() const;
    bool isBinary() const;
    bool isInteger() const;
    bool isDecimal() const { return kind == Kind::Decimal || kind == Kind::Numeric; }
    bool operator==(const SqlType&) const = default;
};

} // namespace qormin::sim
