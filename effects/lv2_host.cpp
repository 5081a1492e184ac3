#include "effects/lv2_host.h"

#include <lilv/lilv.h>
#include <lv2/core/lv2.h>
#include <lv2/port-props/port-props.h>
#include <lv2/presets/presets.h>
#include <lv2/units/units.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>

namespace osmera {

namespace {

std::vector<std::string> SplitPath(const std::string& all) {
    std::vector<std::string> out;
    size_t from = 0;
    for (;;) {
        const size_t colon = all.find(':', from);
        std::string part = all.substr(from, colon - from);
        if (part.rfind("~/", 0) == 0) {
            const char* home = std::getenv("HOME");
            part = home ? std::string(home) + part.substr(1) : "";
        }
        if (!part.empty())
            out.push_back(part);
        if (colon == std::string::npos)
            return out;
        from = colon + 1;
    }
}

std::string JoinPath(const std::vector<std::string>& folders) {
    std::string out;
    for (const std::string& f : folders)
        out += (out.empty() ? "" : ":") + f;
    return out;
}

// The text of a node (a string or number literal, or a URI), "" for null.
std::string Text(const LilvNode* node) {
    if (!node)
        return {};
    if (lilv_node_is_uri(node))
        return lilv_node_as_uri(node);
    return lilv_node_as_string(node) ? lilv_node_as_string(node) : "";
}

// Takes a node that the caller owns.
std::string TakeText(LilvNode* node) {
    std::string out = Text(node);
    lilv_node_free(node);
    return out;
}

struct LNodes {
    explicit LNodes(LilvWorld* w)
        : world(w),
          audio(lilv_new_uri(w, LV2_CORE__AudioPort)),
          control(lilv_new_uri(w, LV2_CORE__ControlPort)),
          input(lilv_new_uri(w, LV2_CORE__InputPort)),
          toggled(lilv_new_uri(w, LV2_CORE__toggled)),
          integer(lilv_new_uri(w, LV2_CORE__integer)),
          enumeration(lilv_new_uri(w, LV2_CORE__enumeration)),
          sampleRate(lilv_new_uri(w, LV2_CORE__sampleRate)),
          logarithmic(lilv_new_uri(w, LV2_PORT_PROPS__logarithmic)),
          unit(lilv_new_uri(w, LV2_UNITS__unit)),
          unitSymbol(lilv_new_uri(w, LV2_UNITS__symbol)),
          preset(lilv_new_uri(w, LV2_PRESETS__Preset)),
          port(lilv_new_uri(w, LV2_CORE__port)),
          symbol(lilv_new_uri(w, LV2_CORE__symbol)),
          value(lilv_new_uri(w, LV2_PRESETS__value)),
          label(lilv_new_uri(w, "http://www.w3.org/2000/01/rdf-schema#label")) {}
    ~LNodes() {
        for (LilvNode* n : {audio, control, input, toggled, integer, enumeration, sampleRate,
                            logarithmic, unit, unitSymbol, preset, port, symbol, value, label})
            lilv_node_free(n);
    }
    LilvWorld* world;
    LilvNode *audio, *control, *input, *toggled, *integer, *enumeration, *sampleRate, *logarithmic,
        *unit, *unitSymbol, *preset, *port, *symbol, *value, *label;
};

// The symbol of a unit: from its own data when the LV2 units vocabulary is loaded, else
// from the usual units' names.
std::string UnitSymbol(const LNodes& n, const LilvNode* unit) {
    if (!unit)
        return {};
    if (lilv_node_is_uri(unit)) {
        std::string symbol = TakeText(lilv_world_get(n.world, unit, n.unitSymbol, nullptr));
        if (!symbol.empty())
            return symbol;
        static const std::map<std::string, std::string> known = {
            {"db", "dB"},      {"hz", "Hz"},        {"khz", "kHz"},
            {"ms", "ms"},      {"s", "s"},          {"pc", "%"},
            {"bpm", "BPM"},    {"cent", "ct"},      {"semitone12TET", "semi"},
            {"degree", "deg"}, {"frame", "frames"}, {"m", "m"},
            {"cm", "cm"}};
        const std::string uri = lilv_node_as_uri(unit);
        const auto at = known.find(uri.substr(uri.find('#') + 1));
        return at == known.end() ? std::string() : at->second;
    }
    // A unit described in place: its symbol.
    return TakeText(lilv_world_get(n.world, unit, n.unitSymbol, nullptr));
}

LPluginPort DescribePort(const LNodes& n, const LilvPlugin* plugin, uint32_t i, float min,
                         float max, float def, uint32_t latencyIndex) {
    const LilvPort* port = lilv_plugin_get_port_by_index(plugin, i);
    LPluginPort p;
    p.index = i;
    p.symbol = Text(lilv_port_get_symbol(plugin, port));
    p.name = TakeText(lilv_port_get_name(plugin, port));
    p.audio = lilv_port_is_a(plugin, port, n.audio);
    p.input = lilv_port_is_a(plugin, port, n.input);
    p.other = !p.audio && !lilv_port_is_a(plugin, port, n.control);
    p.toggled = lilv_port_has_property(plugin, port, n.toggled);
    p.integer = lilv_port_has_property(plugin, port, n.integer) ||
                lilv_port_has_property(plugin, port, n.enumeration);
    p.logarithmic = lilv_port_has_property(plugin, port, n.logarithmic);
    p.latency = i == latencyIndex;
    p.min = std::isnan(min) ? 0.0f : min;
    p.max = std::isnan(max) ? std::max(p.min + 1, 1.0f) : max;
    if (lilv_port_has_property(plugin, port, n.sampleRate)) {
        p.min *= 44100.0f;
        p.max *= 44100.0f;
        def *= 44100.0f;
    }
    p.def = std::isnan(def) ? std::clamp(0.0f, p.min, std::max(p.min, p.max)) : def;
    if (LilvNodes* units = lilv_port_get_value(plugin, port, n.unit)) {
        p.unit = UnitSymbol(n, lilv_nodes_get_first(units));
        lilv_nodes_free(units);
    }
    if (LilvScalePoints* points = lilv_port_get_scale_points(plugin, port)) {
        LILV_FOREACH(scale_points, it, points) {
            const LilvScalePoint* sp = lilv_scale_points_get(points, it);
            p.scalePoints.emplace_back(lilv_node_as_float(lilv_scale_point_get_value(sp)),
                                       Text(lilv_scale_point_get_label(sp)));
        }
        lilv_scale_points_free(points);
        std::sort(p.scalePoints.begin(), p.scalePoints.end());
    }
    return p;
}

// The plug-in's presets, each with the values it gives its ports.
std::vector<LPluginPreset> DescribePresets(const LNodes& n, const LilvPlugin* plugin) {
    std::vector<LPluginPreset> out;
    LilvNodes* presets = lilv_plugin_get_related(plugin, n.preset);
    if (!presets)
        return out;
    LILV_FOREACH(nodes, it, presets) {
        const LilvNode* preset = lilv_nodes_get(presets, it);
        lilv_world_load_resource(n.world, preset);
        LPluginPreset p;
        p.name = TakeText(lilv_world_get(n.world, preset, n.label, nullptr));
        if (p.name.empty())
            p.name = Text(preset);
        if (LilvNodes* ports = lilv_world_find_nodes(n.world, preset, n.port, nullptr)) {
            LILV_FOREACH(nodes, pit, ports) {
                const LilvNode* port = lilv_nodes_get(ports, pit);
                LilvNode* symbol = lilv_world_get(n.world, port, n.symbol, nullptr);
                LilvNode* value = lilv_world_get(n.world, port, n.value, nullptr);
                if (symbol && value && (lilv_node_is_float(value) || lilv_node_is_int(value)))
                    p.values.emplace_back(Text(symbol), lilv_node_as_float(value));
                lilv_node_free(symbol);
                lilv_node_free(value);
            }
            lilv_nodes_free(ports);
        }
        out.push_back(std::move(p));
    }
    lilv_nodes_free(presets);
    std::sort(out.begin(), out.end(),
              [](const LPluginPreset& a, const LPluginPreset& b) { return a.name < b.name; });
    return out;
}

LPluginInfo DescribePlugin(const LNodes& n, const LilvPlugin* plugin, const std::string& bundle) {
    LPluginInfo info;
    info.kind = LPluginKind::kLv2;
    info.id = Text(lilv_plugin_get_uri(plugin));
    info.name = TakeText(lilv_plugin_get_name(plugin));
    info.maker = TakeText(lilv_plugin_get_author_name(plugin));
    info.category = Text(lilv_plugin_class_get_label(lilv_plugin_get_class(plugin)));
    info.path = bundle;
    const uint32_t count = lilv_plugin_get_num_ports(plugin);
    std::vector<float> mins(count), maxs(count), defs(count);
    lilv_plugin_get_port_ranges_float(plugin, mins.data(), maxs.data(), defs.data());
    const uint32_t latency =
        lilv_plugin_has_latency(plugin) ? lilv_plugin_get_latency_port_index(plugin) : UINT32_MAX;
    for (uint32_t i = 0; i < count; ++i)
        info.ports.push_back(DescribePort(n, plugin, i, mins[i], maxs[i], defs[i], latency));
    info.presets = DescribePresets(n, plugin);
    return info;
}

// The bundle folder of a plug-in, as a path without a trailing '/'.
std::string BundleFolder(const LilvPlugin* plugin) {
    char* path = lilv_file_uri_parse(lilv_node_as_uri(lilv_plugin_get_bundle_uri(plugin)), nullptr);
    std::string out = path ? path : "";
    lilv_free(path);
    while (out.size() > 1 && out.back() == '/')
        out.pop_back();
    return out;
}

}  // namespace

std::vector<std::string> Lv2Folders(const std::string& extra) {
    const char* env = std::getenv("LV2_PATH");
    std::vector<std::string> folders =
        SplitPath(env && *env ? env
                              : "~/.lv2:/usr/lib/x86_64-linux-gnu/lv2:/usr/lib/lv2:"
                                "/usr/local/lib/lv2");
    if (!extra.empty())
        folders.push_back(extra);
    return folders;
}

std::vector<std::string> ListLv2Bundles(const std::vector<std::string>& folders) {
    std::set<std::string> found;
    for (const std::string& folder : folders) {
        std::error_code ec;
        for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
            if (entry.is_directory(ec) &&
                std::filesystem::exists(entry.path() / "manifest.ttl", ec))
                found.insert(entry.path().string());
        }
    }
    return {found.begin(), found.end()};
}

