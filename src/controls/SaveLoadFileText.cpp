#include "controls/SaveLoadFileText.h"

#include <QFile>
#include <QSaveFile>
#include <QStringDecoder>
#include <QStringEncoder>
#include <algorithm>

namespace qormin::controls {

namespace {

QStringConverter::Encoding converterFor(SaveLoadFileText::Encoding encoding) {
    switch (encoding) {
    case SaveLoadFileText::Encoding::Latin1:
        return QStringConverter::Latin1;
    case SaveLoadFileText::Encoding::System:
        return QStringConverter::System;
    case SaveLoadFileText::Encoding::Utf8:
        break;
    }
    return QStringConverter::Utf8;
}

// A byte-order mark stays in the text so that it is written back too.
QString decode(const QByteArray& bytes, SaveLoadFileText::Encoding encoding, bool* valid) {
    QStringDecoder decoder(converterFor(encoding),
                           QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    QString text = decoder.decode(bytes);
    *valid = !decoder.hasError();
    return text;
}

QByteArray encode(const QString& text, SaveLoadFileText::Encoding encoding) {
    QStringEncoder encoder(converterFor(encoding), QStringEncoder::Flag::Stateless);
    return encoder.encode(text);
}

bool fitsLatin1(const QString& text) {
    return std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c.unicode() <= 0xFF; });
}

} // namespace

SaveLoadFileText::Encoding SaveLoadFileText::platformEncoding() {
#ifdef Q_OS_WIN
    return Encoding::System;
#else
    return Encoding::Utf8;
#endif
}

QString SaveLoadFileText::read(const QString& path) {
    m_encoding = platformEncoding();
    QFile file(path);
    // No text mode: CR LF stays as it is in the file.
    if (!file.open(QIODevice::ReadOnly)) {
        return QString();
    }
    const QByteArray bytes = file.readAll();
    bool valid = false;
    QString text = decode(bytes, m_encoding, &valid);
    if (!valid && m_encoding == Encoding::Utf8) {
        m_encoding = Encoding::Latin1;
        text = decode(bytes, m_encoding, &valid);
    }
    return text;
}

bool SaveLoadFileText::write(const QString& path, const QString& text) {
    m_errorText.clear();
    if (m_encoding == Encoding::Latin1 && !fitsLatin1(text)) {
        m_encoding = Encoding::Utf8;
    }
    const QByteArray bytes = encode(text, m_encoding);
    bool valid = false;
    if (decode(bytes, m_encoding, &valid) != text || !valid) {
        m_errorText =
            QStringLiteral("%1 was not saved: the text has characters its encoding cannot hold.").arg(path);
        return false;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        m_errorText = QStringLiteral("%1 was not saved: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

QString SaveLoadFileText::exclusionLine(const QString& database, const QString& table) {
    return database + QStringLiteral("..") + table + QStringLiteral("\r\n");
}

} // namespace qormin::controls
