// TakeToken: the token, the delimiter and the rest put back together give the text.
#include "FuzzInput.h"

#include "db/TakeToken.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using qormin::fuzz::require;
    const QString input = qormin::fuzz::textOf(data, size);
    const qsizetype delimiterLength = input.isEmpty() ? 0 : input.front().unicode() % 4;
    const QString delimiter = input.mid(1, delimiterLength);
    const QString original = input.mid(1 + delimiterLength);

    QString text = original;
    const QString token = qormin::db::TakeToken(text, delimiter);
    const qsizetype at = original.indexOf(delimiter, 0, Qt::CaseInsensitive);
    if (at < 0) {
        require(text.isEmpty(), "without a delimiter nothing is left");
        require(token == qormin::db::trimBlanks(original), "without a delimiter the token is the whole text");
    } else {
        require(token == qormin::db::trimBlanks(original.left(at)),
                "the token is the text before the delimiter");
        require(text == original.mid(at + delimiter.size()), "the rest follows the delimiter untouched");
    }
    require(!token.startsWith(u' ') && !token.endsWith(u' '), "the token is trimmed of blanks");
    if (delimiter.isEmpty())
        return 0;
    // A loop taking tokens until the text is used up ends, at the latest after one per character.
    text = original;
    qsizetype rounds = 0;
    while (!text.isEmpty()) {
        qormin::db::TakeToken(text, delimiter);
        require(++rounds <= original.size(), "taking tokens uses the text up");
    }
    return 0;
}
