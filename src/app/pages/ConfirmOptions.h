#pragma once

#include <QWidget>

class QCheckBox;

namespace qormin::platform {
class SettingsStore;
}

namespace qormin::window {
class DestructiveConfirmation;
}

namespace qormin::app {

// The Options box "Ask before destructive actions": ticked unless the operator unticked it; a
// batch run starts unticked and keeps its own choice out of the settings, so a scheduled job
// neither stops at a question nor changes what the window asks.
class ConfirmOptions : public QWidget {
    Q_OBJECT
public:
    ConfirmOptions(window::DestructiveConfirmation& confirmation, platform::SettingsStore& settings,
                   QWidget* parent = nullptr);

    void enterBatchMode();
    void load(); // start-up

private:
    window::DestructiveConfirmation& m_confirmation;
    platform::SettingsStore& m_settings;
    QCheckBox* m_box;
    bool m_batch = false;
};

} // namespace qormin::app
