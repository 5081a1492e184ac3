#include "core/format_match.h"

#include <gtest/gtest.h>

#include "core/generator_sources.h"
#include "core/pr_source_to_sink.h"
#include "core/sp_conv_channels.h"
#include "core/src_convert_rate.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

using testing::CollectSink;

// Frame i of channel c holds i * 10 + c + 1.
LRef<LSRCSampleVector> Frames(int32_t frames, uint8_t channels, int32_t rate = 44100) {
    std::vector<int32_t> s(static_cast<size_t>(frames) * channels);
    for (int32_t i = 0; i < frames; ++i) {
        for (int c = 0; c < channels; ++c)
            s[static_cast<size_t>(i) * channels + c] = i * 10 + c + 1;
    }
    return MakeRef<LSRCSampleVector>(rate, channels, std::move(s), kPeak16Bit);
}

std::vector<int32_t> Take(LSoundSourceBase& source, int32_t frames) {
    std::vector<int32_t> out(static_cast<size_t>(frames) * source.GetChannels());
    source.Read(out.data(), frames);
    return out;
}

TEST(ConvertChannels, LeftChannelOrDuplicate) {
    // Stereo to mono keeps the left channel bit for bit, across more than one buffer.
    auto stereo = Frames(20000, 2);
    LSPConvChannels2To1 mono(stereo);
    EXPECT_EQ(mono.GetPeak(), kPeak16Bit);
    EXPECT_EQ(mono.GetLengthSample(), 20000);
    const auto left = Take(mono, 20000);
    for (int32_t i = 0; i < 20000; ++i)
        ASSERT_EQ(left[i], stereo->Samples()[2 * i]) << i;
    mono.Seek(123);
    EXPECT_EQ(mono.GetPositionSample(), 123);
    EXPECT_EQ(Take(mono, 2), (std::vector<int32_t>{1231, 1241}));

    LSPConvChannels1To2 both(Frames(10000, 1));
    const auto pairs = Take(both, 10000);
    for (int32_t i = 0; i < 10000; ++i) {
        ASSERT_EQ(pairs[2 * i], i * 10 + 1);
        ASSERT_EQ(pairs[2 * i + 1], i * 10 + 1);
    }
}

TEST(MatchFormat, ConvertsOnlyWhatDiffers) {
    struct Case {
        uint8_t have, want;
        bool converted;
    };
    const Case cases[] = {{2, 1, true},  {1, 2, true},  {2, 2, false},
                          {1, 0, false}, {3, 1, false}, {1, 3, false}};
    for (const auto& c : cases) {
        LSourceRef source = Frames(10, c.have);
        LSourceRef result = ConvertChannels(source, c.want);
        EXPECT_EQ(result.Get() != source.Get(), c.converted) << int{c.have} << "->" << int{c.want};
    }

    LSourceRef source = Frames(10, 2);
    EXPECT_EQ(MatchFormat(source, 44100, 2).Get(), source.Get());
    EXPECT_EQ(ConvertRate(source, 44100).Get(), source.Get());
    // A failed source is passed along untouched, whatever the format asked for.
    LSourceRef failed = MakeEmptySource();
    EXPECT_EQ(MatchFormat(failed, 48000, 2).Get(), failed.Get());
    EXPECT_EQ(ConvertRate(failed, 48000).Get(), failed.Get());
    EXPECT_EQ(ConvertChannels(failed, 2).Get(), failed.Get());
}

TEST(MatchFormat, LargeReductionsRunInTwoStages) {
    struct Case {
        int32_t in, out;
        int32_t firstRate;  // 0: one stage
    };
    const Case cases[] = {{44100, 8000, 16000},
                          {48000, 11025, 22050},
                          {44100, 22050, 0},
                          {44100, 11025, 0},
                          {48000, 11999, 23998}};
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.in << " -> " << c.out);
        LSourceRef chain = ConvertRate(Frames(100, 1, c.in), c.out);
        auto* last = dynamic_cast<LSRCConvertRate*>(chain.Get());
        ASSERT_NE(last, nullptr);
        EXPECT_EQ(last->GetSampleRate(), c.out);
        auto* first = dynamic_cast<LSRCConvertRate*>(last->Inner().Get());
        ASSERT_EQ(first != nullptr, c.firstRate != 0);
        if (first == nullptr)
            continue;
        EXPECT_EQ(first->GetSampleRate(), c.firstRate);
    }
}

TEST(MatchFormat, PumpConvertsBetweenUnlikeFormats) {
    // One second of mono 44100 Hz into a stereo 48000 Hz sink.
    auto tone = MakeRef<LSRCTone>(44100, 1, 44100, 1000.0, 200000);
    auto sink = MakeRef<CollectSink>(48000, 2);
    ASSERT_EQ(LPRSourceToSink(tone, sink).Process(), kJobDone);
    // 44100 * 37 / 34 frames, and the one or two the converter's position trails by.
    const auto frames = static_cast<int32_t>(sink->samples.size() / 2);
    EXPECT_GE(frames, 47991);
    EXPECT_LE(frames, 47993);
    int32_t largest = 0;
    for (int32_t i = 0; i < frames; ++i) {
        ASSERT_EQ(sink->samples[2 * i], sink->samples[2 * i + 1]);
        largest = std::max(largest, sink->samples[2 * i]);
    }
    EXPECT_NEAR(largest, 200000, 2000);

    // Stereo 48000 Hz into a mono 22050 Hz sink: 48000 * 17 / 37 frames (17 / 37 is
    // within 0.001 of 22050 / 48000), and the trailing one or two.
    auto sink2 = MakeRef<CollectSink>(22050, 1);
    EXPECT_EQ(LPRSourceToSink(Frames(48000, 2, 48000), sink2).Process(), kJobDone);
    EXPECT_GE(sink2->samples.size(), 22054u);
    EXPECT_LE(sink2->samples.size(), 22056u);
}

}  // namespace
}  // namespace osmera
