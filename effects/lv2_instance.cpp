// Running LV2 plug-ins: InstantiateLv2 of effects/plugin_instance.h.

#include <dlfcn.h>
#include <lilv/lilv.h>
#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <cstring>
#include <map>
#include <mutex>
#include <set>

#include "effects/plugin_instance.h"

namespace osmera {

namespace {

// The process's one lilv world for running plug-ins: only the bundles of the plug-ins
// started so far are loaded into it (reading every bundle is the scan's work). Guarded by
// its mutex; the plug-ins themselves do not touch it.
struct LLv2World {
    std::mutex mutex;
    LilvWorld* world = lilv_world_new();
    std::set<std::string> bundles;

    static LLv2World& Instance() {
        static LLv2World* w = new LLv2World();  // never freed: instances may outlive statics
        return *w;
    }
};

// URIDs shared by every instance: numbers from 1, never forgotten.
class LUridMap {
  public:
    static LV2_URID Map(LV2_URID_Map_Handle, const char* uri) { return Get().Id(uri); }
    static const char* Unmap(LV2_URID_Unmap_Handle, LV2_URID urid) { return Get().Uri(urid); }
    LV2_URID Id(const std::string& uri) {
        std::lock_guard lock(mutex_);
        auto [it, added] = ids_.emplace(uri, static_cast<LV2_URID>(ids_.size() + 1));
        if (added)
            uris_.push_back(&it->first);
        return it->second;
    }
    const char* Uri(LV2_URID urid) {
        std::lock_guard lock(mutex_);
        return urid >= 1 && urid <= uris_.size() ? uris_[urid - 1]->c_str() : nullptr;
    }
    static LUridMap& Get() {
        static LUridMap* m = new LUridMap();
        return *m;
    }

  private:
    std::mutex mutex_;
    std::map<std::string, LV2_URID> ids_;
    std::vector<const std::string*> uris_;
};

// A buffer big enough for an atom sequence port or a CV port.
constexpr uint32_t kOtherPortBytes = kPluginMaxBlock * sizeof(float);

class LLv2Instance : public LPluginInstance {
  public:
    LLv2Instance(const LilvPlugin* plugin, double rate, std::string& error) {
        urid_map_ = {nullptr, &LUridMap::Map};
        urid_unmap_ = {nullptr, &LUridMap::Unmap};
        schedule_ = {this, &LLv2Instance::Schedule};
        maxBlock_ = static_cast<int32_t>(kPluginMaxBlock);
        minBlock_ = 1;
        sampleRate_ = static_cast<float>(rate);
        LUridMap& m = LUridMap::Get();
        const LV2_URID intType = m.Id(LV2_ATOM__Int), floatType = m.Id(LV2_ATOM__Float);
        options_[0] = {LV2_OPTIONS_INSTANCE, 0,       m.Id(LV2_BUF_SIZE__maxBlockLength),
                       sizeof(int32_t),      intType, &maxBlock_};
        options_[1] = {LV2_OPTIONS_INSTANCE, 0,       m.Id(LV2_BUF_SIZE__minBlockLength),
                       sizeof(int32_t),      intType, &minBlock_};
        options_[2] = {
            LV2_OPTIONS_INSTANCE, 0,         m.Id("http://lv2plug.in/ns/ext/parameters#sampleRate"),
            sizeof(float),        floatType, &sampleRate_};
        options_[3] = {LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr};
        features_[0] = {LV2_URID__map, &urid_map_};
        features_[1] = {LV2_URID__unmap, &urid_unmap_};
        features_[2] = {LV2_WORKER__schedule, &schedule_};
        features_[3] = {LV2_OPTIONS__options, options_};
        features_[4] = {LV2_BUF_SIZE__boundedBlockLength, nullptr};
        for (int i = 0; i < 5; ++i)
            featureList_[i] = &features_[i];
        featureList_[5] = nullptr;

        // Every feature the plug-in requires must be one of ours.
        if (LilvNodes* required = lilv_plugin_get_required_features(plugin)) {
            LILV_FOREACH(nodes, it, required) {
                const std::string uri = lilv_node_as_uri(lilv_nodes_get(required, it));
                bool known = uri == LV2_CORE__isLive || uri == LV2_CORE__inPlaceBroken ||
                             uri == LV2_CORE__hardRTCapable;
                for (int i = 0; i < 5; ++i)
                    known = known || uri == features_[i].URI;
                if (!known && error.empty())
                    error = "needs the host feature " + uri;
            }
            lilv_nodes_free(required);
            if (!error.empty())
                return;
        }
        instance_ = lilv_plugin_instantiate(plugin, rate, featureList_);
        if (!instance_) {
            error = "refused to start";
            return;
        }
        // The plug-in's binary stays loaded for the life of the process (lilv would unload
        // it with its last instance): plug-ins may leave threads or handlers behind.
        if (char* binary = lilv_file_uri_parse(
                lilv_node_as_uri(lilv_plugin_get_library_uri(plugin)), nullptr)) {
            dlopen(binary, RTLD_NOW | RTLD_NOLOAD);
            lilv_free(binary);
        }
        worker_ = static_cast<const LV2_Worker_Interface*>(
            lilv_instance_get_extension_data(instance_, LV2_WORKER__interface));
        // Ports other than audio and control get buffers of their own: atom sequences are
        // emptied before each run, CV ports stay silent.
        const uint32_t count = lilv_plugin_get_num_ports(plugin);
        LilvNode* audio = lilv_new_uri(LLv2World::Instance().world, LV2_CORE__AudioPort);
        LilvNode* control = lilv_new_uri(LLv2World::Instance().world, LV2_CORE__ControlPort);
        LilvNode* atom = lilv_new_uri(LLv2World::Instance().world, LV2_ATOM__AtomPort);
        LilvNode* input = lilv_new_uri(LLv2World::Instance().world, LV2_CORE__InputPort);
        for (uint32_t i = 0; i < count; ++i) {
            const LilvPort* port = lilv_plugin_get_port_by_index(plugin, i);
            if (lilv_port_is_a(plugin, port, audio) || lilv_port_is_a(plugin, port, control))
                continue;
            LOther other{i, lilv_port_is_a(plugin, port, atom), lilv_port_is_a(plugin, port, input),
                         std::vector<uint64_t>(kOtherPortBytes / sizeof(uint64_t))};
            others_.push_back(std::move(other));
        }
        lilv_node_free(audio);
        lilv_node_free(control);
        lilv_node_free(atom);
        lilv_node_free(input);
        sequenceType_ = m.Id(LV2_ATOM__Sequence);
        chunkType_ = m.Id(LV2_ATOM__Chunk);
        for (LOther& o : others_)
            lilv_instance_connect_port(instance_, o.index, o.buffer.data());
    }

