#pragma once
// The effect driver: the one command sequence every effect command of the editor and of
// the command line runs. On the current document of a controller it selects the whole
// file when nothing is selected, stops playback, reads the effect's remembered parameters
// with their defaults, lets a dialog change them (validating on OK with the effect table's
// messages), writes them back, records the undo step named after the effect, runs the
// effect (as a job under the progress for pumped effects), and ends with the controller's
// EndModifyCurrentFile at the range start with a one-second preroll (which starts playback
// when "AutoPlaybackAfterEffects" is on).
//
// The controller, settings, progress and listener are borrowed and must outlive the
// driver. GUI thread (or the script runner's thread) only: jobs run synchronously.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "core/progress.h"
#include "core/settings_store.h"
#include "edit/document_controller.h"
#include "effects/effect_table.h"
#include "effects/level_effects.h"
#include "effects/noise_reduction.h"
#include "effects/plugin_source.h"

namespace osmera {

// How a point editor ended.
enum class LPointsAnswer {
    kNoEditor,  // the dialog has no point editor: the points stay as read
    kOk,        // the user's points are in the list; they are kept in the effect's file
    kCancel,    // the user cancelled: nothing is done
};

// An effect's parameter dialog.
class LEffectDialog {
  public:
    virtual ~LEffectDialog() = default;
    // Shows the dialog initialised with `values` (table order) and leaves the user's values
    // there; false when the user cancelled. Asked again after an invalid value.
    virtual bool Ask(const LEffectInfo& info, std::vector<int32_t>& values) = 0;
    // A message box (`title`, `text`); for "Invalid value" the dialog then stays open.
    virtual void ShowMessage(const std::string& title, const std::string& text) = 0;
    // For an effect whose parameters are points (the envelope): shows `points` (as read
    // from the effect's file, or the flat envelope) over the range of `doc` that the
    // effect will change (its selection) and leaves the user's points there.
    virtual LPointsAnswer AskPoints(const LEffectInfo& info, const LOMFile& doc,
                                    LPointList& points) {
        (void)info;
        (void)doc;
        (void)points;
        return LPointsAnswer::kNoEditor;
    }
    // For the mixing effects, before Ask: makes a new source of the other audio (in the
    // document's rate and channels) each time it is called, for a preview. The maker stays
    // valid until Run returns.
    virtual void SetMixAudio(std::function<LSourceRef()> make) { (void)make; }
};

// A dialog that answers with given values (the command line, tests): each given value
// replaces the remembered one. After a message it cancels, keeping the message.
class LPresetEffectDialog : public LEffectDialog {
  public:
    // `values[i]` for parameter i; missing ones keep what was remembered.
    explicit LPresetEffectDialog(std::vector<int32_t> values = {}) : values_(std::move(values)) {}
    bool Ask(const LEffectInfo& info, std::vector<int32_t>& values) override;
    void ShowMessage(const std::string& title, const std::string& text) override;

    const std::string& Title() const { return title_; }
    const std::string& Message() const { return message_; }

  private:
    std::vector<int32_t> values_;
    std::string title_;
    std::string message_;
};

enum class LEffectStatus {
    kApplied,          // the effect ran to its end (undo step recorded)
    kJobCancelled,     // cancelled during processing: document unchanged, undo step recorded
    kJobFailed,        // the job failed: document unchanged, undo step recorded
    kNoDocument,       // nothing was done
    kDialogCancelled,  // the dialog was cancelled (or refused a value): nothing was done
    kRefused,          // refused before the dialog (mono file, selection too long, no free
                       // cut number): message
    kNotAvailable,     // an effect this build does not process
};

struct LEffectResult {
    LEffectStatus status = LEffectStatus::kNoDocument;
    int code = kJobDone;  // the job's result when one ran
    std::string title;    // the message shown, if any
    std::string message;
    int32_t repairs = 0;  // clicks repaired by the automatic click repair
    std::string detail;   // why a plug-in failed, for the trace and the command line
};

// Refusals of the mixing effects (titled "Osmera"): nothing on the clipboard for paste mix
// and cross fade, no file chosen for mix file.
extern const char* const kMixClipboardEmptyMessage;
extern const char* const kMixNoFileMessage;

// True for the effects this driver can process.
bool IsEffectProcessed(LEffectId id);

class LEffectDriver {
  public:
    LEffectDriver(LDocumentController& controller, LSettingsStore& settings, LProgress& progress,
                  LDocumentListener* playback = nullptr);

    // Runs effect `id` on the current document. Without a dialog the remembered values are
    // used (and validated: an invalid one is refused with the table's message).
    LEffectResult Run(LEffectId id, LEffectDialog* dialog = nullptr);

    // Points the envelope uses instead of reading "envelope.dat" (the command line). A
    // dialog with a point editor starts from the file's points (the flat envelope when
    // there are none) and, on OK, writes its points back to the file before the effect
    // runs with them.
    void SetEnvelopePoints(const LPointList& points) { envelope_ = points; }
    // Frames of silence the insert-silence commands use instead of "SilenceTimes" (which
    // is in milliseconds); negative: use "SilenceTimes".
    void SetSilenceFrames(int32_t frames) { silenceFrames_ = frames; }
    // The noise profile noise reduction uses; without one it estimates the profile from
    // the quietest parts of the range. TakeNoiseProfile measures the current document's
    // selection (the whole file when there is none); false when there is no document or
    // the selection is shorter than one analysis frame (the old profile is then kept).
    void SetNoiseProfile(const LNoiseProfile& profile) { noiseProfile_ = profile; }
    bool TakeNoiseProfile();
    const LNoiseProfile& NoiseProfile() const { return noiseProfile_; }
    // The audio file Mix File mixes in ("" refuses the command with a message).
    void SetMixFile(const std::string& path) { mixFile_ = path; }
    // The list Paste Mix mixes in instead of the controller's clipboard (Paste Mix From
    // Clipboard loads the system clipboard's audio into one). Borrowed; null: the
    // controller's clipboard.
    void SetMixList(const LCutListAudio* list) { mixList_ = list; }
    // "envelope.dat" in the folder "Folders"/"Current".
    std::string EnvelopeFilePath();
    // Band gains (tenths of a dB, low band first) the equalizer uses instead of reading
    // "equalizer.dat" (the command line). Without them and without a usable file the
    // equalizer is flat.
    void SetEqualizerGains(const std::vector<int32_t>& gainTenths) { equalizer_ = gainTenths; }
    // "equalizer.dat" in the folder "Folders"/"Current".
    std::string EqualizerFilePath();
    // The plug-in the plug-in commands run (borrowed until Run returns; null: none, which
    // fails like a plug-in that cannot be loaded). Its kind must match the command's.
    void SetPlugin(const LPluginChoice* choice) { plugin_ = choice; }

  private:
    int Process(const LEffectInfo& info, LOMFile& doc, const std::vector<int32_t>& values,
                int32_t& position, LEffectResult& result);

    LDocumentController& controller_;
    LSettingsStore& settings_;
    LProgress& progress_;
    LDocumentListener* playback_;
    LPointList envelope_;
    std::vector<int32_t> equalizer_;
    int32_t silenceFrames_ = -1;
    LNoiseProfile noiseProfile_;
    std::string mixFile_;
    const LCutListAudio* mixList_ = nullptr;
    const LPluginChoice* plugin_ = nullptr;
    LSourceRef mixSource_;  // the other audio of the mixing effect being run
};

}  // namespace osmera
