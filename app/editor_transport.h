#pragma once
// LEditorTransport: the editor's playback. It owns the sound player, knows which document
// plays (only one at a time: playing another stops the first), over which range, at which
// speed and whether it repeats, and turns the player's reports into the document model's
// play position and into levels for the meter.
//
// A playback reads a private copy of the range [from, to) of the document's audio (the
// selection, or from the cursor to the end), behind a loop for Play Repeat and behind the
// tape-speed stage (core/tape_speed_sources.h) for slow and fast play; the transport maps
// the player's frames back to the document's frames.
//
// The player reports the end of each finished buffer (every 100 ms); between reports the
// transport moves the play position on by the elapsed time, at most one buffer ahead of
// the last report, every 25 ms, so the play line moves smoothly and never goes back.
//
// Stop leaves the cursor where playing began: the cursor is never moved by playing,
// pausing or scrubbing, only the play line is.
//
// Scrubbing: while paused the document's model lets the views scrub; a drag cues the
// player (it loops a short snippet), each move seeks the snippet to the pointer, and the
// release pauses again at the last place, from where resuming plays on.
//
// Devices: the output is "SoundOutDevice" of section "Settings" (0 the system default).
// When it cannot be opened the default device is tried, then the null device; a machine
// without sound says so once (statusMessage) and plays to the null device, which runs in
// real time. Tests put the file or null devices in with SetDeviceOpener.
//
// Ownership: borrows the settings store and the playing document's model (held by a
// QPointer; the owner calls Forget before a model goes away). Threads: GUI thread only;
// the player's workers reach it through the GUI dispatcher.

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <cstdint>
#include <memory>
#include <vector>

#include "core/settings_store.h"
#include "core/tape_speed_sources.h"
#include "devices/sound_devices.h"
#include "devices/sound_player.h"
#include "display/document_model.h"

namespace osmera {

class LEditorTransport : public QObject, public LSoundPlayerNotify {
    Q_OBJECT
  public:
    // How far Rewind and Fast Forward jump, in seconds.
    static constexpr int kJumpSeconds = 5;
    static constexpr int kTickMs = 25;

    explicit LEditorTransport(LSettingsStore& settings, QObject* parent = nullptr);
    ~LEditorTransport() override;

    // Replaces the system's devices (tests: VirtualOutOpener); an empty opener restores them.
    void SetDeviceOpener(LOutDeviceOpener opener) { opener_ = std::move(opener); }

    // Plays `model`'s document from `from` to `to` (to < 0: its end); with `repeat` the
    // range loops until stopped. False when there is nothing to play or no device opened.
    bool Play(LDocumentModel& model, int32_t from, int32_t to, bool repeat);
    // Plays `source`, which belongs to no document (an effect dialog's preview), once from
    // its start: other playback stops first, since the program has one player. False when
    // the source is unusable or no device opened. stateChanged reports its end.
    bool PlaySource(const LSourceRef& source);
    void Stop();
    // Pause when playing, resume when paused (also after scrubbing).
    void TogglePause();
    // Moves the playback by `frames` (document frames) and keeps playing; before the
    // range's start it plays on from there, past its end it stops (a repeat wraps).
    void Jump(int32_t frames);

    void SetSpeed(LTapeSpeed speed) { speed_ = speed; }
    LTapeSpeed Speed() const { return speed_; }

    bool IsActive() const { return player_->IsOpen(); }
    bool IsPaused() const;
    bool IsRepeat() const { return repeat_; }
    // The document that plays, or null.
    LDocumentModel* PlayingModel() const { return model_.data(); }
    // The document frame being heard (-1 when nothing plays).
    int32_t PlayFrame() const;
    // Stops playback of `doc` before its model goes away.
    void Forget(const LOMFile* doc);

    LSoundPlayer& Player() { return *player_; }
    // Play positions handed to the model since construction (for measurements).
    int64_t PositionUpdates() const { return updates_; }

  signals:
    // Started, paused, resumed or stopped.
    void stateChanged();
    // Each play position handed to the model (document frames), before any merging.
    void positionShown(int32_t frame);
    // The levels of the latest buffer, one per channel in the player's unit (-127..15).
    void levelsChanged(const std::vector<int>& levels);
    // Something the user should know that does not stop them (no sound device).
    void statusMessage(const QString& text);

  private:
    // LSoundPlayerNotify, on the GUI thread.
    void OnPlay(void*) override;
    void OnStop(void*) override;
    void OnCue(void*) override;
    void OnPause(void*) override;
    void OnPosition(void*, int32_t) override;
    void OnLevels(void*, const LChannelLevels& levels) override;

    // Starts the range [from, to) of the current model's document without touching the
    // origin; `paused` opens paused.
    bool StartRange(int32_t from, int32_t to, bool paused);
    // Plays `source`, which stands for document frames [from, to) at `speed`: resets the
    // play-position bookkeeping, then starts the player with `flags`.
    bool Begin(const LSourceRef& source, int32_t from, int32_t to, LTapeSpeed speed,
               uint32_t flags);
    bool StartPlayer(const LSourceRef& source, uint32_t flags);
    void NoDevice();
    void Tick();
    void ShowPosition(int64_t playerFrame);
    void SeekDocument(int32_t frame);
    int32_t ToDocument(int64_t playerFrame) const;
    int64_t ToPlayer(int32_t frame) const;
    void ConnectModel(LDocumentModel* model);

    void OnScrubStarted(int32_t frame);
    void OnScrubMoved(int32_t frame);
    void OnScrubEnded(int32_t frame);

    LSettingsStore& settings_;
    std::unique_ptr<LSoundPlayer> player_;
    LOutDeviceOpener opener_;
    QPointer<LDocumentModel> model_;
    std::vector<QMetaObject::Connection> modelLinks_;
    LTapeSpeed speed_ = LTapeSpeed::kNormal;
    LTapeSpeed playingSpeed_ = LTapeSpeed::kNormal;
    bool repeat_ = false;
    int32_t from_ = 0;
    int32_t to_ = 0;
    int32_t rate_ = 1;
    int64_t chainLength_ = 0;  // frames of the player's source
    int64_t reported_ = 0;     // the player's last reported frame
    int64_t shown_ = -1;       // the player frame last shown (never goes back in a run)
    QElapsedTimer sinceReport_;
    QTimer tick_;
    bool noDeviceSaid_ = false;
    bool restarting_ = false;  // Start closes the old playback of the same run
    int64_t updates_ = 0;
};

}  // namespace osmera
