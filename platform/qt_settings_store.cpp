#include "platform/qt_settings_store.h"

#include <QSettings>
#include <QString>

namespace osmera {
namespace {

QString Key(const std::string& section, const std::string& key) {
    return QString::fromStdString(section) + '/' + QString::fromStdString(key);
}

}  // namespace

LQtSettingsStore::LQtSettingsStore() = default;
LQtSettingsStore::LQtSettingsStore(std::string iniPath) : iniPath_(std::move(iniPath)) {}
LQtSettingsStore::~LQtSettingsStore() = default;

std::unique_ptr<QSettings> LQtSettingsStore::Open() const {
    if (iniPath_.empty())
        return std::make_unique<QSettings>("Quillon", "Osmera");
    return std::make_unique<QSettings>(QString::fromStdString(iniPath_), QSettings::IniFormat);
}

bool LQtSettingsStore::IsEmpty() {
    std::lock_guard<std::mutex> lock(mutex_);
    return Open()->allKeys().isEmpty();
}

int32_t LQtSettingsStore::GetInt(const std::string& section, const std::string& key, int32_t def) {
    std::lock_guard<std::mutex> lock(mutex_);
    bool ok = false;
    const int v = Open()->value(Key(section, key)).toInt(&ok);
    return ok ? v : def;
}

std::string LQtSettingsStore::GetText(const std::string& section, const std::string& key,
                                      const std::string& def) {
    std::lock_guard<std::mutex> lock(mutex_);
    const QVariant v = Open()->value(Key(section, key));
    return v.isValid() ? v.toString().toStdString() : def;
}

void LQtSettingsStore::SetInt(const std::string& section, const std::string& key, int32_t value) {
    std::lock_guard<std::mutex> lock(mutex_);
    Open()->setValue(Key(section, key), value);
}

void LQtSettingsStore::SetText(const std::string& section, const std::string& key,
                               const std::string& value) {
    std::lock_guard<std::mutex> lock(mutex_);
    Open()->setValue(Key(section, key), QString::fromStdString(value));
}

}  // namespace osmera