void DescribeLv2Bundles(
    const std::vector<std::string>& folders, const std::vector<std::string>& bundles,
    const std::function<void(const std::string& bundle)>& begin,
    const std::function<void(const std::string& bundle, std::vector<LPluginInfo> plugins,
                             const std::string& error)>& done) {
    LilvWorld* world = lilv_world_new();
    LilvNode* path = lilv_new_string(world, JoinPath(folders).c_str());
    lilv_world_set_option(world, LILV_OPTION_LV2_PATH, path);
    lilv_node_free(path);
    lilv_world_load_all(world);
    {
        const LNodes n(world);
        std::map<std::string, std::vector<const LilvPlugin*>> byBundle;
        const LilvPlugins* all = lilv_world_get_all_plugins(world);
        LILV_FOREACH(plugins, it, all) {
            const LilvPlugin* p = lilv_plugins_get(all, it);
            byBundle[BundleFolder(p)].push_back(p);
        }
        for (const std::string& bundle : bundles) {
            begin(bundle);
            std::string key = bundle;
            while (key.size() > 1 && key.back() == '/')
                key.pop_back();
            std::vector<LPluginInfo> plugins;
            for (const LilvPlugin* p : byBundle[key]) {
                if (lilv_plugin_verify(p))
                    plugins.push_back(DescribePlugin(n, p, key));
            }
            done(bundle, std::move(plugins), "");
        }
    }
    lilv_world_free(world);
}

}  // namespace osmera
