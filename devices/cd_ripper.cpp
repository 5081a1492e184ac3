#include "devices/cd_ripper.h"

#include <cstdio>

namespace osmera {

LCdRipResult RipCdTrack(const LCdDisc& disc, int track, LCdRipMode mode, const std::string& path,
                        const LSaveRequest& request, LProgress* progress) {
    LCdRipResult result;
    LRef<LSRCCdTrack> source(new LSRCCdTrack(disc, track, mode));
    result.report = source->Report();
    if (!source->IsOk()) {
        result.message =
            "Track " + std::to_string(track) + " cannot be read from \"" + disc.Source() + "\".";
        return result;
    }
    result.job = SaveSourceAs(LSourceRef(source.Get()), path, request, progress, &result.message);
    result.report = source->Report();
    return result;
}

std::string CdTrackFileName(int track, const std::string& title) {
    char num[16];
    std::snprintf(num, sizeof num, "%02d", track);
    if (title.empty())
        return std::string("Track ") + num;
    std::string name = std::string(num) + " ";
    for (char c : title)
        name += (c == '/' || c == '\\' || c == ':' || c == '*' || c == '?' || c == '"' ||
                 c == '<' || c == '>' || c == '|' || (static_cast<unsigned char>(c) < 32))
                    ? '_'
                    : c;
    return name;
}

}  // namespace osmera
