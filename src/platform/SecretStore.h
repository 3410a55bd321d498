#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <functional>

namespace qormin::platform {

// Where passwords are kept apart from the settings file: the operating system's credential
// store. Reads happen once, at start-up, and may wait; writes during the run never wait, so a
// key stroke in a password box costs no round trip.
class SecretStore {
public:
    struct Loaded {
        bool reachable = false;
        QString problem;                // why the store could not be used, when it could not
        QHash<QString, QString> values; // only the keys the store holds
    };
    using FailureHandler = std::function<void(const QString& problem)>;

    virtual ~SecretStore() = default;

    virtual Loaded load(const QStringList& keys) = 0;
    // Waits for the answer; an empty value removes the key.
    virtual bool writeNow(const QString& key, const QString& value, QString& problem) = 0;
    // Returns at once; writes reach the store in the order given. A write the store refuses
    // is told to the failure handler.
    virtual void writeLater(const QString& key, const QString& value) = 0;
    virtual void setFailureHandler(FailureHandler handler) = 0;
    // Waits, within the store's time limit, for the writes handed over; false when some were
    // not answered.
    virtual bool flush() = 0;
};

} // namespace qormin::platform
