#pragma once
// The effects that are a stream transform of the range: each is a source over the range
// (given as a source of its own, frame 0 at the range's start) that delivers the processed
// range, block by block. The driver pumps such a source into new cuts that replace the
// range; a preview plays the same source without touching the document. An effect whose
// output is longer or shorter than its input (a tail, a change of speed) says so through
// its source's length.
//
// The factory may be called from any thread; the source it returns is used by one thread
// at a time and owns its input.

#include <cstdint>
#include <vector>

#include "core/progress.h"
#include "core/sound_source_base.h"
#include "effects/effect_job.h"
#include "effects/effect_table.h"

namespace osmera {

// True when `id` is made by MakeEffectSource.
bool HasEffectSource(LEffectId id);

// The effect `id` with `params` (in table order, already validated) over `input`; null
// when `id` is not a stream effect or its parameters cannot be processed.
LSourceRef MakeEffectSource(LEffectId id, LSourceRef input, const std::vector<int32_t>& params);

// Pumps [rangeStart, rangeEnd) of the request's list through MakeEffectSource(id) into new
// cuts that replace the range; line 0 of the progress is the effect's progress title.
// Cancel or a failed write leaves the list alone. kJobFailed when the effect has no source.
int PumpEffectSource(LProgress& progress, const LEffectRequest& request, LEffectId id);

}  // namespace osmera
