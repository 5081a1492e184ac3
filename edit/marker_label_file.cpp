#include "edit/marker_label_file.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "core/safe_replace.h"
#include "core/trace.h"

namespace osmera {
namespace {

void Say(std::string* message, const std::string& text) {
    if (message)
        *message = text;
}

std::string Seconds(int64_t frames, uint32_t sampleRate) {
    char text[48];
    std::snprintf(text, sizeof text, "%.6f", static_cast<double>(frames) / sampleRate);
    return text;
}

// Seconds as the whole text `field`; false when it is not a finite number of at least 0.
bool ParseSeconds(const std::string& field, double& seconds) {
    if (field.empty())
        return false;
    const char* begin = field.c_str();
    char* end = nullptr;
    errno = 0;
    seconds = std::strtod(begin, &end);
    return errno == 0 && end == begin + field.size() && std::isfinite(seconds) && seconds >= 0;
}

int64_t Frames(double seconds, uint32_t sampleRate) {
    return std::llround(std::min(seconds * sampleRate, 4e18));
}

}  // namespace

bool WriteLabelFile(const std::string& path, const LMarkerList& markers, uint32_t sampleRate,
                    std::string* message) {
    if (sampleRate == 0) {
        LTrace("WriteLabelFile sample rate 0");
        Say(message, "the audio has no sample rate");
        return false;
    }
    LSafeReplace replace(path);
    if (replace.Failed()) {
        Say(message, "cannot write " + path + ": " + replace.ErrorText());
        return false;
    }
    {
        std::ofstream out(replace.TempPath(), std::ios::binary | std::ios::trunc);
        for (const LWaveCue& cue : markers.ToWaveCues())
            out << Seconds(cue.position, sampleRate) << '\t'
                << Seconds(int64_t{cue.position} + cue.length, sampleRate) << '\t' << cue.name
                << '\n';
        out.flush();
        if (!out) {
            Say(message, "cannot write " + path + " (is the disk full?); it was left as it was");
            return false;
        }
    }
    if (!replace.Commit()) {
        Say(message, "cannot replace " + path + ": " + replace.ErrorText());
        return false;
    }
    return true;
}

bool ReadLabelFile(const std::string& path, uint32_t sampleRate, int32_t length,
                   LMarkerList& markers, std::string* message, int* skipped) {
    std::ifstream in(path, std::ios::binary);
    if (!in || sampleRate == 0) {
        Say(message, "cannot read " + path);
        return false;
    }
    LMarkerList read = markers;
    int left = 0;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.find_first_not_of(" \t") == std::string::npos)
            continue;
        const size_t tab1 = line.find('\t');
        const size_t tab2 = tab1 == std::string::npos ? tab1 : line.find('\t', tab1 + 1);
        double start = 0;
        double end = 0;
        if (tab1 == std::string::npos || !ParseSeconds(line.substr(0, tab1), start) ||
            !ParseSeconds(line.substr(tab1 + 1, tab2 == std::string::npos ? tab2 : tab2 - tab1 - 1),
                          end) ||
            end < start) {
            Say(message, path + ", line " + std::to_string(number) +
                             ": expected start, end and name separated by tabs, in seconds");
            return false;
        }
        const std::string name = tab2 == std::string::npos ? std::string() : line.substr(tab2 + 1);
        const int64_t first = Frames(start, sampleRate);
        const int64_t last = std::min<int64_t>(Frames(end, sampleRate), length);
        if (first > length) {
            ++left;
            continue;
        }
        if (last <= first) {
            read.AddBookmark(name.empty() ? read.NextBookmarkName() : name,
                             static_cast<int32_t>(first));
        } else {
            read.AddRegion(name.empty() ? read.NextRegionName() : name, static_cast<int32_t>(first),
                           static_cast<int32_t>(last));
        }
    }
    if (in.bad()) {
        Say(message, "cannot read " + path);
        return false;
    }
    markers = std::move(read);
    if (skipped)
        *skipped = left;
    return true;
}

}  // namespace osmera
