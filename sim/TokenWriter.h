#pragma once

#include "sim/ResultSet.h"

#include <QByteArray>
#include <QStringEncoder>

namespace qormin::sim {

struct ServerMessage;

// TDS 7.4 token encoder: appends tokens to a buffer that the caller takes and sends.
class TokenWriter {
public:
    enum Token : quint8 {
        ReturnStatus = 0x79,
        ColumnMetadata = 0x81,
        Error = 0xAA,
        Info = 0xAB,
        ReturnValue = 0xAC,
        LoginAck = 0xAD,
        Row = 0xD1,
        EnvironmentChange = 0xE3,
        Done = 0xFD,
        DoneProcedure = 0xFE,
        DoneInProcedure = 0xFF,
    };
    enum DoneStatus : quint16 {
        DoneFinal = 0x00,
        DoneMore = 0x01,
        DoneError = 0x02,
        DoneCount = 0x10,
        DoneAttention = 0x20,
    };
    enum EnvironmentType : quint8 {
        DatabaseChange = 1,
        LanguageChange = 2,
        PacketSizeChange = 4,
        CollationChange = 7,
    };
    static constexpr quint16 selectCommand = 0xC1;

    TokenWriter();

    QByteArray take();
    qsizetype size() const { return m_buffer.size(); }
    // Where each token written since the last take() ends, in bytes.
    const std::vector<qsizetype>& tokenEnds() const { return m_tokenEnds; }

    void environmentChange(EnvironmentType type, const QString& newValue, const QString& oldValue);
    void collationChange();
    void message(Token token, const ServerMessage& message, const QString& serverName);
    void loginAck(const QString& programName);
    void done(Token token, quint16 status, quint16 command, quint64 count);
    void columnMetadata(const std::vector<ResultColumn>& columns);
    void row(const std::vector<ResultColumn>& columns, const QVariantList& values);
    void returnStatus(qint32 status);
    void returnValue(quint16 ordinal, const QString& name, const SqlType& type, const QVariant& value);

    // Code page 1252 text, as the server's default collation stores varchar.
    QByteArray encodeSingleByte(const QString& text);

private:
    void byte(quint8 value) { m_buffer.append(static_cast<char>(value)); }
    void twoBytes(quint8 first, quint8 second) {
        byte(first);
        byte(second);
    }
    void uint16(quint16 value);
    void uint32(quint32 value);
    void uint64(quint64 value);
    void ucs2(const QString& text);
    void byteText(const QString& text);  // B_VARCHAR
    void shortText(const QString& text); // US_VARCHAR
    void collation();
    void typeInfo(const SqlType& type);
    void value(const SqlType& type, const QVariant& value);
    void integerValue(const SqlType& type, const QVariant& value);
    void decimalValue(const SqlType& type, const QVariant& value);
    void moneyValue(const QVariant& value);
    void dateTimeValue(const SqlType& type, const QVariant& value);
    void bytesValue(const SqlType& type, const QByteArray& bytes);
    void partiallyLengthPrefixed(const QByteArray& bytes);
    void textPointerValue(const QByteArray& bytes);
    QByteArray valueBytes(const SqlType& type, const QVariant& value);

    void endToken() { m_tokenEnds.push_back(m_buffer.size()); }

    QByteArray m_buffer;
    std::vector<qsizetype> m_tokenEnds;
    QStringEncoder m_singleByte;
};

} // namespace qormin::sim
