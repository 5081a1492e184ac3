#include "devices/cd_disc_id.h"

#include <discid/discid.h>

#include <cstdio>

#include "core/trace.h"

namespace osmera {

std::string LCdDiscIds::CddbHex() const {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%08x", cddb);
    return buf;
}

LCdOffsets CdOffsets(const LCdToc& toc) {
    LCdOffsets o;
    o.firstTrack = toc.firstTrack;
    for (const auto& t : toc.tracks)
        o.tracks.push_back(t.startSector + kCdPregapSectors);
    o.leadOut = toc.leadOutSector + kCdPregapSectors;
    return o;
}

uint32_t CddbDiscId(const LCdOffsets& offsets) {
    // The sum of the decimal digits of each track's start in whole seconds, modulo 255;
    // the playing time in whole seconds from the first track to the lead-out; the count.
    uint32_t n = 0;
    for (int32_t off : offsets.tracks)
        for (int32_t s = off / kCdSectorsPerSecond; s > 0; s /= 10)
            n += static_cast<uint32_t>(s % 10);
    const int32_t first = offsets.tracks.empty() ? 0 : offsets.tracks.front();
    const uint32_t t =
        static_cast<uint32_t>(offsets.leadOut / kCdSectorsPerSecond - first / kCdSectorsPerSecond);
    return (n % 255) << 24 | (t & 0xffff) << 8 | (offsets.tracks.size() & 0xff);
}

LCdDiscIds ComputeDiscIds(const LCdOffsets& offsets) {
    LCdDiscIds ids;
    ids.cddb = CddbDiscId(offsets);
    ids.cddbQuery = std::to_string(offsets.tracks.size());
    for (int32_t off : offsets.tracks)
        ids.cddbQuery += " " + std::to_string(off);
    ids.cddbQuery += " " + std::to_string(offsets.leadOut / kCdSectorsPerSecond);

    const int last = offsets.firstTrack + static_cast<int>(offsets.tracks.size()) - 1;
    if (offsets.tracks.empty() || last > 99)
        return ids;
    int table[100] = {};
    table[0] = offsets.leadOut;
    for (size_t i = 0; i < offsets.tracks.size(); ++i)
        table[offsets.firstTrack + i] = offsets.tracks[i];
    DiscId* d = discid_new();
    if (discid_put(d, offsets.firstTrack, last, table))
        ids.musicBrainz = discid_get_id(d);
    else
        LTracef("ComputeDiscIds libdiscid: %s", discid_get_error_msg(d));
    discid_free(d);
    return ids;
}

}  // namespace osmera
