#pragma once
// The demo a newcomer sees on the editor's first start: a few seconds of stereo audio made
// here in code (a chord, a stretch of speech-like noise with syllables and a voiced buzz,
// a rising tone), written into the cut tank through a generator source and the pump, so a
// waveform shows at once without any file on disk.
//
// Threads: the thread that owns the documents (the GUI thread).

#include <cstdint>
#include <vector>

#include "edit/cut_list_audio.h"

namespace osmera {

constexpr int32_t kDemoSampleRate = 44100;
constexpr double kDemoSeconds = 6.0;

// The demo's interleaved stereo samples (internal scale), the same on every run.
std::vector<int32_t> DemoSamples();
// Replaces `target` with the demo as one new cut; false (target unchanged) when the cut
// could not be written.
bool MakeDemoAudio(LCutListAudio& target);

}  // namespace osmera
