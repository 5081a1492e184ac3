#include "app/recent_file_list.h"

#include <algorithm>

namespace osmera {

namespace {

constexpr const char* kSection = "Recent";

std::string PathKey(int slot) {
    return "RecentFile " + std::to_string(slot);
}

std::string DateKey(int slot) {
    return "RecentFileDate" + std::to_string(slot);
}

}  // namespace

void LRecentFileList::Add(const std::string& path, int32_t now) {
    if (path.empty())
        return;
    int oldest = 1;
    int32_t oldestDate = 0;
    for (int slot = 1; slot <= kSlots; ++slot) {
        const std::string held = settings_.GetText(kSection, PathKey(slot), "");
        if (held == path || held.empty()) {
            if (held.empty())
                settings_.SetText(kSection, PathKey(slot), path);
            settings_.SetInt(kSection, DateKey(slot), now);
            return;
        }
        const int32_t date = settings_.GetInt(kSection, DateKey(slot), 0);
        if (slot == 1 || date < oldestDate) {
            oldest = slot;
            oldestDate = date;
        }
    }
    settings_.SetText(kSection, PathKey(oldest), path);
    settings_.SetInt(kSection, DateKey(oldest), now);
}

std::vector<LRecentFile> LRecentFileList::Items() const {
    std::vector<LRecentFile> items;
    for (int slot = 1; slot <= kSlots; ++slot) {
        LRecentFile item;
        item.slot = slot;
        item.path = settings_.GetText(kSection, PathKey(slot), "");
        item.date = settings_.GetInt(kSection, DateKey(slot), 0);
        if (!item.path.empty())
            items.push_back(std::move(item));
    }
    std::stable_sort(items.begin(), items.end(),
                     [](const LRecentFile& a, const LRecentFile& b) { return a.date > b.date; });
    return items;
}

int LRecentFileList::ShownCount(LSettingsStore& settings) {
    return std::clamp(settings.GetInt("Settings", "RecentFileCount", kSlots), 0, kSlots);
}

std::vector<LRecentFile> LRecentFileList::ShownItems() const {
    std::vector<LRecentFile> items = Items();
    const auto shown = static_cast<size_t>(ShownCount(settings_));
    if (items.size() > shown)
        items.resize(shown);
    return items;
}

QString LRecentFileList::ShortName(const std::string& path) {
    const QString full = QString::fromStdString(path);
    if (full.size() < 25)
        return full;
    const qsizetype slash = full.lastIndexOf(QLatin1Char('/'));
    return full.left(3) + QLatin1String(".../") + full.mid(slash + 1);
}

QString LRecentFileList::MenuItemText(int index, const std::string& path) {
    QString shown = ShortName(path);
    shown.replace(QLatin1Char('&'), QLatin1String("&&"));
    return QStringLiteral("&%1.%2").arg(index + 1).arg(shown);
}

}  // namespace osmera
