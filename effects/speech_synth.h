#pragma once
// Text to speech: typed text becomes audio in new cuts, through the espeak-ng library.
//
// espeak-ng keeps one global state (its voice, its parameters, its callback), so every use
// goes through one process-wide mutex and the library is initialised once, on first use;
// a second caller waits until the first one's synthesis has finished. Any thread may call;
// the calls run synchronously on the calling thread.
//
// The library speaks at its own rate (22050 Hz mono 16-bit). Speak writes that straight into
// a new cut, then, when the caller asks for another rate or stereo, pumps it through the
// engine's rate and channel converters into the cut the caller gets. Sentence starts become
// bookmarks named by the sentence's first words.
//
// Results are job results (core/progress.h): kJobDone, kJobCancelled (nothing is kept: the
// target list and markers are as they were and no cut file remains), kJobFailed (a message
// says why: empty text, a value out of range, an unknown voice, no voice data installed, a
// full disk; nothing is kept either).

#include <cstdint>
#include <string>
#include <vector>

#include "core/progress.h"
#include "edit/cut_list_audio.h"
#include "edit/marker_list.h"

namespace osmera {

// One installed voice.
struct LSpeechVoice {
    std::string name;        // "English (Great Britain)"
    std::string language;    // "en-gb": the voice's first language
    std::string identifier;  // "gmw/en": the voice file under the data folder
    int gender = 0;          // 0 not given, 1 male, 2 female
};

// "male", "female" or "-".
const char* SpeechGenderText(int gender);

struct LSpeechParams {
    static constexpr int32_t kMinRate = 80, kMaxRate = 450, kDefaultRate = 175;
    static constexpr int32_t kMaxPitch = 100, kDefaultPitch = 50;
    static constexpr int32_t kMaxVolume = 200, kDefaultVolume = 100;
    static constexpr int32_t kMaxWordGap = 100;  // units of 10 ms
    static constexpr int32_t kMinOutRate = 8000, kMaxOutRate = 192000;

    // A voice's name, identifier or language ("English (America)", "gmw/en-US", "en-us");
    // "" for the library's default (English).
    std::string voice;
    int32_t rate = kDefaultRate;  // words per minute
    int32_t pitch = kDefaultPitch;
    int32_t volume = kDefaultVolume;
    int32_t wordGap = 0;
    int32_t outRate = 22050;
    uint8_t channels = 1;
    // Stops after the first sentence (a preview).
    bool firstSentenceOnly = false;
};

class LSpeechSynth {
  public:
    // The library's own output rate.
    static constexpr int32_t kNativeRate = 22050;

    // The installed voices, sorted by name; empty (with `message` set when given) when the
    // library's data cannot be found.
    static std::vector<LSpeechVoice> ListVoices(std::string* message = nullptr);

    // "" when the parameters and text can be spoken, else a sentence for the user.
    static std::string Check(const std::string& text, const LSpeechParams& params);

    // Speaks `text` (UTF-8) into `audio` (which then holds only the speech at params.outRate
    // and params.channels) and puts a bookmark at each sentence start into `markers`
    // (cleared first). `progress` may be null. On anything but kJobDone `audio` and
    // `markers` are left as they were and `message` (may be null) says why.
    static int Speak(const std::string& text, const LSpeechParams& params, LCutListAudio& audio,
                     LMarkerList& markers, LProgress* progress, std::string* message = nullptr);

    // A bookmark name from the sentence that starts at byte `start` of `text`: its first
    // words (up to four, and at most about 40 characters), "Sentence" when it has none.
    static std::string SentenceName(const std::string& text, size_t start);
};

}  // namespace osmera
