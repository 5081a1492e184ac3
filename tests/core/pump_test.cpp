#include "core/pr_source_to_sink.h"

#include <gtest/gtest.h>

#include <numeric>

#include "core/generator_sources.h"
#include "core/trace.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

using testing::CollectSink;
using testing::RecordingProgress;

// Frame i of channel c holds i * 2 + c, within the 16-bit range so no limiter is added.
LRef<LSRCSampleVector> Ramp(int32_t frames, uint8_t channels = 1) {
    std::vector<int32_t> s(static_cast<size_t>(frames) * channels);
    for (size_t i = 0; i < s.size(); ++i)
        s[i] = static_cast<int32_t>(i % 500000);
    return MakeRef<LSRCSampleVector>(44100, channels, std::move(s), kPeak16Bit);
}

TEST(Pump, WholeRunBlockAccounting) {
    struct Case {
        int32_t frames;
        std::vector<int32_t> writes;
    };
    const Case cases[] = {
        {8192, {8192}},  // one Read; position equals length, so it is the last block
        {10000, {8192, 1808}}, {1, {1}},
        {16384, {8192, 8192}}, {0, {}},  // nothing written, still completed
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.frames);
        auto source = Ramp(c.frames, 2);
        auto sink = MakeRef<CollectSink>(44100, 2);
        RecordingProgress progress;
        LPRSourceToSink pump(source, sink, &progress, "Saving");
        EXPECT_EQ(pump.Process(), kJobDone);
        EXPECT_EQ(sink->writes, c.writes);
        EXPECT_EQ(sink->samples, source->Samples());
        EXPECT_EQ(progress.lines[0], "Saving");
        EXPECT_EQ(progress.lines[1], "Please wait...");
        ASSERT_FALSE(progress.fractions.empty());
        EXPECT_EQ(progress.fractions.front(), 0.0);
    }
}

// The hook sees exactly the frames the sink gets, in both runs, and what it changes is
// what the sink receives.
TEST(Pump, BlockHookSeesAndChangesEveryWrittenBlock) {
    for (const bool span : {false, true}) {
        SCOPED_TRACE(span);
        auto source = Ramp(10000, 2);
        auto sink = MakeRef<CollectSink>(44100, 2);
        std::vector<int32_t> seen;
        LPRSourceToSink pump(source, sink);
        pump.SetBlockHook([&](int32_t* samples, int32_t count) {
            seen.push_back(count);
            for (int32_t i = 0; i < count * 2; ++i)
                samples[i] = -samples[i];
        });
        EXPECT_EQ(span ? pump.ProcessSpan(0, 10000) : pump.Process(), kJobDone);
        EXPECT_EQ(seen, sink->writes);
        EXPECT_EQ(seen, (std::vector<int32_t>{8192, 1808}));
        std::vector<int32_t> negated = source->Samples();
        for (int32_t& v : negated)
            v = -v;
        EXPECT_EQ(sink->samples, negated);
    }
}

TEST(Pump, CancelBetweenBlocksKeepsWhatWasWritten) {
    auto sink = MakeRef<CollectSink>(44100, 1);
    RecordingProgress beforeFirst(1);
    EXPECT_EQ(LPRSourceToSink(Ramp(20000), sink, &beforeFirst).Process(), kJobCancelled);
    EXPECT_TRUE(sink->writes.empty());

    RecordingProgress beforeSecond(2);
    EXPECT_EQ(LPRSourceToSink(Ramp(20000), sink, &beforeSecond).Process(), kJobCancelled);
    EXPECT_EQ(sink->writes, std::vector<int32_t>{8192});

    RecordingProgress span(2);
    auto spanSink = MakeRef<CollectSink>(44100, 1);
    EXPECT_EQ(LPRSourceToSink(Ramp(20000), spanSink, &span).ProcessSpan(0, 20000), kJobCancelled);
    EXPECT_EQ(spanSink->writes, std::vector<int32_t>{8192});
}

TEST(Pump, RefusesUnusableSourceOrSink) {
    LTraceCapture trace;
    auto failed = MakeRef<LSRCSampleVector>(0, 1, std::vector<int32_t>(10));  // rate 0: error 3
    ASSERT_EQ(failed->GetError(), kSourceBadParams);
    auto sink = MakeRef<CollectSink>(44100, 1);
    EXPECT_EQ(LPRSourceToSink(failed, sink).Process(), kJobFailed);
    EXPECT_TRUE(trace.Contains("LPRSourceToSink::Process Source Error"));

    EXPECT_EQ(LPRSourceToSink(MakeEmptySource(), sink).Process(), kJobFailed);

    auto badSink = MakeRef<CollectSink>(44100, 0);
    EXPECT_TRUE(badSink->IsError());
    EXPECT_TRUE(trace.Contains("LSoundSinkBase::LSoundSinkBase nChans == 0"));
    trace.Clear();
    EXPECT_EQ(LPRSourceToSink(Ramp(10), badSink).Process(), kJobFailed);
    EXPECT_TRUE(trace.Contains("LPRSourceToSink::Process Sink Error"));
    EXPECT_TRUE(badSink->writes.empty());

    trace.Clear();
    EXPECT_EQ(LPRSourceToSink(Ramp(10), LSinkRef()).Process(), kJobFailed);
    EXPECT_TRUE(trace.Contains("LPRSourceToSink::Process Sink Error"));
}

