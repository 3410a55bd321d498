#pragma once

#include "sim/AnswerCut.h"
#include "sim/TokenWriter.h"

#include <functional>
#include <optional>
#include <vector>

namespace qormin::sim {

class TdsChannel;
struct Response;
struct ResponseStep;
struct ScenarioData;
struct Session;

// Plays a response's steps onto the wire: tokens, DONE flags, pacing, cancel and drop.
class ResponsePlayer {
public:
    enum class Mode { Batch, Procedure };
    enum class Outcome { Completed, Cancelled, Dropped };
    struct OutputValue {
        quint16 ordinal = 0;
        QString name;
        SqlType type;
        QVariant value;
    };

    ResponsePlayer(TdsChannel& channel, Session& session, const ScenarioData& scenario);

    // Called when a cancel cuts a response short, before the client hears of it.
    void setCancelObserver(std::function<void()> observer) { m_cancelObserver = std::move(observer); }

    // Plays one statement's response. In Procedure mode it ends with the return status, the
    // output values and a DONEPROC (with MORE unless `last`). The message is ended only when
    // the outcome is Completed and `last` is set, or on a cancel.
    Outcome play(const Response& response, Mode mode, const std::vector<OutputValue>& outputs = {},
                 bool last = true);
    // Acknowledges an attention that came in between responses.
    bool acknowledgeAttention();

private:
    struct PendingDone {
        quint16 status = 0;
        quint16 command = 0;
        quint64 count = 0;
    };

    bool playStep(const ResponseStep& step);
    bool playResult(const ResponseStep& step);
    bool playProgress(const ResponseStep& step);
    bool playUse(const QString& database);
    bool wait(int milliseconds);
    void message(TokenWriter::Token token, const ServerMessage& message);
    void beginToken();
    void setPendingDone(quint16 status, quint16 command, quint64 count);
    void writePendingDone(bool more);
    // Sends what is buffered; false when the connection is gone, or was just closed because
    // the response's token limit was reached.
    bool sendBuffered(bool force);
    bool sendUpToCut();
    void drop();
    bool checkAttention();
    Outcome cancel();
    QString substitute(const QString& text) const;

    TdsChannel& m_channel;
    Session& m_session;
    const ScenarioData& m_scenario;
    TokenWriter m_writer;
    std::function<void()> m_cancelObserver;
    Mode m_mode = Mode::Batch;
    const QStringList* m_captures = nullptr;
    std::optional<PendingDone> m_pendingDone;
    bool m_errorSinceDone = false;
    bool m_anyError = false;
    bool m_cancelled = false;
    bool m_dropped = false;
    std::optional<AnswerCut> m_cut;
    qsizetype m_tokensSent = 0;
};

} // namespace qormin::sim
