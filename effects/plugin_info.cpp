#include "effects/plugin_info.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <sstream>

namespace osmera {

const char* PluginKindWord(LPluginKind kind) {
    return kind == LPluginKind::kLv2 ? "lv2" : "ladspa";
}

int LPluginInfo::AudioInputs() const {
    return static_cast<int>(std::count_if(ports.begin(), ports.end(),
                                          [](const LPluginPort& p) { return p.audio && p.input; }));
}

int LPluginInfo::AudioOutputs() const {
    return static_cast<int>(std::count_if(
        ports.begin(), ports.end(), [](const LPluginPort& p) { return p.audio && !p.input; }));
}

std::vector<const LPluginPort*> LPluginInfo::Controls() const {
    std::vector<const LPluginPort*> out;
    for (const LPluginPort& p : ports) {
        if (!p.audio && !p.other && p.input)
            out.push_back(&p);
    }
    return out;
}

static bool SameText(const std::string& a, const std::string& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

const LPluginPort* LPluginInfo::FindPort(const std::string& key) const {
    for (const LPluginPort& p : ports) {
        if (p.symbol == key)
            return &p;
    }
    for (const LPluginPort& p : ports) {
        if (SameText(p.name, key) || SameText(p.symbol, key))
            return &p;
    }
    return nullptr;
}

std::vector<float> LPluginInfo::DefaultValues() const {
    std::vector<float> out;
    for (const LPluginPort* p : Controls())
        out.push_back(p->def);
    return out;
}

namespace {

std::string Escape(const std::string& s) {
    std::string out;
    for (char c : s) {
        if (c == '\\')
            out += "\\\\";
        else if (c == '\t')
            out += "\\t";
        else if (c == '\n')
            out += "\\n";
        else
            out += c;
    }
    return out;
}

std::string Unescape(const std::string& s) {
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '\\' && i + 1 < s.size()) {
            const char c = s[++i];
            out += c == 't' ? '\t' : c == 'n' ? '\n' : c;
        } else {
            out += s[i];
        }
    }
    return out;
}

// The shortest text that reads back as the same float.
std::string Number(float v) {
    char buf[32];
    const auto r = std::to_chars(buf, buf + sizeof buf, v);
    return std::string(buf, r.ptr);
}

bool ParseFloat(const std::string& s, float& v) {
    if (s.empty())
        return false;
    char* end = nullptr;
    v = std::strtof(s.c_str(), &end);
    return end && *end == '\0';
}

std::vector<std::string> Fields(const std::string& line) {
    std::vector<std::string> out;
    size_t from = 0;
    for (;;) {
        const size_t tab = line.find('\t', from);
        out.push_back(Unescape(line.substr(from, tab - from)));
        if (tab == std::string::npos)
            return out;
        from = tab + 1;
    }
}

void Line(std::string& out, std::initializer_list<std::string> fields) {
    bool first = true;
    for (const std::string& f : fields) {
        if (!first)
            out += '\t';
        out += Escape(f);
        first = false;
    }
    out += '\n';
}

}  // namespace

void WritePluginInfo(const LPluginInfo& info, std::string& out) {
    Line(out, {"P", PluginKindWord(info.kind), info.id, std::to_string(info.uniqueId), info.name,
               info.maker, info.category, info.path});
    for (const LPluginPort& p : info.ports) {
        std::string flags;
        flags += p.audio ? 'a' : 'c';
        flags += p.input ? 'i' : 'o';
        if (p.other)
            flags += 'x';
        if (p.toggled)
            flags += 't';
        if (p.integer)
            flags += 'n';
        if (p.logarithmic)
            flags += 'g';
        if (p.latency)
            flags += 'L';
        Line(out, {"o", std::to_string(p.index), flags, p.symbol, p.name, Number(p.min),
                   Number(p.max), Number(p.def), p.unit});
        for (const auto& [value, label] : p.scalePoints)
            Line(out, {"s", Number(value), label});
    }
    for (const LPluginPreset& preset : info.presets) {
        Line(out, {"r", preset.name});
        for (const auto& [symbol, value] : preset.values)
            Line(out, {"v", symbol, Number(value)});
    }
    Line(out, {"E"});
}

