#include "effects/level_effects.h"

#include <algorithm>
#include <cmath>

#include "core/file.h"
#include "core/pr_source_to_sink.h"
#include "core/trace.h"
#include "edit/cut_gain.h"
#include "edit/src_cut_list_audio.h"
#include "effects/effect_table.h"

namespace osmera {

namespace {

constexpr int32_t kBlock = LPRSourceToSink::kBlockFrames;
// A full-scale 16-bit sample (32767) in stream units: the level normalize aims at.
constexpr int64_t kFullScale = 524272;

// The end of an envelope segment whose point is at `x`: x * total / 255 without overflow.
int64_t SegmentEnd(int64_t total, uint8_t x) {
    return (total / 255) * x + ((total % 255) * x) / 255;
}

int32_t PointGain(uint8_t y) {
    return int32_t{y} << 17;
}

}  // namespace

LPointList FadeInPoints() {
    return {{0, 0}, {255, 128}};
}

LPointList FadeOutPoints() {
    return {{0, 128}, {255, 0}};
}

LPointList FlatPoints() {
    return {{0, 128}, {255, 128}};
}

bool LoadPointList(const std::string& path, LPointList& points) {
    LFile file;
    if (!file.Open(path, LFile::Mode::kRead)) {
        LTracef("LoadPointList cannot open %s", path.c_str());
        return false;
    }
    uint8_t n = 0;
    if (file.Read(&n, 1) != 1 || n < 2) {
        LTracef("LoadPointList too few points in %s", path.c_str());
        return false;
    }
    std::vector<uint8_t> bytes(size_t{n} * 2);
    if (file.Read(bytes.data(), static_cast<int64_t>(bytes.size())) !=
        static_cast<int64_t>(bytes.size())) {
        LTracef("LoadPointList file cut short %s", path.c_str());
        return false;
    }
    points.clear();
    for (size_t i = 0; i < n; ++i)
        points.push_back({bytes[2 * i], bytes[2 * i + 1]});
    return true;
}

bool SavePointList(const std::string& path, const LPointList& points) {
    if (points.size() < 2 || points.size() > 255) {
        LTrace("SavePointList needs 2 to 255 points");
        return false;
    }
    std::vector<uint8_t> bytes{static_cast<uint8_t>(points.size())};
    for (const LEnvelopePoint& p : points) {
        bytes.push_back(p.x);
        bytes.push_back(p.y);
    }
    LFile file;
    if (!file.Open(path, LFile::Mode::kCreate) ||
        !file.Write(bytes.data(), static_cast<int64_t>(bytes.size()))) {
        LTracef("SavePointList cannot write %s", path.c_str());
        return false;
    }
    return true;
}

void Amplify(LCutListAudio& list, int32_t start, int32_t end, int32_t percent) {
    if (start > end || percent == 100)
        return;
    list.EfAmplify(start, end, percent);
}

int32_t NormalizeGain(int32_t levelPercent, int64_t peak) {
    if (peak <= 0)
        return 100;
    const int64_t p = (int64_t{levelPercent} * kFullScale) / peak;
    return static_cast<int32_t>(std::min<int64_t>(p, 400));
}

int Normalize(LProgress& progress, const LEffectRequest& request) {
    if (!request.list || request.params.empty()) {
        LTrace("Normalize request without list or level");
        return kJobFailed;
    }
    if (request.rangeStart >= request.rangeEnd)
        return kJobDone;
    ShowEffectTitle(progress, GetEffectInfo(LEffectId::kNormalize).progressTitle);
    LSourceRef source = request.list->MakeSource();
    const size_t channels = source->GetChannels();
    int64_t peak = 0;
    const int result = RangePump(progress, source, LSinkRef(), request.rangeStart, request.rangeEnd,
                                 [&](int32_t* samples, int32_t n) {
                                     const auto [lo, hi] =
                                         std::minmax_element(samples, samples + n * channels);
                                     peak = std::max({peak, int64_t{*hi}, -int64_t{*lo}});
                                 });
    if (result != kJobDone)
        return result;
    if (peak > 0)
        Amplify(*request.list, request.rangeStart, request.rangeEnd,
                NormalizeGain(request.params[0], peak));
    return kJobDone;
}

int Envelope(LProgress& progress, const LEffectRequest& request, const LPointList& points,
             const char* title) {
    if (!request.list)
        return kJobFailed;
    if (request.rangeStart > request.rangeEnd)
        return kJobDone;
    if (points.size() < 2) {
        LTrace("Envelope fewer than two points");
        return kJobFailed;
    }
    ShowEffectTitle(progress, title);
    LCutListAudio& list = *request.list;
    auto source = list.MakeSource();
    const int32_t start = std::max(request.rangeStart, 0);
    if (start > 0)
        source->Seek(start);
    int64_t total = int64_t{request.rangeEnd} - start;
    if (total < 1)
        total = 1;

    LEffectOutput output(list.GetSampleRate(), list.GetChannels());
    const size_t channels = list.GetChannels();
    std::vector<int32_t> buffer(static_cast<size_t>(kBlock) * channels);
    int32_t gain = PointGain(points[0].y);
    int32_t target = PointGain(points[1].y);
    int64_t segEnd = SegmentEnd(total, points[1].x);
    size_t nextPoint = 2;
    bool lastSegment = false;
    int64_t pos = 0;
    for (;;) {
        if (progress.IsCancelled())
            return output.Finish(kJobCancelled, list, start, 0);
        while (segEnd - pos < 1 && !lastSegment) {
            if (nextPoint >= points.size()) {
                // The last segment runs to the end with the last target.
                segEnd = total;
                lastSegment = true;
            } else {
                target = PointGain(points[nextPoint].y);
                segEnd = SegmentEnd(total, points[nextPoint].x);
                ++nextPoint;
            }
        }
        if (segEnd - pos < 1)
            return output.Finish(kJobDone, list, start, request.rangeEnd);
        const auto frames = static_cast<int32_t>(std::min<int64_t>(segEnd - pos, kBlock));
        source->Read(buffer.data(), frames);
        // One step per block, applied after every sample (not every frame).
        const auto step = static_cast<int32_t>((int64_t{target} - gain) / (segEnd - pos));
        const size_t count = static_cast<size_t>(frames) * channels;
        for (size_t i = 0; i < count; ++i) {
            buffer[i] = MultiplyByGain(buffer[i], gain);
            gain = Wrap32(int64_t{gain} + step);
        }
        output.Sink()->Write(buffer.data(), frames);
        pos += frames;
        progress.SetFraction(static_cast<double>(pos) / static_cast<double>(total));
    }
}

int DcOffsetCorrect(LProgress& progress, LSourceRef source, LSinkRef sink) {
    const int32_t sinkRate = sink ? sink->GetSampleRate() : 44100;
    const uint8_t sinkChannels = sink ? sink->GetChannels() : 1;
    if (!source || source->GetChannels() != sinkChannels || source->GetSampleRate() != sinkRate) {
        LTrace("DcOffsetCorrect source and sink formats differ");
        return kJobFailed;
    }
    if (!source->IsOk()) {
        LTrace("DcOffsetCorrect source not ready");
        return kJobFailed;
    }
    const size_t channels = source->GetChannels();
    const int32_t length = source->GetLengthSample();
    // An empty source has nothing to correct; the span run would still move one frame.
    if (length <= 0)
        return kJobDone;
    std::vector<double> sums(channels, 0.0);
    int result =
        RangePump(progress, source, LSinkRef(), 0, length, [&](int32_t* samples, int32_t n) {
            // Channel by channel with a stride, so the loop has no division per sample.
            for (size_t c = 0; c < channels; ++c) {
                double sum = 0.0;
                for (size_t i = c; i < static_cast<size_t>(n) * channels; i += channels)
                    sum += samples[i];
                sums[c] += sum;
            }
        });
    if (result != kJobDone)
        return result;
    source->Seek(0);
    std::vector<int32_t> offsets(channels, 0);
    for (size_t c = 0; c < channels; ++c)
        offsets[c] = static_cast<int32_t>(std::trunc(sums[c] / length));
    return RangePump(progress, source, sink, 0, length, [&](int32_t* samples, int32_t n) {
        for (size_t c = 0; c < channels; ++c) {
            for (size_t i = c; i < static_cast<size_t>(n) * channels; i += channels)
                samples[i] = Wrap32(int64_t{samples[i]} - offsets[c]);
        }
    });
}

int DcOffset(LProgress& progress, const LEffectRequest& request) {
    if (!request.list)
        return kJobFailed;
    if (request.rangeStart > request.rangeEnd)
        return kJobDone;
    ShowEffectTitle(progress, GetEffectInfo(LEffectId::kDcOffset).progressTitle);
    LCutListAudio& list = *request.list;
    const LCutListAudio range = CopyRange(list, request.rangeStart, request.rangeEnd);
    auto source = range.MakeSource();
    LEffectOutput output(list.GetSampleRate(), list.GetChannels());
    const int result = DcOffsetCorrect(progress, source, output.Sink());
    return output.Finish(result, list, request.rangeStart, request.rangeEnd);
}

}  // namespace osmera
