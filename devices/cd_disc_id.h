#pragma once
// The identifiers online disc databases know a CD by, computed from its table of
// contents: the MusicBrainz disc id (through libdiscid) and the CDDB (freedb) id, which is
// computed here. Both use absolute sector offsets, that is LSN + 150.
//
// Plain functions of values; any thread.

#include <cstdint>
#include <string>
#include <vector>

#include "devices/cd_disc.h"

namespace osmera {

struct LCdDiscIds {
    std::string musicBrainz;  // 28 characters; empty when libdiscid refused the TOC
    uint32_t cddb = 0;
    std::string cddbQuery;  // "ntrks off1 ... offN nsecs", the arguments of a CDDB query

    // The CDDB id as eight lower-case hexadecimal digits.
    std::string CddbHex() const;
};

// Offsets in absolute sectors (LSN + 150) of each track, and the lead-out's.
struct LCdOffsets {
    int firstTrack = 1;
    std::vector<int32_t> tracks;
    int32_t leadOut = 0;
};

LCdOffsets CdOffsets(const LCdToc& toc);
LCdDiscIds ComputeDiscIds(const LCdOffsets& offsets);
uint32_t CddbDiscId(const LCdOffsets& offsets);

}  // namespace osmera
