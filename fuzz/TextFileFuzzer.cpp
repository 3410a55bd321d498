// The text-file panel's file side: a file of any bytes (invalid UTF-8, byte-order marks, binary
// data) loads as text, and saving what was loaded gives back the same bytes.
#include "FuzzInput.h"

#include "controls/SaveLoadFileText.h"

#include <QFile>
#include <QTemporaryDir>

using qormin::controls::SaveLoadFileText;

namespace {

QByteArray bytesOf(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        std::abort();
    return file.readAll();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using qormin::fuzz::require;
    static QTemporaryDir folder;
    require(folder.isValid(), "a temporary folder");
    const QString path = folder.filePath(QStringLiteral("panel.txt"));
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    {
        QFile file(path);
        require(file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size(),
                "the input is written");
    }

    SaveLoadFileText panel;
    const QString text = panel.read(path);
    require(text.size() <= bytes.size(), "no character without a byte");
    require(panel.write(path, text), "what was loaded can be saved");
    require(bytesOf(path) == bytes, "saving what was loaded gives back the same bytes");
    return 0;
}
