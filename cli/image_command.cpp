// osmera-cli image IN OUT.png [--spectrogram] [--width W --height H] [--from T --to T]
//                             [--fft N] [--work-dir DIR]
//
// A picture of IN (or of --from..--to) with a time axis under it. The waveform is drawn
// from the per-column peaks the editor's views read (edit/peak_reader.h, on the file
// loaded into cuts exactly as the editor loads it) and laid into channel lanes as the
// views lay them (edit/wave_lanes.h), so the picture's columns are the view's columns.
// The spectrogram's columns come from the editor's analyser (effects/spectrogram.h),
// frequency rising linearly upward to half the sample rate, coloured by the perceptual
// map over -120..0 dB.

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/picture_axis.h"
#include "cli/png_image.h"
#include "cli/run_folder.h"
#include "cli/terminal_progress.h"
#include "edit/document_io.h"
#include "edit/peak_reader.h"
#include "edit/wave_lanes.h"
#include "effects/colour_map.h"
#include "effects/script_words.h"
#include "effects/spectrogram.h"
#include "effects/spectrum_analysis.h"
#include "formats/open_audio_source.h"
#include "formats/open_error_message.h"

namespace osmera::cli {
namespace {

constexpr uint32_t kPaper = 0xffffff;
constexpr uint32_t kWave = 0x1f4e99;
constexpr uint32_t kCentre = 0xa0a0a0;
constexpr uint32_t kLaneEdge = 0x606060;
constexpr uint32_t kInk = 0x202020;

// [from, to) of a file of `length` frames from --from and --to; false with a message.
bool ParseRange(const LArgs& args, int32_t rate, int32_t length, int32_t& from, int32_t& to,
                std::string& error) {
    from = 0;
    to = length;
    for (const char* name : {"from", "to"}) {
        const auto word = args.Value(name);
        if (!word)
            continue;
        const auto at = IsTimeWord(*word) ? TimeWordToFrames(*word, rate) : std::nullopt;
        if (!at || *at < 0 || *at > length) {
            error =
                std::string("--") + name + " must be a time within the file, not '" + *word + "'";
            return false;
        }
        (name[0] == 'f' ? from : to) = *at;
    }
    if (to <= from) {
        error = "--to must lie after --from";
        return false;
    }
    return true;
}

// Zoomed in below one frame per column, the frames joined by straight lines as the views
// draw them: each column spans from the line's value at its left edge to its right edge.
void FramesAsColumns(LPeakReader& reader, int32_t from, int32_t to, int width,
                     std::vector<LPeakRange>& peaks) {
    const int channels = std::max<int>(reader.GetChannels(), 1);
    std::vector<int32_t> frames;
    reader.ReadFrames(from, to - from + 1, frames);
    const double perColumn = static_cast<double>(to - from) / width;
    // The line through the frames' centres at position p (frames from `from` on).
    auto valueAt = [&](double p, int c) {
        const double at = std::clamp(p - 0.5, 0.0, static_cast<double>(to - from));
        const int32_t i = static_cast<int32_t>(at);
        const double f = at - i;
        const int32_t j = std::min(i + 1, to - from);
        return static_cast<int32_t>(
            std::lround(frames[static_cast<size_t>(i) * channels + c] * (1 - f) +
                        frames[static_cast<size_t>(j) * channels + c] * f));
    };
    peaks.assign(static_cast<size_t>(width) * channels, {});
    for (int x = 0; x < width; ++x) {
        for (int c = 0; c < channels; ++c) {
            const int32_t a = valueAt(x * perColumn, c), b = valueAt((x + 1) * perColumn, c);
            peaks[static_cast<size_t>(x) * channels + c] = {std::min(a, b), std::max(a, b)};
        }
    }
}

void DrawWaveform(LPngImage& image, int plotHeight, const LCutListAudio& list, int32_t from,
                  int32_t to) {
    LPeakReader reader(list);
    const int channels = std::max<int>(reader.GetChannels(), 1);
    const LFramesPerColumn fpc = LFramesPerColumn::Of(to - from, image.width);
    std::vector<LPeakRange> peaks;
    if (fpc.num < fpc.den)
        FramesAsColumns(reader, from, to, image.width, peaks);
    else
        reader.ReadPeaks(fpc, fpc.ColumnOf(from), image.width, peaks);
    for (int lane = 0; lane < channels; ++lane) {
        const int top = lane * plotHeight / channels;
        const int mid = WaveLaneY(0, lane, channels, plotHeight, 1);
        for (int x = 0; x < image.width; ++x) {
            const LPeakRange& p = peaks[static_cast<size_t>(x) * channels + lane];
            const int y0 = WaveLaneY(p.max, lane, channels, plotHeight, 1);
            const int y1 = WaveLaneY(p.min, lane, channels, plotHeight, 1);
            image.At(x, mid) = kCentre;
            if (lane > 0)
                image.At(x, top) = kLaneEdge;
            for (int y = y0; y <= y1; ++y)
                image.At(x, y) = kWave;
        }
    }
}

bool DrawSpectrogram(LPngImage& image, int plotHeight, LSourceRef source, int32_t from, int32_t to,
                     int32_t fft) {
    LSpectrogramAnalyser analyser(std::move(source), {fft, 50, LFftWindow::kHann, -120.0f, 0.0f});
    const LFramesPerColumn fpc = LFramesPerColumn::Of(to - from, image.width);
    const int64_t first = fpc.ColumnOf(from);
    const int32_t bins = analyser.Bins();
    std::vector<float> levels;
    constexpr int32_t kChunk = 64;
    for (int x0 = 0; x0 < image.width; x0 += kChunk) {
        if (CancelRequested())
            return false;
        const int32_t n = std::min(kChunk, image.width - x0);
        analyser.ComputeColumns(fpc, first + x0, n, levels);
        for (int32_t i = 0; i < n; ++i) {
            const float* column = levels.data() + static_cast<size_t>(i) * bins;
            for (int y = 0; y < plotHeight; ++y) {
                // Row y covers bins [lo, hi) counted from the top; the loudest one shows.
                const int64_t lo = int64_t{plotHeight - 1 - y} * bins / plotHeight;
                const int64_t hi = std::max(lo + 1, int64_t{plotHeight - y} * bins / plotHeight);
                const float db = *std::max_element(column + lo, column + hi);
                image.At(x0 + i, y) = SpectrogramColourOfDb(db, -120.0f, 0.0f);
            }
        }
    }
    return true;
}

}  // namespace

int RunImage(int argc, char** argv) {
    LArgs args(argc, argv, {"width", "height", "from", "to", "fft", "work-dir"}, {"spectrogram"});
    const int width = static_cast<int>(args.IntValue("width", 1200, 16, 16384));
    const int height = static_cast<int>(args.IntValue("height", 300, 32, 8192));
    const int32_t fft = static_cast<int32_t>(args.IntValue("fft", 2048, kMinFftSize, kMaxFftSize));
    if (args.Error().empty() && args.Positional().size() != 2) {
        PrintError("image needs an input file and an output .png (see osmera-cli image --help)");
        return kExitUsage;
    }
    if (!args.Error().empty()) {
        PrintError(args.Error());
        return kExitUsage;
    }
    if (!IsValidFftSize(fft)) {
        PrintError("--fft must be a power of two from 256 to 65536");
        return kExitUsage;
    }
    const std::string& in = args.Positional()[0];
    const std::string& out = args.Positional()[1];
    LSourceRef source = OpenAudioSource(in);
    if (!source->IsOk()) {
        PrintError(OpenErrorMessage(*source, in));
        return kExitFailed;
    }
    const int32_t rate = source->GetSampleRate();
    int32_t from = 0, to = 0;
    std::string error;
    if (!ParseRange(args, rate, source->GetLengthSample(), from, to, error)) {
        PrintError(error);
        return kExitUsage;
    }
    LPngImage image(width, height, kPaper);
    const int plotHeight = height - kTimeAxisHeight;
    if (args.Has("spectrogram")) {
        if (!DrawSpectrogram(image, plotHeight, source, from, to, fft))
            return kExitCancelled;
    } else {
        LRunFolder folder(args.Value("work-dir").value_or(""));
        if (!folder.IsReady()) {
            PrintError(folder.Message());
            return kExitFailed;
        }
        LCutListAudio list;
        LTerminalProgress progress;
        const int loaded = LoadAudioFile(in, list, &progress, &error);
        progress.Done();
        if (loaded != kJobDone) {
            if (loaded == kJobFailed)
                PrintError(error);
            return loaded == kJobCancelled ? kExitCancelled : kExitFailed;
        }
        DrawWaveform(image, plotHeight, list, from, to);
    }
    DrawTimeAxis(image, static_cast<double>(from) / rate, static_cast<double>(to) / rate, kPaper,
                 kInk);
    if (!WritePng(image, out, error)) {
        PrintError(error);
        return kExitFailed;
    }
    return kExitOk;
}

}  // namespace osmera::cli
