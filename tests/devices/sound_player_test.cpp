#include "devices/sound_player.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <string>
#include <vector>

#include "core/generator_sources.h"
#include "core/sound_time.h"
#include "devices/dispatcher.h"
#include "formats/wave_file.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

// Records every listener call as a word ("play", "pos 100", ...).
class Recorder : public LSoundPlayerNotify {
  public:
    void OnPlay(void*) override { calls.push_back("play"); }
    void OnStop(void*) override { calls.push_back("stop"); }
    void OnCue(void*) override { calls.push_back("cue"); }
    void OnPause(void*) override { calls.push_back("pause"); }
    void OnPosition(void*, int32_t ms) override {
        calls.push_back("pos " + std::to_string(ms));
        positions.push_back(ms);
    }
    void OnLevels(void*, const LChannelLevels& l) override {
        calls.push_back("levels");
        lastLevels = l;
    }
    bool Has(const std::string& word) const {
        return std::find(calls.begin(), calls.end(), word) != calls.end();
    }

    std::vector<std::string> calls;
    std::vector<int32_t> positions;
    LChannelLevels lastLevels;
};

// Random 16-bit samples in the internal scale.
std::vector<int32_t> Random16(size_t count, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_int_distribution<int> d(-32768, 32767);
    std::vector<int32_t> v(count);
    for (auto& s : v)
        s = d(gen) * 16;
    return v;
}

// Pumps `dispatcher` until the player closed or `seconds` passed.
void PumpUntilStopped(LQueueDispatcher& dispatcher, LSoundPlayer& player, double seconds) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (player.IsOpen() && std::chrono::steady_clock::now() < until)
        dispatcher.WaitAndPump(20);
}

struct PlayCase {
    int32_t rate;
    uint8_t channels;
    int32_t frames;
};

class PlayToFile : public ::testing::TestWithParam<PlayCase> {};

TEST_P(PlayToFile, ReproducesSamplesAndReportsPositionsInOrder) {
    const PlayCase c = GetParam();
    testing::TempDir dir;
    const std::string out = dir.File("out.wav");
    const auto samples = Random16(static_cast<size_t>(c.frames) * c.channels, 7);

    LQueueDispatcher dispatcher;
    Recorder listener;
    LSoundPlayer player(&dispatcher);
    player.SetNotify(&listener, nullptr);
    player.SetDeviceOpener(VirtualOutOpener(0, out));
    ASSERT_TRUE(player.Start(MakeRef<LSRCSampleVector>(c.rate, c.channels, samples, kPeak16Bit)));
    PumpUntilStopped(dispatcher, player, 10);
    ASSERT_FALSE(player.IsOpen());

    ASSERT_GE(listener.calls.size(), 3u);
    EXPECT_EQ(listener.calls.front(), "play");
    EXPECT_EQ(listener.calls.back(), "stop");
    EXPECT_TRUE(std::is_sorted(listener.positions.begin(), listener.positions.end()));
    EXPECT_EQ(listener.positions.back(), LSoundTime(c.frames, c.rate).GetMilliseconds());

    LSourceRef back = LWaveFile::OpenSource(out);
    ASSERT_TRUE(back->IsOk());
    ASSERT_EQ(back->GetLengthSample(), c.frames);
    std::vector<int32_t> got(samples.size());
    back->Read(got.data(), c.frames);
    EXPECT_EQ(got, samples);
}

INSTANTIATE_TEST_SUITE_P(Sources, PlayToFile,
                         ::testing::Values(PlayCase{8000, 2, 2900},  // several buffers
                                           PlayCase{44100, 1, 100},  // shorter than one buffer
                                           PlayCase{100, 1, 250},    // 20-frame buffers
                                           PlayCase{8000, 1, 800 * 70 + 3}));  // ring wraps

TEST(SoundPlayer, TransitionsCallTheListener) {
    LQueueDispatcher dispatcher;
    Recorder listener;
    LSoundPlayer player(&dispatcher);
    player.SetNotify(&listener, nullptr);
    player.SetDeviceOpener(VirtualOutOpener(1.0));
    // Ten seconds of a full-scale square wave at 1000 Hz, mono.
    std::vector<int32_t> square(10000);
    for (size_t i = 0; i < square.size(); ++i)
        square[i] = (i / 4) % 2 ? 524272 : -524272;
    auto source = MakeRef<LSRCSampleVector>(1000, 1, square, kPeak16Bit);

    ASSERT_TRUE(player.Start(source, LSoundPlayer::kStartPaused));
    EXPECT_EQ(listener.calls, (std::vector<std::string>{"pause", "pos 0"}));
    EXPECT_EQ(player.GetState(), LSoundPlayer::kStateOpen | LSoundPlayer::kStatePaused);
    listener.calls.clear();

    player.Play();
    player.Pause();
    player.Pause();  // already paused: nothing
    EXPECT_EQ(listener.calls, (std::vector<std::string>{"play", "pause"}));
    listener.calls.clear();

    player.Cue();
    EXPECT_EQ(listener.calls, (std::vector<std::string>{"levels", "cue", "pos 0"}));
    EXPECT_EQ(listener.lastLevels.level[0], 15);
    EXPECT_EQ(player.GetState(), LSoundPlayer::kStateOpen | LSoundPlayer::kStateCued);
    listener.calls.clear();
    player.Cue();  // cued and not paused: nothing
    EXPECT_TRUE(listener.calls.empty());

    player.Seek(5000);
    EXPECT_EQ(listener.calls, (std::vector<std::string>{"levels", "pos 5000"}));
    EXPECT_EQ(player.GetPosition(), 5000);
    EXPECT_EQ(player.GetState(), LSoundPlayer::kStateOpen | LSoundPlayer::kStateCued);
    listener.calls.clear();

    player.Play();
    EXPECT_EQ(listener.calls, (std::vector<std::string>{"play"}));
    // Positions go on from the sought place.
    for (int i = 0; i < 50 && listener.positions.back() <= 5000; ++i)
        dispatcher.WaitAndPump(20);
    EXPECT_GT(listener.positions.back(), 5000);
    EXPECT_LT(listener.positions.back(), 8000);
    EXPECT_EQ(listener.lastLevels.level[0], 15);

    listener.calls.clear();
    player.Stop();
    player.Stop();  // closed: nothing
    EXPECT_EQ(listener.calls, (std::vector<std::string>{"stop"}));
    EXPECT_EQ(player.GetState(), 0);
}

TEST(SoundPlayer, RefusesBadSourcesAndMissingDevices) {
    LQueueDispatcher dispatcher;
    Recorder listener;
    LSoundPlayer player(&dispatcher);
    player.SetNotify(&listener, nullptr);
    EXPECT_FALSE(player.Start(MakeEmptySource()));
    player.SetDevice(1000);  // no machine has that many devices
    EXPECT_FALSE(player.Start(MakeRef<LSRCSilence>(8000, 1, 8000)));
    EXPECT_FALSE(player.IsOpen());
    EXPECT_TRUE(listener.calls.empty());
}

}  // namespace
}  // namespace osmera
