#include "app/pages/BackupAgeOptions.h"

#include "platform/SettingsStore.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QSpinBox>

namespace qormin::app {

namespace {

const QString section = QStringLiteral("MAIN");
const QString fullKey = QStringLiteral("txtFullBackupHours");
const QString logKey = QStringLiteral("txtLogBackupHours");
const QString healthKey = QStringLiteral("chkDatabaseHealth");
constexpr int hoursPerYear = 8760;

int storedHours(const platform::SettingsStore& settings, const QString& key, int fallback) {
    bool isNumber = false;
    const int hours = settings.getSetting(section, key).toInt(&isNumber);
    return isNumber && hours > 0 ? hours : fallback;
}

} // namespace

BackupAgeOptions::BackupAgeOptions(platform::SettingsStore& settings, QWidget* parent)
    : QGroupBox(tr("Backup marks in the database grids"), parent), m_settings(settings),
      m_health(new QCheckBox(tr("Show database health in the grids"), this)) {
    setObjectName(QStringLiteral("fraBackupAge"));
    m_health->setObjectName(healthKey);
    m_health->setChecked(settings.getSetting(section, healthKey, QStringLiteral("1")) != u"0");
    connect(m_health, &QCheckBox::toggled, this, [this](bool checked) {
        if (!m_batch)
            m_settings.saveSetting(section, healthKey, checked ? QStringLiteral("1") : QStringLiteral("0"));
    });
    const BackupThresholds limits = stored(settings);
    auto* form = new QFormLayout(this);
    form->addRow(m_health);
    form->addRow(tr("Mark a database whose last full backup is older than"),
                 hoursBox(fullKey, limits.fullBackupHours));
    form->addRow(tr("or, in FULL recovery, whose last log backup is older than"),
                 hoursBox(logKey, limits.logBackupHours));
}

QSpinBox* BackupAgeOptions::hoursBox(const QString& name, int value) {
    auto* box = new QSpinBox(this);
    box->setObjectName(name);
    box->setRange(1, hoursPerYear);
    box->setSuffix(tr(" h"));
    box->setValue(value);
    connect(box, &QSpinBox::valueChanged, this,
            [this, name](int hours) { m_settings.saveSetting(section, name, QString::number(hours)); });
    return box;
}

bool BackupAgeOptions::showsHealth() const {
    return m_health->isChecked();
}

void BackupAgeOptions::enterBatchMode() {
    m_batch = true;
    m_health->setChecked(false);
}

BackupThresholds BackupAgeOptions::stored(const platform::SettingsStore& settings) {
    const BackupThresholds defaults;
    return {storedHours(settings, fullKey, defaults.fullBackupHours),
            storedHours(settings, logKey, defaults.logBackupHours)};
}

} // namespace qormin::app
