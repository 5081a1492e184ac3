// osmera-cli spectrum IN [--from T --to T] [--fft N] [--window NAME] [--combined]
//                        [--peaks N] [--csv]
//
// The averaged magnitude spectrum of IN (or of --from..--to), as the editor's Spectrum
// window computes it (effects/spectrum_analysis.h): one row per bin of the frequency and
// each channel's level in dBFS (a full-scale sine reads 0 dB with the flat-top window), or
// with --peaks the N highest peaks with the nearest note. --csv writes the same as
// comma-separated values with a header row.

#include <cstdio>
#include <cstring>

#include "cli/args.h"
#include "cli/commands.h"
#include "effects/script_words.h"
#include "effects/spectrum_analysis.h"
#include "formats/open_audio_source.h"
#include "formats/open_error_message.h"

namespace osmera::cli {
namespace {

bool ParseWindow(const std::string& word, LFftWindow& window) {
    static const std::pair<const char*, LFftWindow> kNames[] = {
        {"hann", LFftWindow::kHann},
        {"blackman-harris", LFftWindow::kBlackmanHarris},
        {"flat-top", LFftWindow::kFlatTop},
        {"rectangular", LFftWindow::kRectangular}};
    for (const auto& [name, value] : kNames) {
        if (word == name) {
            window = value;
            return true;
        }
    }
    return false;
}

std::optional<int32_t> Position(const LArgs& args, const char* name, int32_t rate, int32_t length) {
    const auto word = args.Value(name);
    if (!word)
        return std::nullopt;
    const auto at = IsTimeWord(*word) ? TimeWordToFrames(*word, rate) : std::nullopt;
    if (!at || *at < 0 || *at > length)
        return -1;
    return at;
}

}  // namespace

int RunSpectrum(int argc, char** argv) {
    LArgs args(argc, argv, {"from", "to", "fft", "window", "peaks"}, {"csv", "combined"});
    LSpectrumSettings settings;
    settings.fftSize = static_cast<int32_t>(args.IntValue("fft", 8192, kMinFftSize, kMaxFftSize));
    settings.combined = args.Has("combined");
    const long peaks = args.IntValue("peaks", 0, 0, 1000);
    if (args.Error().empty() && args.Positional().size() != 1) {
        PrintError("spectrum needs one file (see osmera-cli spectrum --help)");
        return kExitUsage;
    }
    if (!args.Error().empty()) {
        PrintError(args.Error());
        return kExitUsage;
    }
    if (!IsValidFftSize(settings.fftSize)) {
        PrintError("--fft must be a power of two from 256 to 65536");
        return kExitUsage;
    }
    if (!ParseWindow(args.Value("window").value_or("hann"), settings.window)) {
        PrintError("--window must be hann, blackman-harris, flat-top or rectangular");
        return kExitUsage;
    }
    const std::string& in = args.Positional()[0];
    LSourceRef source = OpenAudioSource(in);
    if (!source->IsOk()) {
        PrintError(OpenErrorMessage(*source, in));
        return kExitFailed;
    }
    const int32_t rate = source->GetSampleRate();
    const int32_t length = source->GetLengthSample();
    const int32_t from = Position(args, "from", rate, length).value_or(0);
    const int32_t to = Position(args, "to", rate, length).value_or(length);
    if (from < 0 || to < 0 || to < from) {
        PrintError("--from and --to must be times within the file, --to after --from");
        return kExitUsage;
    }
    LSpectrum spectrum;
    if (AnalyseSpectrum(source, from, to, settings, spectrum) != kJobDone) {
        PrintError("the spectrum of " + in + " could not be computed");
        return kExitFailed;
    }
    const bool csv = args.Has("csv");
    const size_t curves = spectrum.levels.size();
    if (peaks > 0) {
        if (csv)
            std::printf("channel,frequency_hz,level_db,note\n");
        for (size_t c = 0; c < curves; ++c) {
            for (const LSpectrumPeak& p :
                 FindSpectrumPeaks(spectrum, c, static_cast<size_t>(peaks))) {
                const std::string note = NearestNoteName(p.frequency);
                std::printf(csv ? "%zu,%.2f,%.2f,%s\n" : "channel %zu  %10.2f Hz  %7.2f dB  %s\n",
                            c + 1, p.frequency, static_cast<double>(p.level), note.c_str());
            }
        }
        return kExitOk;
    }
    if (csv) {
        std::printf("frequency_hz");
        for (size_t c = 0; c < curves; ++c)
            std::printf(curves == 1 ? ",level_db" : ",channel%zu_db", c + 1);
        std::printf("\n");
    }
    for (int32_t k = 0; k < spectrum.Bins(); ++k) {
        std::printf(csv ? "%.2f" : "%10.2f", spectrum.BinFrequency(k));
        for (size_t c = 0; c < curves; ++c)
            std::printf(csv ? ",%.2f" : " %8.2f", static_cast<double>(spectrum.levels[c][k]));
        std::printf("\n");
    }
    return kExitOk;
}

}  // namespace osmera::cli
