// Recording in the editor: takes from a file input device go into the document through
// the record window, exactly as the recorder delivered them, as one undo step.
#include <gtest/gtest.h>

#include <QAction>
#include <QCoreApplication>
#include <cmath>

#include "app/command_menus.h"
#include "app/record_window.h"
#include "devices/sound_devices.h"
#include "edit/src_cut_list_audio.h"
#include "formats/open_audio_source.h"
#include "platform/qt_dispatcher.h"
#include "tests/app/app_fixture.h"

namespace osmera {
namespace {

using namespace testing;

class Recording : public testing::EditorTest {
  protected:
    void SetUp() override {
        SetGuiDispatcher(&dispatcher);
        EditorTest::SetUp();
        settings.SetInt("Settings", "AutoPlaybackAfterEffects", 0);
    }
    void TearDown() override {
        EditorTest::TearDown();
        SetGuiDispatcher(nullptr);
    }

    // A 16-bit mono 8000 Hz WAV of `samples`; the window records from it as fast as it
    // can, and `ended` is set once all of it has been taken.
    LOMRecordWindow& WindowRecordingFrom(const std::vector<int16_t>& samples) {
        Bytes data;
        for (int16_t s : samples)
            Append16(data, static_cast<uint16_t>(s));
        const std::string path = dir.File("input.wav");
        WriteBytes(path, Riff(Chunk("fmt ", FormatBody(1, 8000, 16)) + Chunk("data", data)));
        LOMRecordWindow& window = main->RecordWindow();
        window.SetDeviceOpener(VirtualInOpener(
            0, [path] { return OpenAudioSource(path); }, ended));
        main->Dispatch(kIdRecord);
        return window;
    }
    // Runs the event loop until the input file has been taken whole.
    void RecordToTheEnd() {
        for (int i = 0; i < 1000 && !ended->IsSet(); ++i) {
            QCoreApplication::processEvents();
            ended->Wait(10);
        }
        ASSERT_TRUE(ended->IsSet());
        QCoreApplication::processEvents();
    }

    // What the recorder makes of `samples`: internal scale with the DC filter run over them.
    static std::vector<int32_t> Filtered(const std::vector<int16_t>& samples) {
        std::vector<int32_t> out(samples.begin(), samples.end());
        for (int32_t& s : out)
            s *= 16;
        int32_t acc = 0;
        LSoundRecorder::RemoveDc(out.data(), static_cast<int32_t>(out.size()), 1, 0,
                                 LSoundRecorder::DcMultiplier(8000), &acc);
        return out;
    }
    static std::vector<int32_t> Samples(const LCutListAudio& audio, int32_t from, int32_t to) {
        auto source = audio.MakeSource();
        source->Seek(from);
        std::vector<int32_t> out(static_cast<size_t>(to - from));
        source->Read(out.data(), to - from);
        return out;
    }

    // A voice-activated take into a new file at 8000 Hz mono, waiting for -20, from one
    // second of silence, one of a 1000 Hz tone that begins with a buffer, and three of
    // silence: the new document holds the frames [from, to) of the filtered input.
    void TakeWaitingForSound(bool autotrim, int32_t from, int32_t to) {
        settings.SetInt("Recorder", "SampleRate", 8000);
        settings.SetInt("Recorder", "Channels", 1);
        settings.SetInt("Recorder", "Threshold", -20);
        settings.SetInt("Recorder", "Autotrim", autotrim ? 1 : 0);
        std::vector<int16_t> input(40000, 0);
        for (int i = 8000; i < 16000; ++i)
            input[static_cast<size_t>(i)] =
                static_cast<int16_t>(std::lround(8000 * std::sin(i * 2 * M_PI / 8)));
        LOMRecordWindow& window = WindowRecordingFrom(input);
        ASSERT_TRUE(window.StartTake());
        RecordToTheEnd();
        window.StopTake();

        ASSERT_EQ(main->Controller().GetDocuments().size(), 1u);
        const LOMFile& doc = *main->Controller().GetCurrent();
        EXPECT_EQ(doc.GetDisplayName(), "Untitled 1");
        EXPECT_EQ(doc.audio.GetSampleRate(), 8000u);
        const std::vector<int32_t> filtered = Filtered(input);
        ASSERT_EQ(doc.audio.GetLength(), to - from);
        EXPECT_EQ(Samples(doc.audio, 0, to - from),
                  std::vector<int32_t>(filtered.begin() + from, filtered.begin() + to));
    }

