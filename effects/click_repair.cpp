#include "effects/click_repair.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <vector>

#include "core/trace.h"
#include "edit/snk_cut_list_audio.h"
#include "edit/src_cut_list_audio.h"
#include "effects/click_repair_batch.h"
#include "effects/effect_table.h"

namespace osmera {

namespace {

constexpr int32_t kReadFrames = 8192;

int64_t Abs64(int32_t v) {
    return v < 0 ? -int64_t{v} : int64_t{v};
}

int32_t Saturate32(int64_t v) {
    return static_cast<int32_t>(std::clamp<int64_t>(v, std::numeric_limits<int32_t>::min(),
                                                    std::numeric_limits<int32_t>::max()));
}

}  // namespace

LBiquadCoefficients ClickHighPassCoefficients(int32_t sampleRate) {
    const double w = 2.0 * std::numbers::pi * 1500.0 / (sampleRate > 0 ? sampleRate : 44100);
    const double c = std::cos(w);
    const double alpha = std::sin(w) / 1.414;
    const double a0 = 1.0 + alpha;
    constexpr double kUnity = 16777216.0;
    auto fix = [](double v) { return static_cast<int32_t>(std::llround(v)); };
    const int32_t b0 = fix(kUnity * ((1.0 + c) / 2.0) / a0);
    return {b0, fix(kUnity * (-(1.0 + c)) / a0), b0, fix(kUnity * (-2.0 * c) / a0),
            fix(kUnity * (1.0 - alpha) / a0)};
}

LSRCClickHighPass::LSRCClickHighPass(LSourceRef inner)
    : LSRCWrapBase(std::move(inner)),
      k_(ClickHighPassCoefficients(GetSampleRate())),
      state_(size_t{GetChannels()} * 4, 0) {}

void LSRCClickHighPass::Seek(int32_t position) {
    inner_->Seek(position);
    std::fill(state_.begin(), state_.end(), 0);
}

void LSRCClickHighPass::Read(int32_t* buffer, int32_t frames) {
    inner_->Read(buffer, frames);
    const size_t channels = GetChannels();
    for (int32_t f = 0; f < frames; ++f) {
        for (size_t c = 0; c < channels; ++c) {
            int64_t* s = &state_[c * 4];  // x1, x2, y1, y2
            int32_t& sample = buffer[static_cast<size_t>(f) * channels + c];
            const int64_t x = sample;
            const int64_t acc =
                k_.b0 * x + k_.b1 * s[0] + k_.b2 * s[1] - k_.a1 * s[2] - k_.a2 * s[3];
            const int32_t y = Saturate32(acc >> 24);
            s[1] = s[0];
            s[0] = x;
            s[3] = s[2];
            s[2] = y;
            sample = y;
        }
    }
}

LClickSettings ReadClickSettings(LSettingsStore& settings) {
    LClickSettings s;
    s.sensitivity = settings.GetInt("Settings", "ClickSensitivity", 50);
    s.maxClickUs = settings.GetInt("Settings", "MaxClickLength", 150);
    return s;
}

int32_t ClickBlockFrames(int32_t sampleRate) {
    return (sampleRate / 100 + 4) / 4 * 4;
}

int32_t ClickLag(int32_t sampleRate) {
    return sampleRate / 44100 + 1;
}

void DetectClicks(const int32_t* frames, uint8_t channels, uint8_t channel, int32_t n,
                  int64_t position, int32_t sampleRate, const LClickSettings& settings,
                  const std::function<void(int64_t, int64_t)>& repair) {
    const int32_t lag = ClickLag(sampleRate);
    if (n <= lag)
        return;
    auto x = [&](int32_t i) { return Abs64(frames[static_cast<size_t>(i) * channels + channel]); };
    auto jump = [&](int32_t i) {
        return std::abs(int64_t{frames[static_cast<size_t>(i) * channels + channel]} -
                        frames[static_cast<size_t>(i - lag) * channels + channel]);
    };
    int64_t sumLevel = 0;
    for (int32_t i = 0; i < n; ++i)
        sumLevel += x(i);
    const int64_t meanLevel = sumLevel / n;
    int64_t sumJump = 0;
    for (int32_t i = lag; i < n; ++i)
        sumJump += jump(i);
    const int64_t meanJump = sumJump / (n - lag);
    double spreadSum = 0.0;
    for (int32_t i = lag; i < n; ++i) {
        const double d = static_cast<double>(jump(i) - meanJump);
        spreadSum += d * d;
    }
    const auto spread = static_cast<int64_t>(std::sqrt(spreadSum / (n - lag)));
    const int64_t s = std::max<int64_t>(100 - int64_t{settings.sensitivity}, 1);
    int64_t levelThreshold = (meanLevel * s) / 50 + meanJump;
    int64_t jumpThreshold = ((spread * s) / 50 + meanJump + 100) * (s / 10);
    const int64_t longest = (int64_t{settings.maxClickUs} * sampleRate) / 1000000;

    int32_t i = n / 4 + lag;
    const int32_t stop = n / 2 + n / 4 + lag;
    while (i < stop && i < n) {
        const int64_t a = x(i);
        if (!(x(i) - x(i - lag) > jumpThreshold && a > levelThreshold)) {
            ++i;
            continue;
        }
        const int64_t start = position + i - lag;
        int32_t j = i + 1;
        int64_t k = 1;
        bool blockEnded = false;
        bool loud = false;
        for (;;) {
            if (k >= longest) {
                loud = true;
                break;
            }
            if (j >= n) {
                blockEnded = true;
                break;
            }
            if (x(j) < a / 3)
                break;
            ++j;
            ++k;
        }
        if (blockEnded)
            return;
        if (loud) {
            // Loud material, not a click: be less sensitive for the rest of this block.
            jumpThreshold += jumpThreshold / 2;
            levelThreshold += levelThreshold / 2;
            i = std::max(j, i + 1);
            continue;
        }
        // The span runs from the lag before the rising edge to the lag after the first frame
        // that fell back below a third of the peak, so both of its end points lie outside
        // the click.
        repair(start, position + j + lag);
        i = j + lag;
    }
}

bool ClipRepairSpan(int64_t a, int64_t b, int64_t length, int64_t& lo, int64_t& hi) {
    lo = std::max<int64_t>(std::min(a, b), 0);
    hi = std::min<int64_t>(std::max(a, b), length);
    return hi > lo;
}

void DrawRepairLine(int32_t* frames, uint8_t channels, uint8_t channel, int32_t n) {
    const int64_t first = frames[channel];
    const int64_t last = frames[static_cast<size_t>(n + 1) * channels + channel];
    for (int64_t k = 1; k <= n; ++k) {
        frames[static_cast<size_t>(k) * channels + channel] =
            static_cast<int32_t>(((n + 1 - k) * first + k * last) / (n + 1));
    }
}

void RepairSpan(LCutListAudio& list, uint8_t channel, int64_t a, int64_t b) {
    const uint8_t channels = list.GetChannels();
    int64_t lo = 0;
    int64_t hi = 0;
    if (channel >= channels || !ClipRepairSpan(a, b, list.GetLength(), lo, hi))
        return;
    const auto n = static_cast<int32_t>(hi - lo);
    std::vector<int32_t> frames(static_cast<size_t>(n + 2) * channels);
    {
        auto source = list.MakeSource();
        source->Seek(static_cast<int32_t>(lo - 1));
        source->Read(frames.data(), n + 2);
    }
    DrawRepairLine(frames.data(), channels, channel, n);
    LCutListAudio patch(list.GetSampleRate(), channels);
    bool failed = false;
    {
        auto sink = patch.MakeSink(static_cast<int32_t>(list.GetSampleRate()), channels);
        sink->Write(frames.data() + channels, n);
        failed = sink->IsError();
    }
    if (failed) {
        LTrace("RepairSpan patch could not be written");
        return;
    }
    list.EfPasteOver(static_cast<int32_t>(lo), static_cast<int32_t>(hi), patch);
}

bool ScanForClicks(LProgress& progress, const LCutListAudio& list, int32_t start, int32_t end,
                   const LClickSettings& settings,
                   const std::function<void(uint8_t, int64_t, int64_t)>& found) {
    const int32_t rate = static_cast<int32_t>(list.GetSampleRate());
    const uint8_t channels = list.GetChannels();
    LSRCClickHighPass filtered(list.MakeSource());
    filtered.Seek(start);

    const int32_t u = ClickBlockFrames(rate);
    const int32_t bufferFrames = 16 * u;
    std::vector<int32_t> buffer(static_cast<size_t>(bufferFrames) * channels, 0);
    int32_t readPoint = bufferFrames - u / 4;  // the last u/4 frames stand before the range
    int64_t sourcePos = start;                 // the next frame the filter delivers
    const double hopFraction = (u / 2) / static_cast<double>(int64_t{end} - start);
    double fraction = 0.0;
    for (int64_t pos = int64_t{start} - u / 4; pos < end; pos += u / 2) {
        fraction = std::min(fraction + hopFraction, 1.0);
        progress.SetFraction(fraction);
        if (progress.IsCancelled())
            return false;
        if (bufferFrames - readPoint < u) {
            const int32_t keep = bufferFrames - readPoint;
            std::memmove(buffer.data(), buffer.data() + static_cast<size_t>(readPoint) * channels,
                         static_cast<size_t>(keep) * channels * sizeof(int32_t));
            readPoint = 0;
            for (int32_t filled = keep; filled < bufferFrames;) {
                const int32_t n = std::min(bufferFrames - filled, kReadFrames);
                int32_t* out = buffer.data() + static_cast<size_t>(filled) * channels;
                filtered.Read(out, n);
                // Frames past the range end are zero.
                const int64_t inRange = std::clamp<int64_t>(end - sourcePos, 0, n);
                std::fill(out + inRange * channels, out + static_cast<size_t>(n) * channels, 0);
                sourcePos += n;
                filled += n;
            }
        }
        const int32_t* block = buffer.data() + static_cast<size_t>(readPoint) * channels;
        for (uint8_t c = 0; c < channels; ++c) {
            DetectClicks(block, channels, c, u, pos, rate, settings,
                         [&](int64_t a, int64_t b) { found(c, a, b); });
        }
        readPoint += u / 2;
    }
    return true;
}

int AutoClickRepair(LProgress& progress, const LEffectRequest& request,
                    const LClickSettings& settings, int32_t* repairs) {
    if (repairs)
        *repairs = 0;
    if (!request.list || request.list->GetChannels() == 0 ||
        request.rangeEnd <= request.rangeStart) {
        LTrace("AutoClickRepair empty range");
        return kJobFailed;
    }
    ShowEffectTitle(progress, GetEffectInfo(LEffectId::kAutoClickPop).progressTitle);
    LCutListAudio& list = *request.list;
    // The detector reads the list as it was when the run began, so the repairs can wait for
    // the end of the scan and go into one cut.
    LClickRepairBatch batch(list);
    ScanForClicks(progress, list, request.rangeStart, request.rangeEnd, settings,
                  [&](uint8_t c, int64_t a, int64_t b) { batch.Repair(c, a, b); });
    if (!batch.Apply(list)) {
        LTrace("AutoClickRepair repairs could not be written");
        return kJobFailed;
    }
    if (repairs)
        *repairs = batch.GetCount();
    return kJobDone;
}

bool ManualRepairFits(int64_t frames, int32_t sampleRate) {
    return static_cast<double>(frames) <= sampleRate * 0.001;
}

LManualRepairResult ManualClickRepair(LCutListAudio& list, int32_t start, int32_t end) {
    if (end <= start)
        return LManualRepairResult::kEmpty;
    if (!ManualRepairFits(int64_t{end} - start, static_cast<int32_t>(list.GetSampleRate()))) {
        LTrace("ManualClickRepair selection longer than one millisecond");
        return LManualRepairResult::kTooLong;
    }
    for (uint8_t c = 0; c < list.GetChannels(); ++c)
        RepairSpan(list, c, start, end);
    return LManualRepairResult::kRepaired;
}

}  // namespace osmera
