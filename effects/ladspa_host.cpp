#include "effects/ladspa_host.h"

#include <dlfcn.h>
#include <ladspa.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <set>

#include "effects/plugin_instance.h"

namespace osmera {

std::vector<std::string> LadspaFolders(const std::string& extra) {
    std::vector<std::string> folders;
    const char* env = std::getenv("LADSPA_PATH");
    if (env && *env) {
        std::string all = env;
        size_t from = 0;
        for (;;) {
            const size_t colon = all.find(':', from);
            const std::string part = all.substr(from, colon - from);
            if (!part.empty())
                folders.push_back(part);
            if (colon == std::string::npos)
                break;
            from = colon + 1;
        }
    } else {
        folders = {"/usr/lib/ladspa", "/usr/local/lib/ladspa"};
    }
    if (!extra.empty())
        folders.push_back(extra);
    return folders;
}

std::vector<std::string> ListLadspaLibraries(const std::vector<std::string>& folders) {
    std::set<std::string> found;
    for (const std::string& folder : folders) {
        std::error_code ec;
        for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
            if (entry.path().extension() == ".so" && entry.is_regular_file(ec))
                found.insert(entry.path().string());
        }
    }
    return {found.begin(), found.end()};
}

namespace {

// A LADSPA port has only a name: its symbol is the name in lower case with every run of
// other characters than letters and digits made one '_'.
std::string SymbolOf(const std::string& name) {
    std::string out;
    for (char c : name) {
        if (std::isalnum(static_cast<unsigned char>(c)))
            out += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        else if (!out.empty() && out.back() != '_')
            out += '_';
    }
    while (!out.empty() && out.back() == '_')
        out.pop_back();
    return out.empty() ? "port" : out;
}

// Between a and b at fraction t, on a log scale when asked and possible.
float Between(float a, float b, float t, bool log) {
    if (log && a > 0 && b > 0)
        return std::exp(std::log(a) * (1 - t) + std::log(b) * t);
    return a * (1 - t) + b * t;
}

LPluginPort DescribePort(const LADSPA_Descriptor& d, unsigned long i, double rate) {
    LPluginPort p;
    const LADSPA_PortDescriptor pd = d.PortDescriptors[i];
    const LADSPA_PortRangeHint& h = d.PortRangeHints[i];
    const LADSPA_PortRangeHintDescriptor hint = h.HintDescriptor;
    p.index = static_cast<uint32_t>(i);
    p.name = d.PortNames[i] ? d.PortNames[i] : "";
    p.audio = LADSPA_IS_PORT_AUDIO(pd);
    p.input = LADSPA_IS_PORT_INPUT(pd);
    p.toggled = LADSPA_IS_HINT_TOGGLED(hint);
    p.integer = LADSPA_IS_HINT_INTEGER(hint);
    p.logarithmic = LADSPA_IS_HINT_LOGARITHMIC(hint);
    const float scale = LADSPA_IS_HINT_SAMPLE_RATE(hint) ? static_cast<float>(rate) : 1.0f;
    p.min = LADSPA_IS_HINT_BOUNDED_BELOW(hint) ? h.LowerBound * scale : 0.0f;
    // An unbounded port still needs a range for its slider; values beyond it are allowed.
    p.max = LADSPA_IS_HINT_BOUNDED_ABOVE(hint) ? h.UpperBound * scale : std::max(p.min + 1, 10.0f);
    if (p.toggled) {
        p.min = 0;
        p.max = 1;
    }
    switch (hint & LADSPA_HINT_DEFAULT_MASK) {
        case LADSPA_HINT_DEFAULT_MINIMUM:
            p.def = p.min;
            break;
        case LADSPA_HINT_DEFAULT_LOW:
            p.def = Between(p.min, p.max, 0.25f, p.logarithmic);
            break;
        case LADSPA_HINT_DEFAULT_MIDDLE:
            p.def = Between(p.min, p.max, 0.5f, p.logarithmic);
            break;
        case LADSPA_HINT_DEFAULT_HIGH:
            p.def = Between(p.min, p.max, 0.75f, p.logarithmic);
            break;
        case LADSPA_HINT_DEFAULT_MAXIMUM:
            p.def = p.max;
            break;
        case LADSPA_HINT_DEFAULT_0:
            p.def = 0;
            break;
        case LADSPA_HINT_DEFAULT_1:
            p.def = 1;
            break;
        case LADSPA_HINT_DEFAULT_100:
            p.def = 100;
            break;
        case LADSPA_HINT_DEFAULT_440:
            p.def = 440;
            break;
        default:
            p.def = std::clamp(0.0f, p.min, p.max);
            break;
    }
    if (p.integer)
        p.def = std::round(p.def);
    p.symbol = SymbolOf(p.name);
    p.latency = !p.audio && !p.input && (p.symbol == "latency" || p.symbol == "_latency");
    return p;
}

using DescriptorFn = const LADSPA_Descriptor* (*)(unsigned long);

DescriptorFn OpenLibrary(const std::string& path, void*& handle, std::string& error) {
    handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* why = dlerror();
        error = why ? why : "cannot be loaded";
        return nullptr;
    }
    auto fn = reinterpret_cast<DescriptorFn>(dlsym(handle, "ladspa_descriptor"));
    if (!fn) {
        error = path + " is not a LADSPA library";
        dlclose(handle);
        handle = nullptr;
    }
    return fn;
}

