#include "sim/SqlType.h"

#include <QRegularExpression>
#include <array>

namespace qormin::sim {

namespace {

struct KindName {
    SqlType::Kind kind;
    const char* name;
    int defaultLength;
};

constexpr std::array kindNames{
    KindName{SqlType::Kind::TinyInt, "tinyint", 0},
    KindName{SqlType::Kind::SmallInt, "smallint", 0},
    KindName{SqlType::Kind::Int, "int", 0},
    KindName{SqlType::Kind::BigInt, "bigint", 0},
    KindName{SqlType::Kind::Bit, "bit", 0},
    KindName{SqlType::Kind::Real, "real", 0},
    KindName{SqlType::Kind::Float, "float", 0},
    KindName{SqlType::Kind::Decimal, "decimal", 0},
    KindName{SqlType::Kind::Numeric, "numeric", 0},
    KindName{SqlType::Kind::Money, "money", 0},
    KindName{SqlType::Kind::SmallDateTime, "smalldatetime", 0},
    KindName{SqlType::Kind::DateTime, "datetime", 0},
    KindName{SqlType::Kind::Date, "date", 0},
    KindName{SqlType::Kind::Time, "time", 0},
    KindName{SqlType::Kind::DateTime2, "datetime2", 0},
    KindName{SqlType::Kind::DateTimeOffset, "datetimeoffset", 0},
    KindName{SqlType::Kind::Char, "char", 1},
    KindName{SqlType::Kind::VarChar, "varchar", 1},
    KindName{SqlType::Kind::NChar, "nchar", 1},
    KindName{SqlType::Kind::NVarChar, "nvarchar", 1},
    KindName{SqlType::Kind::Binary, "binary", 1},
    KindName{SqlType::Kind::VarBinary, "varbinary", 1},
    KindName{SqlType::Kind::Text, "text", 0},
    KindName{SqlType::Kind::NText, "ntext", 0},
    KindName{SqlType::Kind::Image, "image", 0},
    KindName{SqlType::Kind::UniqueIdentifier, "uniqueidentifier", 0},
};

const KindName* findKind(const QString& name) {
    for (const auto& entry : kindNames) {
        if (name.compare(QLatin1String(entry.name), Qt::CaseInsensitive) == 0) {
            return &entry;
        }
    }
    return nullptr;
}

const KindName& entryFor(SqlType::Kind kind) {
    for (const auto& entry : kindNames) {
        if (entry.kind == kind) {
            return entry;
        }
    }
    return kindNames.front();
}

bool applyArguments(SqlType& type, const QString& first, const QString& second) {
    bool ok = true;
    if (type.isDecimal()) {
        type.precision = first.isEmpty() ? 18 : first.toInt(&ok);
        type.scale = second.isEmpty() ? 0 : second.toInt(&ok);
        return ok && type.precision >= 1 && type.precision <= 38 && type.scale >= 0 &&
               type.scale <= type.precision;
    }
    const bool hasScale = type.kind == SqlType::Kind::Time || type.kind == SqlType::Kind::DateTime2 ||
                          type.kind == SqlType::Kind::DateTimeOffset;
    if (hasScale) {
        type.scale = first.isEmpty() ? 7 : first.toInt(&ok);
        return ok && second.isEmpty() && type.scale >= 0 && type.scale <= 7;
    }
    if (!type.isCharacter() && !type.isBinary()) {
        return first.isEmpty() && second.isEmpty();
    }
    if (type.kind == SqlType::Kind::Text || type.kind == SqlType::Kind::NText ||
        type.kind == SqlType::Kind::Image) {
        return first.isEmpty();
    }
    if (first.compare(QLatin1String("max"), Qt::CaseInsensitive) == 0) {
        type.length = SqlType::maxLength;
        const bool fixed = type.kind == SqlType::Kind::Char || type.kind == SqlType::Kind::NChar ||
                           type.kind == SqlType::Kind::Binary;
        return !fixed && second.isEmpty();
    }
    if (!first.isEmpty()) {
        type.length = first.toInt(&ok);
    }
    const int limit = type.isUnicode() ? 4000 : 8000;
    return ok && second.isEmpty() && type.length >= 1 && type.length <= limit;
}

} // namespace

std::optional<SqlType> SqlType::parse(const QString& text) {
    static const QRegularExpression pattern(
        QStringLiteral(R"(^\s*(\w+)\s*(?:\(\s*(\w+)\s*(?:,\s*(\w+)\s*)?\))?\s*$)"));
    const auto match = pattern.match(text);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    const KindName* entry = findKind(match.captured(1));
    if (entry == nullptr) {
        return std::nullopt;
    }
    SqlType type;
    type.kind = entry->kind;
    type.length = entry->defaultLength;
    if (!applyArguments(type, match.captured(2), match.captured(3))) {
        return std::nullopt;
    }
    return type;
}

QString SqlType::name() const {
    const QString base = QLatin1String(entryFor(kind).name);
    if (isDecimal()) {
        return QStringLiteral("%1(%2,%3)").arg(base).arg(precision).arg(scale);
    }
    if (kind == Kind::Time || kind == Kind::DateTime2 || kind == Kind::DateTimeOffset) {
        return QStringLiteral("%1(%2)").arg(base).arg(scale);
    }
    if (kind == Kind::Text || kind == Kind::NText || kind == Kind::Image) {
        return base;
    }
    if (isCharacter() || isBinary()) {
        return QStringLiteral("%1(%2)").arg(base, isMax() ? QStringLiteral("max") : QString::number(length));
    }
    return base;
}

bool SqlType::isUnicode() const {
    return kind == Kind::NChar || kind == Kind::NVarChar || kind == Kind::NText;
}

bool SqlType::isCharacter() const {
    return kind == Kind::Char || kind == Kind::VarChar || kind == Kind::NChar || kind == Kind::NVarChar ||
           kind == Kind::Text || kind == Kind::NText;
}

bool SqlType::isBinary() const {
    return kind == Kind::Binary || kind == Kind::VarBinary || kind == Kind::Image;
}

bool SqlType::isInteger() const {
    return kind == Kind::TinyInt || kind == Kind::SmallInt || kind == Kind::Int || kind == Kind::BigInt;
}

} // namespace qormin::sim