bool ReadPluginInfos(const std::string& text, std::vector<LPluginInfo>& out) {
    std::istringstream in(text);
    std::string line;
    LPluginInfo current;
    bool open = false;
    while (std::getline(in, line)) {
        const std::vector<std::string> f = Fields(line);
        const std::string& tag = f[0];
        if (tag == "P") {
            if (open || f.size() != 8)
                return false;
            current = LPluginInfo();
            current.kind = f[1] == "lv2" ? LPluginKind::kLv2 : LPluginKind::kLadspa;
            current.id = f[2];
            current.uniqueId = static_cast<uint32_t>(std::strtoul(f[3].c_str(), nullptr, 10));
            current.name = f[4];
            current.maker = f[5];
            current.category = f[6];
            current.path = f[7];
            open = true;
        } else if (tag == "o") {
            if (!open || f.size() != 9 || f[2].size() < 2)
                return false;
            LPluginPort p;
            p.index = static_cast<uint32_t>(std::strtoul(f[1].c_str(), nullptr, 10));
            const std::string& flags = f[2];
            p.audio = flags[0] == 'a';
            p.input = flags[1] == 'i';
            p.other = flags.find('x') != std::string::npos;
            p.toggled = flags.find('t') != std::string::npos;
            p.integer = flags.find('n') != std::string::npos;
            p.logarithmic = flags.find('g') != std::string::npos;
            p.latency = flags.find('L') != std::string::npos;
            p.symbol = f[3];
            p.name = f[4];
            if (!ParseFloat(f[5], p.min) || !ParseFloat(f[6], p.max) || !ParseFloat(f[7], p.def))
                return false;
            p.unit = f[8];
            current.ports.push_back(std::move(p));
        } else if (tag == "s") {
            float v = 0;
            if (!open || current.ports.empty() || f.size() != 3 || !ParseFloat(f[1], v))
                return false;
            current.ports.back().scalePoints.emplace_back(v, f[2]);
        } else if (tag == "r") {
            if (!open || f.size() != 2)
                return false;
            current.presets.push_back({f[1], {}});
        } else if (tag == "v") {
            float v = 0;
            if (!open || current.presets.empty() || f.size() != 3 || !ParseFloat(f[2], v))
                return false;
            current.presets.back().values.emplace_back(f[1], v);
        } else if (tag == "E") {
            if (!open)
                return false;
            out.push_back(std::move(current));
            open = false;
        }
    }
    return !open;
}

std::string ApplyPortWords(const LPluginInfo& info, const std::vector<std::string>& words,
                           std::vector<float>& values) {
    const std::vector<const LPluginPort*> controls = info.Controls();
    values.resize(controls.size());
    for (const std::string& word : words) {
        const size_t eq = word.find('=');
        if (eq == std::string::npos || eq == 0)
            return "\"" + word + "\" is not PORT=VALUE";
        const std::string key = word.substr(0, eq);
        float value = 0;
        if (!ParseFloat(word.substr(eq + 1), value))
            return "the value of " + key + " is not a number";
        const LPluginPort* port = info.FindPort(key);
        const auto at = std::find(controls.begin(), controls.end(), port);
        if (!port || at == controls.end())
            return info.name + " has no control input " + key;
        values[static_cast<size_t>(at - controls.begin())] = value;
    }
    return {};
}

std::string PortValuesText(const LPluginInfo& info, const std::vector<float>& values) {
    std::string out;
    const std::vector<const LPluginPort*> controls = info.Controls();
    for (size_t i = 0; i < controls.size() && i < values.size(); ++i) {
        if (!out.empty())
            out += ' ';
        out += controls[i]->symbol + "=" + Number(values[i]);
    }
    return out;
}

void ReadPortValues(const LPluginInfo& info, const std::string& text, std::vector<float>& values) {
    const std::vector<const LPluginPort*> controls = info.Controls();
    values.resize(controls.size());
    std::istringstream in(text);
    std::string word;
    while (in >> word) {
        const size_t eq = word.find('=');
        float v = 0;
        if (eq == std::string::npos || !ParseFloat(word.substr(eq + 1), v))
            continue;
        const std::string symbol = word.substr(0, eq);
        for (size_t i = 0; i < controls.size(); ++i) {
            if (controls[i]->symbol == symbol)
                values[i] = v;
        }
    }
}

}  // namespace osmera
