#include "sim/ResponsePlayer.h"

#include "sim/Response.h"
#include "sim/ScenarioData.h"
#include "sim/Session.h"
#include "sim/TdsChannel.h"

namespace qormin::sim {

namespace {

constexpr qsizetype sendThreshold = 32 * 1024;

} // namespace

ResponsePlayer::ResponsePlayer(TdsChannel& channel, Session& session, const ScenarioData& scenario)
    : m_channel(channel), m_session(session), m_scenario(scenario) {}

ResponsePlayer::Outcome ResponsePlayer::play(const Response& response, Mode mode,
                                             const std::vector<OutputValue>& outputs, bool last) {
    m_mode = mode;
    m_captures = &response.captures;
    m_pendingDone.reset();
    m_errorSinceDone = false;
    m_anyError = false;
    m_cancelled = false;
    m_dropped = false;
    m_cut = response.cut;
    m_tokensSent = 0;
    for (const auto& step : response.steps) {
        if (!playStep(step) || !checkAttention()) {
            break;
        }
    }
    if (m_dropped || !m_channel.isConnected()) {
        return Outcome::Dropped;
    }
    if (m_cancelled) {
        return cancel();
    }
    if (mode == Mode::Batch) {
        if (m_pendingDone) {
            writePendingDone(false);
        } else {
            m_writer.done(TokenWriter::Done,
                          m_errorSinceDone ? TokenWriter::DoneError : TokenWriter::DoneFinal, 0, 0);
        }
    } else {
        if (m_pendingDone) {
            writePendingDone(true);
        }
        m_writer.returnStatus(0);
        for (const auto& output : outputs) {
            m_writer.returnValue(output.ordinal, output.name, output.type, output.value);
        }
        const quint16 status = (last ? TokenWriter::DoneFinal : TokenWriter::DoneMore) |
                               (m_anyError ? TokenWriter::DoneError : TokenWriter::DoneFinal);
        m_writer.done(TokenWriter::DoneProcedure, status, 0, 0);
    }
    if (!sendBuffered(true)) {
        return m_cancelled ? cancel() : Outcome::Dropped;
    }
    if (last && !m_channel.finish()) {
        return Outcome::Dropped;
    }
    return Outcome::Completed;
}

bool ResponsePlayer::acknowledgeAttention() {
    m_writer.done(TokenWriter::Done, TokenWriter::DoneAttention, 0, 0);
    return m_channel.send(m_writer.take()) && m_channel.finish();
}

bool ResponsePlayer::playStep(const ResponseStep& step) {
    switch (step.kind) {
    case ResponseStep::Kind::Result:
        return playResult(step);
    case ResponseStep::Kind::RowCount:
        setPendingDone(TokenWriter::DoneCount, 0, static_cast<quint64>(step.count));
        return true;
    case ResponseStep::Kind::Info:
        message(TokenWriter::Info, step.message);
        return true;
    case ResponseStep::Kind::Error:
        // Messages that follow one another belong to one statement, as BACKUP's 911 and 3013 do.
        message(TokenWriter::Error, step.message);
        m_errorSinceDone = true;
        m_anyError = true;
        return true;
    case ResponseStep::Kind::Done:
        setPendingDone(TokenWriter::DoneFinal, 0, 0);
        return true;
    case ResponseStep::Kind::Delay:
        return wait(step.milliseconds);
    case ResponseStep::Kind::Hang:
        return wait(step.milliseconds > 0 ? step.milliseconds : m_scenario.hangLimitMilliseconds);
    case ResponseStep::Kind::Drop:
        if (sendBuffered(true)) {
            drop();
        }
        return false;
    case ResponseStep::Kind::UseDatabase:
        return playUse(substitute(step.database));
    case ResponseStep::Kind::Progress:
        return playProgress(step);
    }
    return true;
}

bool ResponsePlayer::playResult(const ResponseStep& step) {
    const ResultSet& result = *step.result;
    beginToken();
    m_writer.columnMetadata(result.columns);
    const auto literalRows = static_cast<qint64>(result.rows.size());
    const bool substituting = m_captures != nullptr && !m_captures->isEmpty();
    for (qint64 i = 0; i < result.rowCount(); ++i) {
        QVariantList row = result.row(i);
        if (substituting && i < literalRows) {
            for (auto& cell : row) {
                if (cell.typeId() == QMetaType::QString) {
                    cell = substitute(cell.toString());
                }
            }
        }
        m_writer.row(result.columns, row);
        if (m_writer.size() >= sendThreshold && (!sendBuffered(false) || !checkAttention())) {
            return false;
        }
    }
    setPendingDone(TokenWriter::DoneCount, TokenWriter::selectCommand,
                   static_cast<quint64>(result.rowCount()));
    return true;
}

bool ResponsePlayer::playProgress(const ResponseStep& step) {
    for (qint64 percent = step.count;; percent += step.count) {
        ServerMessage progress = step.message;
        progress.text.replace(QLatin1String("{percent}"), QString::number(std::min<qint64>(percent, 100)));
        message(TokenWriter::Info, progress);
        setPendingDone(TokenWriter::DoneFinal, 0, 0);
        if (percent >= 100) {
            return true;
        }
        if (step.milliseconds > 0 ? !wait(step.milliseconds) : !checkAttention()) {
            return false;
        }
    }
}

bool ResponsePlayer::playUse(const QString& database) {
    const QString known = m_scenario.knownDatabase(database);
    if (known.isEmpty()) {
        ServerMessage error;
        error.number = 911;
        error.severity = 16;
        error.state = 1;
        error.text =
            QStringLiteral("Database '%1' does not exist. Make sure that the name is entered correctly.")
                .arg(database);
        message(TokenWriter::Error, error);
        m_errorSinceDone = true;
        m_anyError = true;
        setPendingDone(TokenWriter::DoneError, 0, 0);
        return true;
    }
    beginToken();
    m_writer.environmentChange(TokenWriter::DatabaseChange, known, m_session.database);
    m_session.database = known;
    ServerMessage changed;
    changed.number = 5701;
    changed.state = 1;
    changed.text = QStringLiteral("Changed database context to '%1'.").arg(known);
    message(TokenWriter::Info, changed);
    setPendingDone(TokenWriter::DoneFinal, 0, 0);
    return true;
}

bool ResponsePlayer::wait(int milliseconds) {
    if (m_pendingDone) {
        writePendingDone(true);
    }
    if (!sendBuffered(true) || !m_channel.flush()) {
        return false;
    }
    if (m_channel.waitForAttention(milliseconds)) {
        m_cancelled = true;
        return false;
    }
    return m_channel.isConnected();
}

void ResponsePlayer::message(TokenWriter::Token token, const ServerMessage& message) {
    beginToken();
    ServerMessage substituted = message;
    substituted.text = substitute(message.text);
    m_writer.message(token, substituted, m_scenario.serverName);
}

void ResponsePlayer::beginToken() {
    if (m_pendingDone) {
        writePendingDone(true);
    }
}

void ResponsePlayer::setPendingDone(quint16 status, quint16 command, quint64 count) {
    if (m_pendingDone) {
        writePendingDone(true);
    }
    m_pendingDone = PendingDone{
        static_cast<quint16>(status | (m_errorSinceDone ? TokenWriter::DoneError : 0)), command, count};
}

void ResponsePlayer::writePendingDone(bool more) {
    const auto token = m_mode == Mode::Batch ? TokenWriter::Done : TokenWriter::DoneInProcedure;
    const auto status = static_cast<quint16>(m_pendingDone->status | (more ? TokenWriter::DoneMore : 0));
    m_writer.done(token, status, m_pendingDone->command, m_pendingDone->count);
    m_pendingDone.reset();
    m_errorSinceDone = false;
}

bool ResponsePlayer::sendBuffered(bool force) {
    if (!force && m_writer.size() < sendThreshold) {
        return true;
    }
    const auto buffered = static_cast<qsizetype>(m_writer.tokenEnds().size());
    if (m_cut && m_tokensSent + buffered > m_cut->tokens) {
        return sendUpToCut();
    }
    m_tokensSent += buffered;
    return m_channel.send(m_writer.take());
}

// Sends the tokens before the cut, then closes the connection or falls silent until a cancel.
// Always false: the answer does not go on.
bool ResponsePlayer::sendUpToCut() {
    const qsizetype allowed = m_cut->tokens - m_tokensSent;
    const qsizetype end = allowed > 0 ? m_writer.tokenEnds()[static_cast<size_t>(allowed - 1)] : 0;
    const bool sent = m_channel.send(m_writer.take().left(end)) && m_channel.flush();
    if (sent && m_cut->kind == AnswerCut::Kind::Stall &&
        m_channel.waitForAttention(m_scenario.hangLimitMilliseconds)) {
        m_cancelled = true;
        return false;
    }
    drop();
    return false;
}

void ResponsePlayer::drop() {
    m_channel.flush();
    m_channel.abort();
    m_dropped = true;
}

bool ResponsePlayer::checkAttention() {
    if (m_channel.takeAttention()) {
        m_cancelled = true;
        return false;
    }
    return m_channel.isConnected();
}

ResponsePlayer::Outcome ResponsePlayer::cancel() {
    if (m_cancelObserver) {
        m_cancelObserver();
    }
    m_writer.take();
    m_pendingDone.reset();
    return acknowledgeAttention() ? Outcome::Cancelled : Outcome::Dropped;
}

QString ResponsePlayer::substitute(const QString& text) const {
    if (!text.contains(QLatin1Char('{'))) {
        return text;
    }
    QString result = text;
    result.replace(QLatin1String("{database}"), m_session.database);
    if (m_captures != nullptr) {
        for (qsizetype i = m_captures->size() - 1; i >= 0; --i) {
            result.replace(QStringLiteral("{%1}").arg(i), m_captures->at(i));
        }
    }
    return result;
}

} // namespace qormin::sim
