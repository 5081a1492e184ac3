// osmera-cli record OUT.wav [--seconds N] [--threshold DB] [--device N] [--rate HZ]
//                           [--channels 1|2] [--input-file IN] [--fast]
//
// Records 16-bit PCM into OUT.wav until --seconds have been recorded, the input file
// ends, or Ctrl+C (which ends the take and keeps it). With --threshold the recording
// waits for sound of at least DB (recorder level units, -127..127; full scale is 12) and
// pauses again after 2 s below it. --input-file IN takes the sound from a file as if it
// came from a microphone (real time, or as fast as possible with --fast). The file is
// written under a temporary name beside OUT and renamed when complete.

#include <string>

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/device_choice.h"
#include "cli/terminal_progress.h"
#include "core/format_match.h"
#include "core/safe_replace.h"
#include "core/sound_time.h"
#include "devices/dispatcher.h"
#include "devices/record_take.h"
#include "devices/sound_devices.h"
#include "devices/sound_recorder.h"
#include "formats/open_audio_source.h"
#include "formats/open_error_message.h"
#include "formats/wave_file.h"

namespace osmera::cli {
namespace {

class LRecordStatus : public LSoundRecorderNotify {
  public:
    void OnRecord(void*) override { waiting_ = false; }
    void OnWaiting(void*) override { waiting_ = true; }
    void OnStop(void*) override {}
    void OnPosition(void*, int32_t ms) override {
        ShowStatus((waiting_ ? "Waiting for sound " : "Recording ") +
                   LSoundTime::FormatHundredths(ms));
    }
    void OnLevels(void*, const LChannelLevels&) override {}

  private:
    bool waiting_ = false;
};

}  // namespace

int RunRecord(int argc, char** argv) {
    LArgs args(argc, argv, {"seconds", "threshold", "device", "rate", "channels", "input-file"},
               {"fast"});
    if (args.Error().empty() && args.Positional().size() != 1) {
        PrintError("record needs one output file (see osmera-cli record --help)");
        return kExitUsage;
    }
    const long seconds = args.IntValue("seconds", 0, 1, 2000000);
    const long threshold = args.IntValue("threshold", -127, -127, 127);
    long rate = args.IntValue("rate", 0, 1, 196000);
    long channels = args.IntValue("channels", 0, 1, 2);
    if (!args.Error().empty()) {
        PrintError(args.Error());
        return kExitUsage;
    }
    const LDeviceChoice device = ParseDeviceChoice(args.Value("device").value_or("0"), false);
    if (!device.error.empty()) {
        PrintError(device.error);
        return kExitUsage;
    }
    const std::string& out = args.Positional()[0];

    LQueueDispatcher dispatcher;
    LRecordStatus status;
    LSoundRecorder recorder(&dispatcher);
    recorder.SetNotify(&status, nullptr);
    auto inputEnded = std::make_shared<LEvent>();
    int32_t inputFrames = -1;  // the input file's length in the recording's format
    if (auto inputFile = args.Value("input-file")) {
        LSourceRef probe = OpenAudioSource(*inputFile);
        if (!probe->IsOk()) {
            PrintError(OpenErrorMessage(probe->GetError(), *inputFile));
            return kExitFailed;
        }
        // The file's own format unless told otherwise.
        if (rate == 0)
            rate = probe->GetSampleRate();
        if (channels == 0)
            channels = probe->GetChannels() >= 2 ? 2 : 1;
        inputFrames = MatchFormat(probe, static_cast<int32_t>(rate), static_cast<uint8_t>(channels))
                          ->GetLengthSample();
        const std::string path = *inputFile;
        recorder.SetDeviceOpener(VirtualInOpener(
            args.Has("fast") ? 0 : 1.0, [path] { return OpenAudioSource(path); }, inputEnded));
    } else if (!HasSoundInputHardware()) {
        PrintError("no sound input device found; recording silence from the null device");
        recorder.SetDeviceOpener(VirtualInOpener(1.0));
    } else {
        recorder.SetDevice(device.number);
    }
    if (rate == 0)
        rate = 44100;
    if (channels == 0)
        channels = 2;
    // A take is at most 2147483647 frames long.
    if (seconds > 0 && seconds * rate > INT32_MAX) {
        PrintError("--seconds must be from 1 to " + std::to_string(INT32_MAX / rate) + " at " +
                   std::to_string(rate) + " Hz, not " + std::to_string(seconds));
        return kExitUsage;
    }

    LSafeReplace replace(out);
    auto sink = LWaveFile::CreateSink(replace.TempPath(), static_cast<int32_t>(rate), 0, 2,
                                      static_cast<uint8_t>(channels));
    if (sink->IsError()) {
        PrintError("cannot create " + out + ": check the folder exists and you may write to it");
        return kExitFailed;
    }
    LRecordOptions options;
    if (args.Has("threshold"))
        options.threshold = static_cast<int8_t>(threshold);
    options.maxMs = static_cast<uint32_t>(seconds) * 1000u;
    if (!options.Start(recorder, sink)) {
        PrintError("cannot open sound input device " + std::to_string(device.number) + " at " +
                   std::to_string(rate) + " Hz, " + std::to_string(channels) +
                   " channel(s) (see osmera-cli devices)");
        return kExitFailed;
    }
    while (recorder.GetState() != LSoundRecorder::kStateIdle) {
        if (CancelRequested() || inputEnded->IsSet()) {
            recorder.Stop();
            break;
        }
        dispatcher.WaitAndPump(50);
    }
    EndStatus();
    options.FinishTake(*sink);
    // A take from a file that began at once ends with the file, not with the silence
    // that completed its last buffer.
    if (inputFrames >= 0 && !options.WaitsForSound() && sink->GetPosition() > inputFrames)
        sink->Seek(inputFrames);
    const bool written = sink->Finish() && !sink->WriteFailed();
    sink.Reset();
    if (!written || !replace.Commit()) {
        PrintError("cannot write " + out + " (is the disk full?); it was left as it was");
        return kExitFailed;
    }
    return kExitOk;
}

}  // namespace osmera::cli
