// Text to speech through espeak-ng in its synchronous retrieval mode: the library calls
// OnSynth with blocks of 16-bit samples and the events that fall in them, on the thread that
// called espeak_Synth, until the text is spoken or OnSynth returns 1.
#include "effects/speech_synth.h"

#include <espeak-ng/espeak_ng.h>
#include <espeak-ng/speak_lib.h>

#include <algorithm>
#include <cctype>
#include <mutex>
#include <utility>

#include "core/format_match.h"
#include "core/pr_source_to_sink.h"
#include "core/trace.h"
#include "edit/snk_cut_list_audio.h"
#include "edit/src_cut_list_audio.h"

namespace osmera {

namespace {

// Everything below is guarded by SynthMutex().
std::mutex& SynthMutex() {
    static std::mutex mutex;
    return mutex;
}

// What one espeak_Synth call fills; OnSynth finds it through `gRun` (one run at a time).
struct SynthRun {
    LSNKCutListAudio* sink = nullptr;
    LProgress* progress = nullptr;
    double characters = 1;
    bool firstSentenceOnly = false;
    int64_t written = 0;
    int64_t stopAt = -1;  // the sample to stop at (the second sentence of a preview)
    bool cancelled = false;
    std::vector<std::pair<int64_t, int>> sentences;  // sample, 1-based character position
    std::vector<int32_t> block;
};
SynthRun* gRun = nullptr;

int OnSynth(short* wav, int count, espeak_EVENT* events) {
    SynthRun* run = gRun;
    if (!run)
        return 1;
    for (espeak_EVENT* e = events; e && e->type != espeakEVENT_LIST_TERMINATED; ++e) {
        if (e->type == espeakEVENT_SENTENCE) {
            if (run->firstSentenceOnly && !run->sentences.empty()) {
                if (run->stopAt < 0)
                    run->stopAt = e->sample;
            } else {
                run->sentences.emplace_back(e->sample, e->text_position);
            }
        }
        if (e->text_position > 0 && run->progress)
            run->progress->SetFraction(std::min(1.0, e->text_position / run->characters));
    }
    int64_t take = wav ? std::max(count, 0) : 0;
    if (run->stopAt >= 0)
        take = std::clamp<int64_t>(run->stopAt - run->written, 0, take);
    if (take > 0) {
        run->block.resize(static_cast<size_t>(take));
        for (int64_t i = 0; i < take; ++i)
            run->block[static_cast<size_t>(i)] = int32_t{wav[i]} * 16;
        run->sink->Write(run->block.data(), static_cast<int32_t>(take));
        run->written += take;
    }
    if (run->progress && run->progress->IsCancelled()) {
        run->cancelled = true;
        return 1;
    }
    return run->stopAt >= 0 || run->sink->IsError() ? 1 : 0;
}

// Initialises the library once; false (with the reason) when its data is missing.
bool EnsureLibrary(std::string* message) {
    static int status = -1;  // -1 not tried, 0 ready, 1 failed
    if (status < 0) {
        espeak_ng_InitializePath(nullptr);
        espeak_ng_ERROR_CONTEXT context = nullptr;
        espeak_ng_STATUS result = espeak_ng_Initialize(&context);
        if (result == ENS_OK)
            result = espeak_ng_InitializeOutput(ENOUTPUT_MODE_SYNCHRONOUS, 0, nullptr);
        espeak_ng_ClearErrorContext(&context);
        status = result == ENS_OK ? 0 : 1;
        if (status == 0)
            espeak_SetSynthCallback(OnSynth);
        else
            LTracef("speech: library failed to start (%d)", static_cast<int>(result));
    }
    if (status != 0 && message)
        *message =
            "The speech voices could not be loaded: is the espeak-ng-data package installed?";
    return status == 0;
}

std::vector<LSpeechVoice> ListVoicesLocked() {
    std::vector<LSpeechVoice> voices;
    const espeak_VOICE** list = espeak_ListVoices(nullptr);
    for (size_t i = 0; list && list[i]; ++i) {
        LSpeechVoice voice;
        voice.name = list[i]->name ? list[i]->name : "";
        // The languages field is a priority byte, then a name, repeated; the first counts.
        if (list[i]->languages && list[i]->languages[0])
            voice.language = list[i]->languages + 1;
        voice.identifier = list[i]->identifier ? list[i]->identifier : "";
        voice.gender = list[i]->gender;
        voices.push_back(std::move(voice));
    }
    std::sort(voices.begin(), voices.end(),
              [](const LSpeechVoice& a, const LSpeechVoice& b) { return a.name < b.name; });
    return voices;
}

bool SameText(const std::string& a, const std::string& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

bool SelectVoiceLocked(const std::string& wanted) {
    if (wanted.empty())
        return espeak_SetVoiceByName("en") == EE_OK;
    for (const LSpeechVoice& voice : ListVoicesLocked()) {
        if (!SameText(voice.name, wanted) && !SameText(voice.identifier, wanted) &&
            !SameText(voice.language, wanted))
            continue;
        espeak_VOICE wanted{};
        wanted.name = voice.name.c_str();
        wanted.languages = voice.language.c_str();
        return espeak_SetVoiceByProperties(&wanted) == EE_OK;
    }
    return false;
}

// The byte offset of the character `index` (0-based, counted in UTF-8 characters).
size_t ByteOfCharacter(const std::string& text, int index) {
    size_t byte = 0;
    for (int seen = 0; byte < text.size(); ++byte) {
        if ((static_cast<unsigned char>(text[byte]) & 0xC0) == 0x80)
            continue;
        if (seen++ == index)
            return byte;
    }
    return text.size();
}

bool IsSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

}  // namespace

const char* SpeechGenderText(int gender) {
    return gender == 1 ? "male" : gender == 2 ? "female" : "-";
}

std::vector<LSpeechVoice> LSpeechSynth::ListVoices(std::string* message) {
    std::lock_guard lock(SynthMutex());
    if (!EnsureLibrary(message))
        return {};
    return ListVoicesLocked();
}

std::string LSpeechSynth::Check(const std::string& text, const LSpeechParams& p) {
    if (std::all_of(text.begin(), text.end(), IsSpace))
        return "There is no text to speak: the text is empty.";
    auto range = [](const char* what, int32_t value, int32_t low, int32_t high,
                    const char* unit) -> std::string {
        if (value >= low && value <= high)
            return {};
        return std::string("The ") + what + " must be between " + std::to_string(low) + " and " +
               std::to_string(high) + unit + ".";
    };
    for (std::string m :
         {range("speaking rate", p.rate, LSpeechParams::kMinRate, LSpeechParams::kMaxRate,
                " words per minute"),
          range("pitch", p.pitch, 0, LSpeechParams::kMaxPitch, ""),
          range("volume", p.volume, 0, LSpeechParams::kMaxVolume, ""),
          range("word gap", p.wordGap, 0, LSpeechParams::kMaxWordGap, " (tens of milliseconds)"),
          range("sample rate", p.outRate, LSpeechParams::kMinOutRate, LSpeechParams::kMaxOutRate,
                " Hz"),
          range("channel count", p.channels, 1, 2, "")})
        if (!m.empty())
            return m;
    return {};
}

std::string LSpeechSynth::SentenceName(const std::string& text, size_t start) {
    constexpr int kWords = 4;
    constexpr size_t kLongest = 40;
    std::string name;
    size_t i = std::min(start, text.size());
    for (int words = 0; words < kWords; ++words) {
        while (i < text.size() && IsSpace(text[i]))
            ++i;
        const size_t wordStart = i;
        while (i < text.size() && !IsSpace(text[i]))
            ++i;
        if (i == wordStart || (!name.empty() && name.size() + 1 + (i - wordStart) > kLongest))
            break;
        std::string word = text.substr(wordStart, i - wordStart);
        const bool ends = std::string_view(".!?").find(word.back()) != std::string_view::npos;
        name += (name.empty() ? "" : " ") + word;
        if (ends)
            break;
    }
    if (name.size() > kLongest) {  // one long word: cut at a character boundary
        size_t cut = kLongest;
        while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80)
            --cut;
        name.resize(cut);
    }
    while (!name.empty() && std::string_view(".,;:!?").find(name.back()) != std::string_view::npos)
        name.pop_back();
    return name.empty() ? "Sentence" : name;
}

int LSpeechSynth::Speak(const std::string& text, const LSpeechParams& params, LCutListAudio& audio,
                        LMarkerList& markers, LProgress* progress, std::string* message) {
    std::string why = Check(text, params);
    auto fail = [&](std::string words) {
        if (message)
            *message = std::move(words);
        return kJobFailed;
    };
    if (!why.empty())
        return fail(why);

    LCutListAudio native(kNativeRate, 1);
    SynthRun run;
    int spoken = EE_OK;
    bool writeFailed = false;
    {
        std::lock_guard lock(SynthMutex());
        if (!EnsureLibrary(&why))
            return fail(why);
        if (!SelectVoiceLocked(params.voice))
            return fail("There is no installed voice called \"" + params.voice + "\".");
        espeak_SetParameter(espeakRATE, params.rate, 0);
        espeak_SetParameter(espeakPITCH, params.pitch, 0);
        espeak_SetParameter(espeakVOLUME, params.volume, 0);
        espeak_SetParameter(espeakWORDGAP, params.wordGap, 0);

        auto sink = native.MakeSink(kNativeRate, 1);
        if (sink->IsError())
            return fail("The speech could not be written to the working folder (is it full?).");
        run.sink = sink.Get();
        run.progress = progress;
        run.firstSentenceOnly = params.firstSentenceOnly;
        run.characters = static_cast<double>(std::count_if(text.begin(), text.end(), [](char c) {
            return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
        }));
        if (progress) {
            progress->SetLine(0, "Speaking");
            progress->SetFraction(0);
        }
        gRun = &run;
        spoken = espeak_Synth(text.c_str(), text.size() + 1, 0, POS_CHARACTER, 0,
                              espeakCHARS_UTF8 | espeakENDPAUSE, nullptr, nullptr);
        gRun = nullptr;
        writeFailed = sink->IsError();
        sink.Reset();  // `native` now holds the speech
    }
    if (run.cancelled)
        return kJobCancelled;
    if (writeFailed)
        return fail("The speech could not be written to the working folder (is the disk full?).");
    if (spoken != EE_OK && run.stopAt < 0) {
        LTracef("speech: synthesis failed (%d)", spoken);
        return fail("The text could not be spoken.");
    }

    // A sentence event may come a block after the sample it marks.
    if (run.stopAt >= 0 && run.stopAt < native.GetLength())
        native.EfTrimTail(static_cast<int32_t>(run.stopAt));
    LCutListAudio made = std::move(native);
    if (params.outRate != kNativeRate || params.channels != 1) {
        LCutListAudio converted(static_cast<uint32_t>(params.outRate), params.channels);
        if (made.GetLength() > 0) {
            auto sink = converted.MakeSink(params.outRate, params.channels);
            LSourceRef source = MatchFormat(made.MakeSource(), params.outRate, params.channels);
            const int pumped = LPRSourceToSink(source, sink, progress, "Converting").Process();
            const bool written = !sink->IsError();
            sink.Reset();
            if (pumped == kJobCancelled)
                return kJobCancelled;
            if (pumped != kJobDone || !written)
                return fail("The speech could not be converted to " +
                            std::to_string(params.outRate) + " Hz (is the disk full?).");
        }
        made = std::move(converted);
    }

    LMarkerList marks;
    for (const auto& [sample, position] : run.sentences) {
        const int64_t at = sample * params.outRate / kNativeRate;
        marks.AddBookmark(SentenceName(text, ByteOfCharacter(text, position - 1)),
                          static_cast<int32_t>(std::min<int64_t>(at, made.GetLength())));
    }
    audio = std::move(made);
    markers = std::move(marks);
    return kJobDone;
}

}  // namespace osmera
