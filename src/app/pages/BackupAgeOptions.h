#pragma once

#include "app/DatabaseHealth.h"

#include <QGroupBox>

class QCheckBox;
class QSpinBox;

namespace qormin::platform {
class SettingsStore;
}

namespace qormin::app {

// Whether the database grids show health columns, and the two limits for their backup marks,
// saved under MAIN on every change; the grids read them at each refresh. A batch run starts
// without the columns (its transcript is the list statement alone) and keeps its choice out of
// the settings.
class BackupAgeOptions : public QGroupBox {
    Q_OBJECT
public:
    BackupAgeOptions(platform::SettingsStore& settings, QWidget* parent = nullptr);

    static BackupThresholds stored(const platform::SettingsStore& settings);
    bool showsHealth() const;
    void enterBatchMode();

private:
    QSpinBox* hoursBox(const QString& name, int value);

    platform::SettingsStore& m_settings;
    QCheckBox* m_health;
    bool m_batch = false;
};

} // namespace qormin::app
