// osmera-cli play FILE [--device N|file:OUT.wav] [--from TIME] [--fast]
//
// Plays FILE to its end through the sound player, showing the position on a terminal.
// Ctrl+C stops playback cleanly. Without sound hardware the null device plays it in real
// time. --device file:OUT.wav writes what would be heard to OUT.wav instead; --fast runs
// that file device as fast as possible.

#include <optional>
#include <string>

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/device_choice.h"
#include "cli/terminal_progress.h"
#include "core/sound_time.h"
#include "devices/dispatcher.h"
#include "devices/sound_devices.h"
#include "devices/sound_player.h"
#include "effects/script_words.h"
#include "formats/open_audio_source.h"
#include "formats/open_error_message.h"

namespace osmera::cli {
namespace {

class LPlayStatus : public LSoundPlayerNotify {
  public:
    explicit LPlayStatus(int32_t lengthMs) : length_(LSoundTime::FormatHundredths(lengthMs)) {}
    void OnPlay(void*) override {}
    void OnStop(void*) override {}
    void OnCue(void*) override {}
    void OnPause(void*) override {}
    void OnPosition(void*, int32_t ms) override {
        ShowStatus("Playing " + LSoundTime::FormatHundredths(ms) + " / " + length_);
    }
    void OnLevels(void*, const LChannelLevels&) override {}

  private:
    std::string length_;
};

}  // namespace

int RunPlay(int argc, char** argv) {
    LArgs args(argc, argv, {"device", "from"}, {"fast"});
    if (args.Error().empty() && args.Positional().size() != 1) {
        PrintError("play needs one file (see osmera-cli play --help)");
        return kExitUsage;
    }
    if (!args.Error().empty()) {
        PrintError(args.Error());
        return kExitUsage;
    }
    const LDeviceChoice device = ParseDeviceChoice(args.Value("device").value_or("0"), true);
    if (!device.error.empty()) {
        PrintError(device.error);
        return kExitUsage;
    }
    const std::string& in = args.Positional()[0];
    LSourceRef source = OpenAudioSource(in);
    if (!source->IsOk()) {
        PrintError(OpenErrorMessage(source->GetError(), in));
        return kExitFailed;
    }
    const int32_t rate = source->GetSampleRate();
    const int32_t length = source->GetLengthSample();
    if (auto from = args.Value("from")) {
        const std::optional<int32_t> at =
            IsTimeWord(*from) ? TimeWordToFrames(*from, rate) : std::nullopt;
        if (!at || *at < 0 || *at > length) {
            PrintError("--from must be a time from 0:00:00.000 to " +
                       LSoundTime::FormatMilliseconds(LSoundTime(length, rate).GetMilliseconds()) +
                       " (the length of " + in + "), not '" + *from + "'");
            return kExitUsage;
        }
        source->Seek(*at);
    }

    LQueueDispatcher dispatcher;
    LPlayStatus status(LSoundTime(length, rate).GetMilliseconds());
    LSoundPlayer player(&dispatcher);
    player.SetNotify(&status, nullptr);
    if (!device.file.empty()) {
        player.SetDeviceOpener(VirtualOutOpener(args.Has("fast") ? 0 : 1.0, device.file));
    } else if (!HasSoundOutputHardware()) {
        PrintError("no sound output device found; playing to the null device");
        player.SetDeviceOpener(VirtualOutOpener(1.0));
    } else {
        player.SetDevice(device.number);
    }
    if (!player.Start(source)) {
        PrintError(device.file.empty()
                       ? "cannot open sound output device " + std::to_string(device.number) +
                             " (see osmera-cli devices)"
                       : "cannot create " + device.file);
        return kExitFailed;
    }
    source.Reset();
    bool cancelled = false;
    while (player.IsOpen()) {
        if (CancelRequested()) {
            cancelled = true;
            player.Stop();
            break;
        }
        dispatcher.WaitAndPump(50);
    }
    EndStatus();
    if (cancelled) {
        PrintError("interrupted; playback stopped");
        return kExitCancelled;
    }
    return kExitOk;
}

}  // namespace osmera::cli