class LLadspaInstance : public LPluginInstance {
  public:
    LLadspaInstance(const LADSPA_Descriptor* d, LADSPA_Handle h) : d_(d), h_(h) {}
    ~LLadspaInstance() override {
        if (active_ && d_->deactivate)
            d_->deactivate(h_);
        d_->cleanup(h_);
        // The library stays loaded for the life of the process: plug-ins may leave threads
        // or handlers behind, and unloading them is where hosts crash.
    }
    void ConnectPort(uint32_t index, void* data) override {
        d_->connect_port(h_, index, static_cast<LADSPA_Data*>(data));
    }
    void Activate() override {
        if (!active_ && d_->activate)
            d_->activate(h_);
        active_ = true;
    }
    void Deactivate() override {
        if (active_ && d_->deactivate)
            d_->deactivate(h_);
        active_ = false;
    }
    void Run(uint32_t frames) override { d_->run(h_, frames); }

  private:
    const LADSPA_Descriptor* d_;
    LADSPA_Handle h_;
    bool active_ = false;
};

}  // namespace

bool DescribeLadspaLibrary(const std::string& path, double sampleRate,
                           std::vector<LPluginInfo>& out, std::string& error) {
    void* handle = nullptr;
    DescriptorFn fn = OpenLibrary(path, handle, error);
    if (!fn)
        return false;
    for (unsigned long n = 0;; ++n) {
        const LADSPA_Descriptor* d = fn(n);
        if (!d)
            break;
        LPluginInfo info;
        info.kind = LPluginKind::kLadspa;
        info.id = d->Label ? d->Label : "";
        info.uniqueId = static_cast<uint32_t>(d->UniqueID);
        info.name = d->Name ? d->Name : info.id;
        info.maker = d->Maker ? d->Maker : "";
        info.path = path;
        for (unsigned long i = 0; i < d->PortCount; ++i)
            info.ports.push_back(DescribePort(*d, i, sampleRate));
        // A second port of the same name gets a number, so that every symbol is one port.
        for (size_t i = 0; i < info.ports.size(); ++i) {
            int copies = 1;
            for (size_t j = 0; j < i; ++j) {
                if (info.ports[j].symbol == info.ports[i].symbol)
                    ++copies;
            }
            if (copies > 1)
                info.ports[i].symbol += "_" + std::to_string(copies);
        }
        out.push_back(std::move(info));
    }
    dlclose(handle);
    return true;
}

std::unique_ptr<LPluginInstance> InstantiateLadspa(const LPluginInfo& info, double sampleRate,
                                                   std::string& error) {
    void* handle = nullptr;
    DescriptorFn fn = OpenLibrary(info.path, handle, error);
    if (!fn)
        return nullptr;
    for (unsigned long n = 0;; ++n) {
        const LADSPA_Descriptor* d = fn(n);
        if (!d)
            break;
        if (!d->Label || info.id != d->Label)
            continue;
        if (d->PortCount != info.ports.size()) {
            error = info.id + " in " + info.path + " has changed since it was scanned";
            break;
        }
        LADSPA_Handle h = d->instantiate(d, static_cast<unsigned long>(sampleRate));
        if (!h) {
            error = "refused to start";
            break;
        }
        return std::make_unique<LLadspaInstance>(d, h);
    }
    if (error.empty())
        error = info.path + " holds no plug-in " + info.id;
    dlclose(handle);
    return nullptr;
}

std::unique_ptr<LPluginInstance> InstantiatePlugin(const LPluginInfo& info, double sampleRate,
                                                   std::string& error) {
    return info.kind == LPluginKind::kLv2 ? InstantiateLv2(info, sampleRate, error)
                                          : InstantiateLadspa(info, sampleRate, error);
}

}  // namespace osmera
