#pragma once
// Cue points of WAV files, the markers other audio editors show: a "cue " chunk with one
// point per marker, and a LIST chunk of type "adtl" holding a "labl" chunk (the name) per
// named point and an "ltxt" chunk (a length in frames, purpose "rgn ") per point that starts
// a range. Players and decoders skip both chunks, so the audio reads as before.
//
// The chunks go after everything else in the RIFF form, so appending them never moves the
// audio data; the RIFF size is updated last, so a failed append leaves a file whose RIFF
// size still covers only what was there before (readers then see the file as it was).
//
// Plain functions on files no one else writes at the time; any thread.

#include <cstdint>
#include <string>
#include <vector>

namespace osmera {

// A cue point: `length` 0 for a single position, else the range [position, position+length).
struct LWaveCue {
    std::string name;
    uint32_t position = 0;
    uint32_t length = 0;
    bool operator==(const LWaveCue&) const = default;
};

// The cue points of the WAV file `path`, in the order of its "cue " chunk; empty when it is no
// RIFF WAVE file or has none. A damaged chunk (sizes beyond the file, counts beyond the chunk)
// gives what could be read before the damage; points without a label have an empty name.
std::vector<LWaveCue> ReadWaveCues(const std::string& path);

// Appends a "cue " chunk and a LIST "adtl" chunk for `cues` to the RIFF WAVE file `path` and
// updates its RIFF size. Nothing to do (true) for no cues. False, with a trace, when the file
// is no RIFF WAVE file, already has a "cue " chunk, would grow beyond the RIFF limit, or could
// not be written.
bool AppendWaveCues(const std::string& path, const std::vector<LWaveCue>& cues);

}  // namespace osmera
