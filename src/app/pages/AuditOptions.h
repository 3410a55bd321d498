#pragma once

#include <QGroupBox>
#include <memory>

class QLineEdit;

namespace qormin::db {
class AuditTrail;
}

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::app {

// The Options page's group for the audit trail's file and the built-in passwords, and the
// owner of the trail itself: window and batch runs alike write it through the server access.
// It also tells the masking every password the window holds.
class AuditOptions : public QGroupBox {
    Q_OBJECT
public:
    explicit AuditOptions(window::MainWindowContext& context, QWidget* parent = nullptr);
    ~AuditOptions() override;

    // audit.jsonl beside the settings file (the data folder where the settings are no file).
    static QString defaultAuditPath(window::MainWindowContext& context);

private:
    void addPasswordFields();
    void maskSidePasswords();

    window::MainWindowContext& m_context;
    QLineEdit* m_auditFile;
    std::unique_ptr<db::AuditTrail> m_trail;
};

} // namespace qormin::app