    ~LLv2Instance() override {
        if (instance_) {
            Deactivate();
            lilv_instance_free(instance_);
        }
    }

    bool Ok() const { return instance_ != nullptr; }

    void ConnectPort(uint32_t index, void* data) override {
        lilv_instance_connect_port(instance_, index, data);
    }
    void Activate() override {
        if (!active_)
            lilv_instance_activate(instance_);
        active_ = true;
    }
    void Deactivate() override {
        if (active_)
            lilv_instance_deactivate(instance_);
        active_ = false;
    }
    void Run(uint32_t frames) override {
        for (LOther& o : others_) {
            if (!o.atom)
                continue;
            auto* a = reinterpret_cast<LV2_Atom*>(o.buffer.data());
            if (o.input) {
                a->size = sizeof(LV2_Atom_Sequence_Body);
                a->type = sequenceType_;
                std::memset(a + 1, 0, sizeof(LV2_Atom_Sequence_Body));
            } else {
                a->size = kOtherPortBytes - sizeof(LV2_Atom);
                a->type = chunkType_;
            }
        }
        lilv_instance_run(instance_, frames);
        // The worker ran synchronously inside run(); its responses come now, in order.
        if (worker_) {
            std::vector<std::vector<uint8_t>> responses;
            responses.swap(responses_);
            for (const auto& r : responses)
                worker_->work_response(lilv_instance_get_handle(instance_),
                                       static_cast<uint32_t>(r.size()), r.data());
            if (worker_->end_run)
                worker_->end_run(lilv_instance_get_handle(instance_));
        }
    }

  private:
    struct LOther {
        uint32_t index;
        bool atom;
        bool input;
        std::vector<uint64_t> buffer;  // 8-byte aligned, as atoms want
    };

    // This host processes offline, so scheduled work is done at once.
    static LV2_Worker_Status Schedule(LV2_Worker_Schedule_Handle handle, uint32_t size,
                                      const void* data) {
        auto* self = static_cast<LLv2Instance*>(handle);
        if (!self->worker_ || !self->instance_)
            return LV2_WORKER_ERR_UNKNOWN;
        return self->worker_->work(lilv_instance_get_handle(self->instance_), &Respond, self, size,
                                   data);
    }
    static LV2_Worker_Status Respond(LV2_Worker_Respond_Handle handle, uint32_t size,
                                     const void* data) {
        auto* self = static_cast<LLv2Instance*>(handle);
        const auto* bytes = static_cast<const uint8_t*>(data);
        self->responses_.emplace_back(bytes, bytes + size);
        return LV2_WORKER_SUCCESS;
    }

    LilvInstance* instance_ = nullptr;
    const LV2_Worker_Interface* worker_ = nullptr;
    bool active_ = false;
    LV2_URID_Map urid_map_;
    LV2_URID_Unmap urid_unmap_;
    LV2_Worker_Schedule schedule_;
    int32_t maxBlock_, minBlock_;
    float sampleRate_;
    LV2_Options_Option options_[4];
    LV2_Feature features_[5];
    const LV2_Feature* featureList_[6];
    std::vector<LOther> others_;
    std::vector<std::vector<uint8_t>> responses_;
    LV2_URID sequenceType_ = 0, chunkType_ = 0;
};

}  // namespace

std::unique_ptr<LPluginInstance> InstantiateLv2(const LPluginInfo& info, double sampleRate,
                                                std::string& error) {
    LLv2World& w = LLv2World::Instance();
    std::lock_guard lock(w.mutex);
    if (w.bundles.insert(info.path).second) {
        LilvNode* bundle = lilv_new_file_uri(w.world, nullptr, (info.path + "/").c_str());
        lilv_world_load_bundle(w.world, bundle);
        lilv_node_free(bundle);
    }
    LilvNode* uri = lilv_new_uri(w.world, info.id.c_str());
    const LilvPlugin* plugin =
        uri ? lilv_plugins_get_by_uri(lilv_world_get_all_plugins(w.world), uri) : nullptr;
    lilv_node_free(uri);
    if (!plugin) {
        error = info.path + " holds no plug-in " + info.id;
        return nullptr;
    }
    if (lilv_plugin_get_num_ports(plugin) != info.ports.size()) {
        error = info.id + " has changed since it was scanned";
        return nullptr;
    }
    auto instance = std::make_unique<LLv2Instance>(plugin, sampleRate, error);
    if (!instance->Ok()) {
        if (error.empty())
            error = "refused to start";
        return nullptr;
    }
    return instance;
}

}  // namespace osmera
