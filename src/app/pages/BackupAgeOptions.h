#pragma once

#include "app/DatabaseHealth.h"

#include <QGroupBox>

class QSpinBox;

namespace qormin::platform {
class SettingsStore;
}

namespace qormin::app {

// The Options page's two limits for the database grids' backup marks, saved under MAIN on
// every change; the grids read them at each refresh.
class BackupAgeOptions : public QGroupBox {
    Q_OBJECT
public:
    BackupAgeOptions(platform::SettingsStore& settings, QWidget* parent = nullptr);

    static BackupThresholds stored(const platform::SettingsStore& settings);

private:
    QSpinBox* hoursBox(const QString& name, int value);

    platform::SettingsStore& m_settings;
};

} // namespace qormin::app
