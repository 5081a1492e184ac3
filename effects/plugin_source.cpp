#include "effects/plugin_source.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "core/trace.h"
#include "edit/src_cut_list_audio.h"
#include "effects/block_effect_source.h"
#include "effects/plugin_instance.h"

namespace osmera {

namespace {

// The instances of one plug-in and the buffers their ports are connected to.
struct LPluginRack {
    struct LUnit {
        std::unique_ptr<LPluginInstance> instance;
        std::vector<std::vector<float>> ins, outs;  // per audio port, kPluginMaxBlock frames
        std::vector<float> controlOuts;             // one per port (only outputs are used)
    };
    std::vector<LUnit> units;
    std::vector<float> controls;  // one per port: the values of the control inputs
    bool perChannel = false;      // one unit per channel (else one unit for all channels)
    uint32_t latencyPort = UINT32_MAX;

    bool Build(const LPluginChoice& choice, double rate, int channels, std::string& error) {
        const LPluginInfo& info = choice.info;
        const int ins = info.AudioInputs(), outs = info.AudioOutputs();
        if (ins == 0 || outs == 0) {
            error = info.name + " does not process audio (it has no audio input or output)";
            return false;
        }
        if (channels == 2 && ins >= 2 && outs < 2) {
            error = info.name + " cannot process a stereo file (it has one output)";
            return false;
        }
        perChannel = channels == 2 && ins == 1;
        controls.assign(info.ports.size(), 0.0f);
        const std::vector<const LPluginPort*> list = info.Controls();
        for (size_t i = 0; i < list.size(); ++i) {
            // Values outside the port's range are the caller's choice (a range may be only
            // a slider's), but never NaN.
            const float v = i < choice.values.size() ? choice.values[i] : list[i]->def;
            controls[list[i]->index] = std::isfinite(v) ? v : list[i]->def;
        }
        units.resize(perChannel ? 2 : 1);
        for (LUnit& u : units) {
            u.instance = InstantiatePlugin(info, rate, error);
            if (!u.instance)
                return false;
            u.controlOuts.assign(info.ports.size(), 0.0f);
            for (const LPluginPort& p : info.ports) {
                if (p.other)
                    continue;
                if (p.audio) {
                    auto& set = p.input ? u.ins : u.outs;
                    set.emplace_back(kPluginMaxBlock, 0.0f);
                    u.instance->ConnectPort(p.index, set.back().data());
                } else {
                    u.instance->ConnectPort(p.index,
                                            p.input ? &controls[p.index] : &u.controlOuts[p.index]);
                    if (p.latency)
                        latencyPort = p.index;
                }
            }
        }
        return true;
    }

    // Frames the plug-in holds its output back: read after a first run of silence.
    int32_t MeasureLatency(double rate) {
        if (latencyPort == UINT32_MAX)
            return 0;
        LUnit& u = units.front();
        u.instance->Activate();
        u.instance->Run(256);
        u.instance->Deactivate();
        const float v = u.controlOuts[latencyPort];
        if (!std::isfinite(v) || v < 0.5f)
            return 0;
        return static_cast<int32_t>(std::lround(std::min<double>(v, rate * 10)));
    }
};

class LSRCPluginEffect : public LSRCBlockEffect {
  public:
    LSRCPluginEffect(LSourceRef inner, std::unique_ptr<LPluginRack> rack, int32_t latency)
        : LSRCBlockEffect(std::move(inner), 0, latency), rack_(std::move(rack)) {}

  protected:
    void Process(double* samples, int32_t frames) override {
        const int channels = GetChannels();
        const size_t n = static_cast<size_t>(frames);
        constexpr double kScale = 1.0 / kFullScaleLevel;
        for (size_t u = 0; u < rack_->units.size(); ++u) {
            LPluginRack::LUnit& unit = rack_->units[u];
            // The channels this unit processes: its own, or all of them.
            const int first = rack_->perChannel ? static_cast<int>(u) : 0;
            const int count = rack_->perChannel ? 1 : channels;
            for (size_t k = 0; k < unit.ins.size(); ++k) {
                float* in = unit.ins[k].data();
                if (count == 1 || static_cast<int>(k) < count) {
                    const int c = first + (count == 1 ? 0 : static_cast<int>(k));
                    for (size_t i = 0; i < n; ++i)
                        in[i] = static_cast<float>(samples[i * channels + c] * kScale);
                } else {
                    std::fill(in, in + n, 0.0f);
                }
            }
            unit.instance->Run(static_cast<uint32_t>(frames));
            if (count == 1) {
                // One channel: the mean of the plug-in's outputs.
                const double share = kFullScaleLevel / static_cast<double>(unit.outs.size());
                for (size_t i = 0; i < n; ++i) {
                    double sum = 0;
                    for (const auto& out : unit.outs)
                        sum += Finite(out[i]);
                    samples[i * channels + first] = sum * share;
                }
            } else {
                for (int c = 0; c < channels; ++c) {
                    const float* out = unit.outs[static_cast<size_t>(c)].data();
                    for (size_t i = 0; i < n; ++i)
                        samples[i * channels + c] = Finite(out[i]) * kFullScaleLevel;
                }
            }
        }
    }

    void Reset() override {
        for (LPluginRack::LUnit& u : rack_->units) {
            u.instance->Deactivate();
            u.instance->Activate();
        }
    }

  private:
    // A plug-in that misbehaves must not put NaN into the file.
    static double Finite(float v) { return std::isfinite(v) ? v : 0.0; }

    std::unique_ptr<LPluginRack> rack_;
};

}  // namespace

LSourceRef MakePluginSource(const LPluginChoice& choice, LSourceRef input, std::string& error) {
    if (!input || !input->IsOk()) {
        error = "the audio to process cannot be read";
        return LSourceRef();
    }
    const double rate = input->GetSampleRate();
    auto rack = std::make_unique<LPluginRack>();
    if (!rack->Build(choice, rate, input->GetChannels(), error)) {
        LTracef("MakePluginSource %s: %s", choice.info.id.c_str(), error.c_str());
        return LSourceRef();
    }
    const int32_t latency = rack->MeasureLatency(rate);
    return LSourceRef(new LSRCPluginEffect(std::move(input), std::move(rack), latency));
}

int PumpPlugin(LProgress& progress, const LEffectRequest& request, const LPluginChoice& choice,
               const char* title, std::string& error) {
    if (!request.list)
        return kJobFailed;
    if (request.rangeStart > request.rangeEnd)
        return kJobDone;
    ShowEffectTitle(progress, title);
    LCutListAudio& list = *request.list;
    const LCutListAudio range = CopyRange(list, request.rangeStart, request.rangeEnd);
    LSourceRef effect = MakePluginSource(choice, LSourceRef(range.MakeSource()), error);
    if (!effect)
        return kJobFailed;
    return PumpIntoRange(progress, list, request.rangeStart, request.rangeEnd, effect);
}

}  // namespace osmera
