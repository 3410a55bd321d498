#pragma once

#include <QByteArray>
#include <QString>
#include <QStringDecoder>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace qormin::fuzz {

// The fuzzer's bytes as text: valid UTF-8 as such, so that the seeds are plain text files;
// anything else as raw UTF-16 code units, which reach lone surrogates and every code point a
// text box can hold.
inline QString textOf(const std::uint8_t* data, std::size_t size) {
    const char* bytes = reinterpret_cast<const char*>(data);
    const auto length = static_cast<qsizetype>(size);
    QStringDecoder utf8(QStringConverter::Utf8, QStringDecoder::Flag::Stateless);
    QString decoded = utf8.decode(QByteArrayView(bytes, length));
    if (!utf8.hasError())
        return decoded;
    QString text(length / 2, Qt::Uninitialized);
    for (qsizetype i = 0; i < text.size(); ++i)
        text[i] = QChar(static_cast<char16_t>(static_cast<std::uint8_t>(bytes[2 * i]) |
                                              static_cast<std::uint8_t>(bytes[2 * i + 1]) << 8));
    return text;
}

// A broken property is a finding like a crash: report it and abort so libFuzzer keeps the input.
inline void require(bool holds, const char* property) {
    if (holds)
        return;
    std::fprintf(stderr, "property broken: %s\n", property);
    std::abort();
}

} // namespace qormin::fuzz