TEST(Pump, RefusesFormatsThatDoNotAgree) {
    LTraceCapture trace;
    auto sink = MakeRef<CollectSink>(44100, 1);
    EXPECT_EQ(LPRSourceToSink(Ramp(10, 2), sink).ProcessSpan(0, 10), kJobFailed);
    EXPECT_TRUE(trace.Contains("lssSource.GetChannels() != lssSink.GetChannels()"));
    auto other = MakeRef<CollectSink>(48000, 1);
    EXPECT_EQ(LPRSourceToSink(Ramp(10), other).ProcessSpan(0, 10), kJobFailed);
    EXPECT_TRUE(trace.Contains("lssSource.GetSampleRate() != lssSink.GetSampleRate()"));
}

TEST(Pump, SpanRuns) {
    auto source = Ramp(30000);
    const auto& all = source->Samples();

    auto sink = MakeRef<CollectSink>(44100, 1);
    EXPECT_EQ(LPRSourceToSink(source, sink).ProcessSpan(100, 20100), kJobDone);
    EXPECT_EQ(sink->writes, (std::vector<int32_t>{8192, 8192, 3616}));
    EXPECT_EQ(sink->samples, std::vector<int32_t>(all.begin() + 100, all.begin() + 20100));

    // An empty span above 0 still seeks and moves exactly one frame.
    auto one = MakeRef<CollectSink>(44100, 1);
    EXPECT_EQ(LPRSourceToSink(source, one).ProcessSpan(500, 500), kJobDone);
    EXPECT_EQ(one->samples, std::vector<int32_t>{all[500]});

    // A start of 0 or less reads from where the source stands, for `end` frames.
    source->Seek(7);
    auto fromHere = MakeRef<CollectSink>(44100, 1);
    EXPECT_EQ(LPRSourceToSink(source, fromHere).ProcessSpan(-5, 3), kJobDone);
    EXPECT_EQ(fromHere->samples, (std::vector<int32_t>{all[7], all[8], all[9]}));

    // No sink: read and discard.
    source->Seek(0);
    RecordingProgress progress;
    EXPECT_EQ(LPRSourceToSink(source, LSinkRef(), &progress).ProcessSpan(0, 10000), kJobDone);
    EXPECT_EQ(source->GetPositionSample(), 10000);
    EXPECT_EQ(progress.fractions.back(), 1.0);
}

TEST(Pump, SpanEndBeforeStartTouchesNothing) {
    auto source = Ramp(100);
    source->Seek(42);
    RecordingProgress progress;
    auto sink = MakeRef<CollectSink>(44100, 1);
    EXPECT_EQ(LPRSourceToSink(source, sink, &progress).ProcessSpan(50, 49), kJobDone);
    EXPECT_EQ(source->GetPositionSample(), 42);
    EXPECT_TRUE(progress.lines[1].empty());
    EXPECT_TRUE(progress.fractions.empty());
    EXPECT_TRUE(sink->writes.empty());
}

TEST(Pump, LimiterOnlyForSourcesBeyondSixteenBits) {
    // A 16-bit-range source is written as it is.
    std::vector<int32_t> loud16 = {524272, -524288, 3};
    auto sink16 = MakeRef<CollectSink>(44100, 1);
    LPRSourceToSink(MakeRef<LSRCSampleVector>(44100, 1, loud16, kPeak16Bit), sink16).Process();
    EXPECT_EQ(sink16->samples, loud16);

    // A processed source is limited to +-524272.
    auto tone = MakeRef<LSRCTone>(44100, 2, 30000, 440.0, 2000000);
    auto sink = MakeRef<CollectSink>(44100, 2);
    EXPECT_EQ(LPRSourceToSink(tone, sink).Process(), kJobDone);
    ASSERT_EQ(sink->samples.size(), 60000u);
    int32_t largest = 0;
    for (int32_t v : sink->samples)
        largest = std::max(largest, std::abs(v));
    EXPECT_EQ(largest, kPeak16Bit);
}

}  // namespace
}  // namespace osmera
