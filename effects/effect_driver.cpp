#include "effects/effect_driver.h"

#include <algorithm>
#include <filesystem>

#include "core/format_match.h"
#include "core/test_stop.h"
#include "core/trace.h"
#include "edit/audio_cut_tank.h"
#include "edit/src_cut_list_audio.h"
#include "effects/auto_trim.h"
#include "effects/click_repair.h"
#include "effects/dynamics_effects.h"
#include "effects/effect_sources.h"
#include "effects/filter_effects.h"
#include "effects/loudness.h"
#include "effects/mix_effects.h"
#include "effects/pitch_effects.h"
#include "effects/time_effects.h"
#include "formats/open_audio_source.h"
#include "formats/open_error_message.h"

namespace osmera {

const char* const kMixClipboardEmptyMessage =
    "The clipboard is empty. Please copy the audio to mix first.";
const char* const kMixNoFileMessage = "Please choose the audio file to mix.";

bool LPresetEffectDialog::Ask(const LEffectInfo&, std::vector<int32_t>& values) {
    if (!message_.empty())
        return false;
    for (size_t i = 0; i < values_.size() && i < values.size(); ++i)
        values[i] = values_[i];
    return true;
}

void LPresetEffectDialog::ShowMessage(const std::string& title, const std::string& text) {
    title_ = title;
    message_ = text;
}

bool IsEffectProcessed(LEffectId id) {
    switch (id) {
        case LEffectId::kAmplify:
        case LEffectId::kNormalize:
        case LEffectId::kEnvelope:
        case LEffectId::kFadeIn:
        case LEffectId::kFadeOut:
        case LEffectId::kFadeOutAndTrim:
        case LEffectId::kAutoTrim:
        case LEffectId::kInsertSilenceStart:
        case LEffectId::kInsertSilenceCurrent:
        case LEffectId::kInsertSilenceEnd:
        case LEffectId::kReverse:
        case LEffectId::kRepeatLoop:
        case LEffectId::kDcOffset:
        case LEffectId::kAutoClickPop:
        case LEffectId::kManualClickPop:
        case LEffectId::kCrossFade:
        case LEffectId::kPasteMix:
        case LEffectId::kMixFile:
        case LEffectId::kLoudnessNormalize:
        case LEffectId::kLv2Effects:
        case LEffectId::kLadspaPlugins:
            return true;
        default:
            return HasEffectSource(id);
    }
}

LEffectDriver::LEffectDriver(LDocumentController& controller, LSettingsStore& settings,
                             LProgress& progress, LDocumentListener* playback)
    : controller_(controller), settings_(settings), progress_(progress), playback_(playback) {}

std::string LEffectDriver::EnvelopeFilePath() {
    const std::string folder = settings_.GetText("Folders", "Current", "");
    return (std::filesystem::path(folder) / "envelope.dat").string();
}

std::string LEffectDriver::EqualizerFilePath() {
    const std::string folder = settings_.GetText("Folders", "Current", "");
    return (std::filesystem::path(folder) / GetEffectInfo(LEffectId::kEqualizer).pointFile)
        .string();
}

// Moves the markers of `doc` along an effect that changed its length from `before` frames.
// Most effects replace the range [rangeStart, rangeEnd) with a longer or shorter one (a speed
// change, an echo's tail): markers inside are scaled into it, later ones move by the
// difference. The effects that insert or trim elsewhere say where.
static void MoveMarkersAlong(LEffectId id, LOMFile& doc, int32_t rangeStart, int32_t rangeEnd,
                             int64_t before, int32_t position) {
    const int64_t after = doc.audio.GetLength();
    const int64_t grown = after - before;
    if (grown == 0)
        return;
    switch (id) {
        case LEffectId::kInsertSilenceStart:
        case LEffectId::kInsertSilenceCurrent:
        case LEffectId::kInsertSilenceEnd:
            doc.markers.MoveAlong(position, position, static_cast<int32_t>(position + grown));
            return;
        case LEffectId::kRepeatLoop:  // the copies go in at the range's start
            doc.markers.MoveAlong(rangeStart, rangeStart, static_cast<int32_t>(rangeStart + grown));
            return;
        case LEffectId::kFadeOutAndTrim:
            doc.markers.ClampTo(static_cast<int32_t>(after));
            return;
        case LEffectId::kAutoTrim: {
            // The kept audio starts where the first entry left now stood before: found in the
            // undo step just recorded, which holds the audio as it was.
            const auto& now = doc.audio.GetEntries();
            int64_t head = 0;
            if (!now.empty() && !now.front().IsSilent()) {
                int64_t at = 0;
                for (const LAudioCut& old : doc.CurrentUndoStep().audio.GetEntries()) {
                    if (old.ref == now.front().ref && old.gain == now.front().gain &&
                        now.front().start >= old.start &&
                        now.front().start < int64_t{old.start} + old.length) {
                        head = at + (now.front().start - old.start);
                        break;
                    }
                    at += old.length;
                }
            }
            doc.markers.MoveAlong(0, static_cast<int32_t>(head), 0);
            doc.markers.ClampTo(static_cast<int32_t>(after));
            return;
        }
        default:
            doc.markers.MoveAlong(
                rangeStart, rangeEnd,
                static_cast<int32_t>(std::max<int64_t>(rangeStart, rangeEnd + grown)));
            return;
    }
}

LEffectResult LEffectDriver::Run(LEffectId id, LEffectDialog* dialog) {
    LEffectResult result;
    LOMFile* doc = controller_.GetCurrent();
    if (!doc)
        return result;
    const LEffectInfo& info = GetEffectInfo(id);

    doc->ClampSelection();
    if (!doc->HasSelection())
        doc->SetSelection(0, doc->audio.GetLength());
    if (playback_)
        playback_->StopPlayback();

    auto refuse = [&](LEffectStatus status, const char* title, const char* text) {
        result.status = status;
        result.title = title;
        result.message = text;
        if (dialog)
            dialog->ShowMessage(title, text);
        return result;
    };
    if (info.stereoOnly && doc->audio.GetChannels() != 2)
        return refuse(LEffectStatus::kRefused, kStereoRequiredTitle, kStereoRequiredMessage);
    if (!IsEffectProcessed(id)) {
        LTracef("LEffectDriver::Run no processing for %s", info.command);
        result.status = LEffectStatus::kNotAvailable;
        return result;
    }
    if (id == LEffectId::kManualClickPop &&
        !ManualRepairFits(int64_t{doc->selEnd} - doc->selStart,
                          static_cast<int32_t>(doc->audio.GetSampleRate())))
        return refuse(LEffectStatus::kRefused, "Osmera", kManualRepairTooLongMessage);
    // Every effect may write new audio: with no cut number free it is refused before its
    // dialog and its undo step, so the document and the undo ring stay as they were.
    if (controller_.CheckFreeCuts() != LEditResult::kDone)
        return refuse(LEffectStatus::kRefused, "Osmera", kCutTankFullMessage);
    // The mixing effects need their other audio before anything is asked or recorded;
    // it is let go whichever way the command ends.
    struct ReleaseOnExit {
        LSourceRef& source;
        ~ReleaseOnExit() { source.Reset(); }
    } release{mixSource_};
    const int32_t rate = static_cast<int32_t>(doc->audio.GetSampleRate());
    const uint8_t channels = doc->audio.GetChannels();
    std::function<LSourceRef()> makeMix;
    if (id == LEffectId::kPasteMix || id == LEffectId::kCrossFade) {
        const LCutListAudio& other = mixList_ ? *mixList_ : controller_.GetClipboard();
        if (other.GetLength() <= 0)
            return refuse(LEffectStatus::kRefused, "Osmera", kMixClipboardEmptyMessage);
        makeMix = [&other, rate, channels]() {
            return MatchFormat(LSourceRef(other.MakeSource()), rate, channels);
        };
    } else if (id == LEffectId::kMixFile) {
        if (mixFile_.empty())
            return refuse(LEffectStatus::kRefused, "Osmera", kMixNoFileMessage);
        LSourceRef file = OpenAudioSource(mixFile_);
        if (!file->IsOk()) {
            const std::string text = OpenErrorMessage(*file, mixFile_);
            return refuse(LEffectStatus::kRefused, "Osmera", text.c_str());
        }
        const std::string path = mixFile_;
        makeMix = [path, rate, channels]() {
            return MatchFormat(OpenAudioSource(path), rate, channels);
        };
    }
    if (makeMix) {
        mixSource_ = makeMix();
        if (dialog)
            dialog->SetMixAudio(makeMix);
    }

    std::vector<int32_t> values = ReadEffectParams(info, settings_);
    if (!info.params.empty()) {
        for (;;) {
            if (dialog && !dialog->Ask(info, values)) {
                result.status = LEffectStatus::kDialogCancelled;
                return result;
            }
            const std::string invalid = ValidateEffectParams(info, values);
            if (invalid.empty())
                break;
            result.title = kInvalidValueTitle;
            result.message = invalid;
            if (dialog) {
                dialog->ShowMessage(kInvalidValueTitle, invalid);
                continue;
            }
            result.status = LEffectStatus::kDialogCancelled;
            return result;
        }
        result.title.clear();
        result.message.clear();
        WriteEffectParams(info, values, settings_);
    }

    // A compressor ratio index past the presets ends the command without change.
    if (id == LEffectId::kCompressor && (values[1] < 0 || values[1] > kRatioMaxIndex)) {
        result.status = LEffectStatus::kDialogCancelled;
        return result;
    }
    // The equalizer's parameters are its band gains, kept in "equalizer.dat".
    if (id == LEffectId::kEqualizer) {
        values = equalizer_;
        if (values.empty() && !LoadEqualizerGains(EqualizerFilePath(), values))
            values = EqualizerPreset("flat");
    }

    // The envelope's parameters are its points, kept in "envelope.dat": a point editor
    // starts from them and, on OK, keeps the user's for the next time.
    if (id == LEffectId::kEnvelope && dialog && envelope_.empty()) {
        const std::string path = EnvelopeFilePath();
        LPointList points;
        if (!LoadPointList(path, points))
            points = FlatPoints();
        switch (dialog->AskPoints(info, *doc, points)) {
            case LPointsAnswer::kCancel:
                result.status = LEffectStatus::kDialogCancelled;
                return result;
            case LPointsAnswer::kOk:
                envelope_ = points;
                // The effect still runs with the user's points; only the next run's
                // starting points are lost, and the user is told so.
                if (!SavePointList(path, points))
                    dialog->ShowMessage("File Error",
                                        "The envelope points could not be saved to " + path + ".");
                break;
            case LPointsAnswer::kNoEditor:
                break;
        }
    }

    controller_.StartModifyCurrentFile(info.undoTitle);
    int32_t position = doc->selStart;
    const int32_t rangeStart = doc->selStart;
    const int32_t rangeEnd = doc->selEnd;
    const int64_t before = doc->audio.GetLength();
    result.code = Process(info, *doc, values, position, result);
    // Tests kill the editor here: the effect's audio is in, its end not yet announced.
    StopHereForTests("effect");
    switch (result.code) {
        case kJobDone:
            result.status = LEffectStatus::kApplied;
            MoveMarkersAlong(info.id, *doc, rangeStart, rangeEnd, before, position);
            controller_.EndModifyCurrentFile(position,
                                             static_cast<int32_t>(doc->audio.GetSampleRate()));
            break;
        case kJobCancelled:
            result.status = LEffectStatus::kJobCancelled;
            break;
        default:
            result.status = LEffectStatus::kJobFailed;
            // A plug-in that fails says so; the document is as it was.
            if (*info.failedMessage) {
                result.title = kProcessAudioTitle;
                result.message = info.failedMessage;
                LTracef("LEffectDriver::Run %s: %s", info.command, result.detail.c_str());
                if (dialog)
                    dialog->ShowMessage(result.title, result.message);
            }
            break;
    }
    return result;
}

bool LEffectDriver::TakeNoiseProfile() {
    LOMFile* doc = controller_.GetCurrent();
    if (!doc)
        return false;
    doc->ClampSelection();
    const int32_t start = doc->HasSelection() ? doc->selStart : 0;
    const int32_t end = doc->HasSelection() ? doc->selEnd : doc->audio.GetLength();
    const LCutListAudio range = CopyRange(doc->audio, start, end);
    LNoiseProfile profile;
    if (MeasureNoiseProfile(nullptr, LSourceRef(range.MakeSource()), range.GetLength(), false,
                            profile) != kJobDone ||
        profile.Empty())
        return false;
    noiseProfile_ = std::move(profile);
    return true;
}

int LEffectDriver::Process(const LEffectInfo& info, LOMFile& doc,
                           const std::vector<int32_t>& values, int32_t& position,
                           LEffectResult& result) {
    LCutListAudio& list = doc.audio;
    LEffectRequest request{&list, doc.selEnd, doc.selStart, values};
    const char* title = info.progressTitle;
    auto job = [&](auto fn) {
        LFunctionJob j(fn);
        return j.Run(progress_);
    };
    const int32_t rate = static_cast<int32_t>(list.GetSampleRate());
    switch (info.id) {
        case LEffectId::kAmplify:
            Amplify(list, doc.selStart, doc.selEnd, values[0]);
            return kJobDone;
        case LEffectId::kNormalize:
            return job([&](LProgress& p) { return Normalize(p, request); });
        case LEffectId::kEnvelope: {
            LPointList points = envelope_;
            if (points.empty() && !LoadPointList(EnvelopeFilePath(), points))
                points.clear();
            return job([&](LProgress& p) { return Envelope(p, request, points, title); });
        }
        case LEffectId::kFadeIn:
            return job([&](LProgress& p) { return Envelope(p, request, FadeInPoints(), title); });
        case LEffectId::kFadeOut:
            return job([&](LProgress& p) { return Envelope(p, request, FadeOutPoints(), title); });
        case LEffectId::kFadeOutAndTrim:
            return job([&](LProgress& p) { return FadeOutAndTrim(p, request); });
        case LEffectId::kAutoTrim:
            position = 0;
            return job([&](LProgress& p) { return AutoTrim(p, list, values[0]); });
        case LEffectId::kInsertSilenceStart:
        case LEffectId::kInsertSilenceCurrent:
        case LEffectId::kInsertSilenceEnd: {
            // "SilenceTimes" is a length in milliseconds.
            const int64_t wanted =
                silenceFrames_ >= 0 ? silenceFrames_ : int64_t{values[0]} * rate / 1000;
            const int64_t frames =
                std::clamp<int64_t>(wanted, 0, INT32_MAX - int64_t{list.GetLength()});
            const LSilenceAt at = info.id == LEffectId::kInsertSilenceStart ? LSilenceAt::kStart
                                  : info.id == LEffectId::kInsertSilenceEnd ? LSilenceAt::kEnd
                                                                            : LSilenceAt::kCurrent;
            position = InsertSilence(list, at, doc.cursor, static_cast<int32_t>(frames));
            return kJobDone;
        }
        case LEffectId::kReverse:
            return job([&](LProgress& p) { return Reverse(p, request); });
        case LEffectId::kRepeatLoop:
            RepeatLoop(list, doc.selStart, doc.selEnd, values[0]);
            return kJobDone;
        case LEffectId::kDcOffset:
            return job([&](LProgress& p) { return DcOffset(p, request); });
        case LEffectId::kAutoClickPop: {
            const LClickSettings click = ReadClickSettings(settings_);
            return job(
                [&](LProgress& p) { return AutoClickRepair(p, request, click, &result.repairs); });
        }
        case LEffectId::kManualClickPop:
            ManualClickRepair(list, doc.selStart, doc.selEnd);
            return kJobDone;
        case LEffectId::kSimpleSpeedPitch:
        case LEffectId::kConstantPitchSpeed:
        case LEffectId::kConstantSpeedPitch:
            return job([&](LProgress& p) { return SpeedEffect(p, request, info.id); });
        case LEffectId::kNoiseReduction:
            return job([&](LProgress& p) { return NoiseReduction(p, request, noiseProfile_); });
        case LEffectId::kPasteMix:
        case LEffectId::kMixFile:
            return job([&](LProgress& p) { return PasteMix(p, request, mixSource_); });
        case LEffectId::kCrossFade:
            return job([&](LProgress& p) { return CrossFade(p, request, mixSource_); });
        case LEffectId::kLoudnessNormalize:
            return job([&](LProgress& p) { return LoudnessNormalize(p, request); });
        case LEffectId::kLv2Effects:
        case LEffectId::kLadspaPlugins: {
            const LPluginKind kind =
                info.id == LEffectId::kLv2Effects ? LPluginKind::kLv2 : LPluginKind::kLadspa;
            if (!plugin_ || plugin_->info.kind != kind) {
                result.detail = "no plug-in was chosen";
                return kJobFailed;
            }
            return job([&](LProgress& p) {
                return PumpPlugin(p, request, *plugin_, title, result.detail);
            });
        }
        default:
            if (HasEffectSource(info.id))
                return job([&](LProgress& p) { return PumpEffectSource(p, request, info.id); });
            LTracef("LEffectDriver::Process no processing for %s", info.command);
            return kJobFailed;
    }
}

}  // namespace osmera
