#include "devices/sound_recorder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "core/generator_sources.h"
#include "core/trace.h"
#include "devices/channel_levels.h"
#include "devices/dispatcher.h"

namespace osmera {
namespace {

// Keeps what is written; Seek cuts back like a file writer.
class VectorSink : public LSoundSinkBase {
  public:
    VectorSink(int32_t rate, uint8_t channels) : LSoundSinkBase(rate, channels) {}
    void Write(const int32_t* buffer, int32_t frames) override {
        samples.insert(samples.end(), buffer, buffer + static_cast<size_t>(frames) * channels);
        position += frames;
    }
    void Seek(int32_t p) override {
        if (p < 0 || p > position)
            return;
        position = p;
        samples.resize(static_cast<size_t>(p) * channels);
    }
    std::vector<int32_t> samples;
};

class Listener : public LSoundRecorderNotify {
  public:
    void OnRecord(void*) override { calls.push_back("record"); }
    void OnWaiting(void*) override { calls.push_back("waiting"); }
    void OnStop(void*) override { calls.push_back("stop"); }
    void OnPosition(void*, int32_t) override { ++positions; }
    void OnLevels(void*, const LChannelLevels&) override { ++levels; }
    std::vector<std::string> calls;
    int positions = 0;
    int levels = 0;
};

constexpr int32_t kRate = 8000;  // 800-frame buffers

// Mono input: silence with square-wave bursts at [start, end) frames.
std::vector<int32_t> Bursts(int32_t length, std::vector<std::pair<int32_t, int32_t>> bursts) {
    std::vector<int32_t> v(static_cast<size_t>(length), 0);
    for (auto [start, end] : bursts)
        for (int32_t i = start; i < end; ++i)
            v[static_cast<size_t>(i)] = ((i - start) / 8) % 2 ? 262144 : -262144;
    return v;
}

// The input as the recorder sees it after its DC filter.
std::vector<int32_t> Filtered(std::vector<int32_t> v) {
    int32_t acc = 0;
    for (size_t at = 0; at < v.size(); at += 800)
        LSoundRecorder::RemoveDc(v.data() + at, 800, 1, 0, LSoundRecorder::DcMultiplier(kRate),
                                 &acc);
    return v;
}

// Waits, pumping the dispatcher, until `done` holds or 10 s passed.
template <class F>
bool PumpUntil(LQueueDispatcher& dispatcher, F done) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!done()) {
        if (std::chrono::steady_clock::now() > until)
            return false;
        dispatcher.WaitAndPump(10);
    }
    return true;
}

size_t Count(const LTraceCapture& trace, const std::string& words) {
    size_t n = 0;
    for (const auto& line : trace.Lines())
        n += line.find(words) != std::string::npos;
    return n;
}

TEST(SoundRecorder, LevelsDcFilterAndBufferFigures) {
    // Stereo display level is the louder of the two channels.
    const int32_t frames[] = {524288, 1000, -524288, -131072};
    int8_t levels[2];
    EXPECT_EQ(ComputeRecorderLevels(frames, 2, 2, levels), 12);
    EXPECT_EQ(levels[1], 0);

    // A constant input settles to 0.
    std::vector<int32_t> constant(8000, 400000);
    int32_t acc = 0;
    LSoundRecorder::RemoveDc(constant.data(), 8000, 1, 0, 25, &acc);
    EXPECT_EQ(constant.back(), 0);
}

TEST(SoundRecorder, VoiceActivatedStartAndStopKeepLeadInAndHangTail) {
    // Burst 1 begins in the first half of buffer 5 (lead-in: second half of buffer 4);
    // burst 2 begins in the second half of buffer 50 (no lead-in).
    const auto input = Bursts(56000, {{4200, 12200}, {40600, 44600}});
    const auto filtered = Filtered(input);
    LTraceCapture trace;
    LQueueDispatcher dispatcher;
    Listener listener;
    LSoundRecorder recorder(&dispatcher);
    recorder.SetNotify(&listener, nullptr);
    recorder.SetDeviceOpener(
        VirtualInOpener(0, [input] { return MakeRef<LSRCSampleVector>(kRate, 1, input); }));
    auto sink = MakeRef<VectorSink>(kRate, 1);
    ASSERT_TRUE(recorder.Start(sink, 0, -20, 500, 0));
    EXPECT_EQ(listener.calls.front(), "waiting");
    ASSERT_TRUE(PumpUntil(dispatcher, [&] { return Count(trace, "VoiceActivatedStop") >= 2; }));
    recorder.Stop();
    EXPECT_EQ(listener.calls.back(), "stop");
    EXPECT_GT(listener.levels, 0);
    EXPECT_TRUE(trace.Contains("VoiceActivatedStart WAITING->RECORDING"));

    // Burst 1: 400 frames of lead-in, buffers 5..15, 450 ms after the last loud buffer.
    // Burst 2: buffers 50..55 and, after the second stop and the final Stop, 50 ms.
    std::vector<int32_t> expected(filtered.begin() + 3600, filtered.begin() + 16400);
    expected.insert(expected.end(), filtered.begin() + 40000, filtered.begin() + 45200);
    ASSERT_EQ(sink->samples.size(), expected.size());
    EXPECT_EQ(sink->samples, expected);
}

TEST(SoundRecorder, StopTrimsTo50MsAfterTheLastLoudBuffer) {
    const auto input = Bursts(8000 * 4, {{0, 8000}});
    LQueueDispatcher dispatcher;
    Listener listener;
    LSoundRecorder recorder(&dispatcher);
    recorder.SetNotify(&listener, nullptr);
    auto ended = std::make_shared<LEvent>();
    recorder.SetDeviceOpener(VirtualInOpener(
        0, [input] { return MakeRef<LSRCSampleVector>(kRate, 1, input); }, ended));
    auto sink = MakeRef<VectorSink>(kRate, 1);
    ASSERT_TRUE(recorder.Start(sink, LSoundRecorder::kStartRecordNow, -20, 100000, 0));
    EXPECT_EQ(listener.calls.front(), "record");
    ASSERT_TRUE(ended->Wait(10000));
    recorder.Stop();
    EXPECT_EQ(sink->samples.size(), 8400u);

    // A maximum time stops the take through the notify handler.
    auto sink2 = MakeRef<VectorSink>(kRate, 1);
    ASSERT_TRUE(recorder.Start(sink2, LSoundRecorder::kStartRecordNow, -127, 100000, 300));
    ASSERT_TRUE(PumpUntil(dispatcher, [&] { return recorder.GetState() == 0; }));
    EXPECT_EQ(listener.calls.back(), "stop");
    EXPECT_GE(sink2->samples.size(), 3200u);
}

TEST(SoundRecorder, FailsWithoutSinkOrDevice) {
    LQueueDispatcher dispatcher;
    LSoundRecorder recorder(&dispatcher);
    EXPECT_FALSE(recorder.Start({}, 0, -20, 500, 0));
    recorder.SetDeviceOpener([](uint32_t, bool, const LWaveFormat&, std::shared_ptr<LEvent>) {
        return std::unique_ptr<LSoundInDevice>();
    });
    LTraceCapture trace;
    EXPECT_FALSE(recorder.Start(MakeRef<VectorSink>(kRate, 1), 0, -20, 500, 0));
    EXPECT_TRUE(trace.Contains("LSoundRecorder::ThreadFunction waveInOpen Error"));
    EXPECT_EQ(recorder.GetState(), 0);
}

}  // namespace
}  // namespace osmera
