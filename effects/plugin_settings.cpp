#include "effects/plugin_settings.h"

#include <algorithm>
#include <sstream>

namespace osmera {

namespace {

const char* SectionOf(LPluginKind kind) {
    return kind == LPluginKind::kLv2 ? "LV2Plugins" : "LADSPAPlugins";
}

// A URI's '/' would make groups of the key in some stores: keys use '|' instead.
std::string ValueKey(const LPluginInfo& info) {
    std::string key = info.id;
    std::replace(key.begin(), key.end(), '/', '|');
    return key;
}

std::vector<std::string> ReadList(LSettingsStore& store, const char* key) {
    std::vector<std::string> out;
    std::istringstream in(store.GetText("Plugins", key, ""));
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty())
            out.push_back(line);
    }
    return out;
}

void WriteList(LSettingsStore& store, const char* key, const std::vector<std::string>& list) {
    std::string text;
    for (const std::string& s : list)
        text += s + "\n";
    store.SetText("Plugins", key, text);
}

}  // namespace

LEffectId PluginEffectId(LPluginKind kind) {
    return kind == LPluginKind::kLv2 ? LEffectId::kLv2Effects : LEffectId::kLadspaPlugins;
}

std::vector<float> RememberedPluginValues(LSettingsStore& store, const LPluginInfo& info) {
    std::vector<float> values = info.DefaultValues();
    ReadPortValues(info, store.GetText(SectionOf(info.kind), ValueKey(info), ""), values);
    return values;
}

void RememberPluginValues(LSettingsStore& store, const LPluginInfo& info,
                          const std::vector<float>& values) {
    store.SetText(SectionOf(info.kind), ValueKey(info), PortValuesText(info, values));
}

std::string PluginKey(const LPluginInfo& info) {
    return std::string(PluginKindWord(info.kind)) + ":" + info.id;
}

std::vector<std::string> FavouritePlugins(LSettingsStore& store) {
    return ReadList(store, "Favourites");
}

void SetFavouritePlugin(LSettingsStore& store, const LPluginInfo& info, bool favourite) {
    std::vector<std::string> list = FavouritePlugins(store);
    const std::string key = PluginKey(info);
    list.erase(std::remove(list.begin(), list.end(), key), list.end());
    if (favourite)
        list.push_back(key);
    WriteList(store, "Favourites", list);
}

std::vector<std::string> RecentPlugins(LSettingsStore& store) {
    return ReadList(store, "Recent");
}

void NoteRecentPlugin(LSettingsStore& store, const LPluginInfo& info) {
    std::vector<std::string> list = RecentPlugins(store);
    const std::string key = PluginKey(info);
    list.erase(std::remove(list.begin(), list.end(), key), list.end());
    list.insert(list.begin(), key);
    if (list.size() > 8)
        list.resize(8);
    WriteList(store, "Recent", list);
}

}  // namespace osmera