    LQtDispatcher dispatcher;
    std::shared_ptr<LEvent> ended = std::make_shared<LEvent>();
};

TEST_F(Recording, TakeGoesInAtTheCursorAsOneUndoStep) {
    LOMFile& doc = Open("a.wav");  // a ramp of 8000 frames
    const std::vector<int32_t> before = Samples(doc.audio, 0, 8000);
    doc.cursor = 3000;
    // Ten buffers of a signal with an offset, which the recorder's filter takes out.
    std::vector<int16_t> input(8000);
    for (size_t i = 0; i < input.size(); ++i)
        input[i] = static_cast<int16_t>(2000 + (i * 37) % 5000);
    LOMRecordWindow& window = WindowRecordingFrom(input);
    ASSERT_TRUE(window.isVisible());
    ASSERT_TRUE(window.StartTake());

    // Edits wait for the take.
    doc.SetSelection(0, 100);
    EXPECT_FALSE(main->Dispatch(kIdDelete));
    EXPECT_EQ(doc.audio.GetLength(), 8000);
    doc.SetSelection(3000, 3000);
    RecordToTheEnd();
    window.StopTake();
    EXPECT_FALSE(window.IsTakeRunning());

    ASSERT_EQ(doc.audio.GetLength(), 16000);
    EXPECT_EQ(Samples(doc.audio, 3000, 11000), Filtered(input));
    EXPECT_EQ(Samples(doc.audio, 0, 3000),
              std::vector<int32_t>(before.begin(), before.begin() + 3000));
    EXPECT_EQ(Samples(doc.audio, 11000, 16000),
              std::vector<int32_t>(before.begin() + 3000, before.end()));
    EXPECT_EQ(doc.selStart, 3000);
    EXPECT_EQ(doc.selEnd, 11000);
    EXPECT_EQ(main->Menus().Action(kIdUndo)->text(), "Undo Record\tCtrl+Z");

    main->Dispatch(kIdUndo);
    EXPECT_EQ(Samples(doc.audio, 0, doc.audio.GetLength()), before);
    EXPECT_FALSE(doc.modified);
}

TEST_F(Recording, VoiceActivatedTakeKeepsTheToneWithItsLeadInAndTail) {
    // The tone with the 50 ms before it (the second half of the last quiet buffer) and the
    // 50 ms after the last loud buffer.
    TakeWaitingForSound(true, 7600, 16400);
}

TEST_F(Recording, WithoutAutotrimTheTakeKeepsItsTail) {
    TakeWaitingForSound(false, 7600, 40000);
}

TEST_F(Recording, CancelAndAFailedDeviceLeaveTheDocumentAsItWas) {
    LOMFile& doc = Open("a.wav");
    LOMRecordWindow& window = WindowRecordingFrom(std::vector<int16_t>(8000, 1000));
    ASSERT_TRUE(window.StartTake());
    RecordToTheEnd();
    window.CancelTake();
    EXPECT_FALSE(window.IsTakeRunning());
    EXPECT_EQ(doc.audio.GetLength(), 8000);
    EXPECT_FALSE(doc.modified);
    EXPECT_FALSE(main->Menus().Action(kIdUndo)->isEnabled());

    window.SetDeviceOpener([](uint32_t, bool, const LWaveFormat&, std::shared_ptr<LEvent>) {
        return std::unique_ptr<LSoundInDevice>();
    });
    EXPECT_FALSE(window.StartTake());
    EXPECT_FALSE(window.IsTakeRunning());
    ASSERT_EQ(prompts.told.size(), 1);
    EXPECT_TRUE(prompts.told[0].contains("could not be opened for 8000 Hz, mono"));
    EXPECT_EQ(doc.audio.GetLength(), 8000);
    EXPECT_TRUE(main->Dispatch(kIdSelectAll));  // nothing waits for a take any more
}

}  // namespace
}  // namespace osmera
