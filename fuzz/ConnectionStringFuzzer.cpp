// Connection-string translation: any provider string gives either an error or an ODBC string
// whose pairs split cleanly, with the driver's name kept in braces; a FreeTDS configuration
// section for a verified connection keeps each of its settings on a line of its own.
#include "FuzzInput.h"

#include "db/ConnectionSecurity.h"
#include "db/ConnectionString.h"

namespace {

// Splits an ODBC string into its pairs as a driver manager does (braced values may hold ";"
// and a doubled "}"); false when the string does not split cleanly.
bool splitsCleanly(const QString& text, qsizetype& pairs) {
    qsizetype i = 0;
    pairs = 0;
    while (i < text.size()) {
        const qsizetype equals = text.indexOf(u'=', i);
        if (equals < 0)
            return false;
        i = equals + 1;
        if (i < text.size() && text.at(i) == u'{') {
            ++i;
            for (;; ++i) {
                if (i >= text.size())
                    return false;
                if (text.at(i) != u'}')
                    continue;
                if (i + 1 < text.size() && text.at(i + 1) == u'}') {
                    ++i;
                    continue;
                }
                break;
            }
            ++i;
            if (i >= text.size() || text.at(i) != u';')
                return false;
        } else {
            const qsizetype semicolon = text.indexOf(u';', i);
            if (semicolon < 0)
                return false;
            const QString value = text.mid(i, semicolon - i);
            if (value.contains(u'{') || value.contains(u'}') || value.contains(u'='))
                return false;
            i = semicolon;
        }
        ++i;
        ++pairs;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using qormin::fuzz::require;
    const QString input = qormin::fuzz::textOf(data, size);
    // The driver's name comes first, up to a line break; the provider string is the rest.
    const qsizetype lineBreak = input.indexOf(u'\n');
    const QString driver = lineBreak < 0 ? QStringLiteral("FreeTDS") : input.left(lineBreak);
    QString provider = lineBreak < 0 ? input : input.mid(lineBreak + 1);
    // A second line break starts the side's security: "encryption|CA file|name in the certificate".
    qormin::db::ConnectionSecurity security;
    const qsizetype securityBreak = provider.indexOf(u'\n');
    if (securityBreak >= 0) {
        const QStringList fields = provider.mid(securityBreak + 1).split(u'|');
        security = {qormin::db::encryptionFromSettingText(fields.value(0)), fields.value(1), fields.value(2)};
        provider = provider.left(securityBreak);
    }

    const qormin::db::OdbcConnectionText odbc =
        qormin::db::translateConnectionString(provider, driver, security, QStringLiteral("qormin-left"));
    require(odbc.text.isEmpty() != odbc.error.isEmpty(), "either a text or an error");
    if (odbc.text.isEmpty())
        return 0;
    if (!odbc.freeTdsSection.isEmpty()) {
        const QStringList lines = odbc.freeTdsSection.split(u'\n');
        require(lines.first() == QStringLiteral("[qormin-left]") && lines.last().isEmpty(),
                "one whole section");
        for (qsizetype i = 1; i + 1 < lines.size(); ++i)
            require(lines.at(i).startsWith(u'\t') && lines.at(i).contains(QStringLiteral(" = ")),
                    "each setting on a line of its own");
    }
    qsizetype pairs = 0;
    require(splitsCleanly(odbc.text, pairs), "the ODBC string splits into pairs");
    require(pairs >= 2, "the driver and the server are always named");
    require(odbc.text.startsWith(QStringLiteral("Driver={")), "the driver comes first, in braces");
    return 0;
}
