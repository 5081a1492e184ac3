#include "core/src_convert_rate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "core/format_match.h"
#include "core/generator_sources.h"
#include "core/trace.h"

namespace osmera {
namespace {

// Test input: two tones under an envelope that swings from near silence to full scale,
// plus a little pseudo-random noise, so that blocks get different shifts.
std::vector<int32_t> Signal(int32_t frames, int channels, double loudest = 524288.0) {
    std::vector<int32_t> s(static_cast<size_t>(frames) * channels);
    uint32_t noise = 12345;
    for (int32_t i = 0; i < frames; ++i) {
        const double envelope = loudest * (0.5 + 0.5 * std::sin(i * 0.0003));
        for (int c = 0; c < channels; ++c) {
            noise = noise * 1664525u + 1013904223u;
            const double v =
                envelope * (0.6 * std::sin(i * (0.05 + 0.03 * c)) + 0.3 * std::sin(i * 0.71)) +
                static_cast<double>(noise >> 22) - 512.0;
            s[static_cast<size_t>(i) * channels + c] =
                static_cast<int32_t>(std::clamp(v, -loudest, loudest - 1));
        }
    }
    return s;
}

// The converter's arithmetic written out plainly, one frame and one tap at a time with
// 64-bit sums, to hold the fast converter to.
class Reference {
  public:
    Reference(const std::vector<int32_t>& input, int channels, const LRateFilter& filter)
        : in_(input), ch_(channels), f_(filter), buf_(8255 * channels, 0) {}

    std::vector<int32_t> Read(int32_t frames) {
        std::vector<int32_t> out;
        const int32_t p = f_.Phases();
        for (int32_t n = 0; n < frames; ++n) {
            ws_ += acc_ / p;
            acc_ %= p;
            if (ws_ > 8191)
                Refill();
            for (int c = 0; c < ch_; ++c) {
                int64_t lo = 0, hi = 0;
                for (int k = 0; k < 63; ++k) {
                    const int64_t t = int64_t{f_.Coefficient(acc_, k)} * buf_[(ws_ + k) * ch_ + c];
                    (k < 32 ? lo : hi) += t;
                }
                const int32_t shift = 15 - s_;
                out.push_back(
                    static_cast<int32_t>(((lo >> 1) + (hi >> 1) + (1 << shift) / 2) >> shift));
            }
            acc_ += f_.Step();
        }
        return out;
    }

    void Seek(int32_t p) {
        const int32_t P = f_.Phases(), S = f_.Step();
        pos_ = (p / P) * S + ((p % P) * S) / P - 31;
        acc_ = ((p % P) * S) % P;
        ws_ = 8192;
        Take(&buf_[8192 * ch_], 63);
        s_ = 0;
    }

  private:
    void Take(int32_t* dst, int32_t frames) {
        const int32_t length = static_cast<int32_t>(in_.size()) / ch_;
        for (int32_t i = 0; i < frames; ++i, ++pos_) {
            for (int c = 0; c < ch_; ++c) {
                *dst++ = pos_ >= 0 && pos_ < length ? in_[pos_ * ch_ + c] : 0;
            }
        }
    }

    void Refill() {
        for (int i = 0; i < 63 * ch_; ++i)
            buf_[i] = buf_[8192 * ch_ + i] * (1 << s_);
        Take(&buf_[63 * ch_], 8192);
        int32_t m = 0;
        for (int32_t v : buf_)
            m = std::max(m, std::abs(v));
        s_ = 0;
        while ((m >> s_) > 32767)
            ++s_;
        if (s_ > 0) {
            for (int32_t& v : buf_)
                v = (v + (1 << (s_ - 1))) >> s_;
        }
        ws_ -= 8192;
    }

    const std::vector<int32_t>& in_;
    int ch_;
    const LRateFilter& f_;
    std::vector<int32_t> buf_;
    int32_t pos_ = 0, ws_ = 8224, acc_ = 0, s_ = 0;
};

std::vector<int32_t> ReadAll(LSoundSourceBase& source, const std::vector<int32_t>& chunks) {
    std::vector<int32_t> out;
    for (int32_t n : chunks) {
        std::vector<int32_t> block(static_cast<size_t>(n) * source.GetChannels(), -7);
        source.Read(block.data(), n);
        out.insert(out.end(), block.begin(), block.end());
    }
    return out;
}

TEST(RateFilter, Design) {
    struct Case {
        int32_t in, out;
        bool narrow;
        int32_t phases, step;
        double cutoff, beta;
    };
    const Case cases[] = {
        {44100, 48000, false, 37, 34, 0.975, 2.12},
        {48000, 44100, false, 34, 37, 44100.0 / 48000 - 0.046875, 4.538},
        {44100, 22050, false, 1, 2, 0.5 - 0.046875, 4.538},
        {44100, 16000, true, 37, 102, 16000.0 / 44100 - 0.09375, 4.538},
        {16000, 8000, false, 1, 2, 0.5 - 0.046875, 4.538},
        {8000, 44100, false, 11, 2, 0.975, 2.12},  // 2/11 is within 0.001 of 80/441
        {1, 48000, false, 1, 0, 0.975, 2.12},      // cannot run: S would be 0
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.in << " -> " << c.out);
        const LRateFilter f(c.in, c.out, c.narrow);
        EXPECT_EQ(f.Phases(), c.phases);
        EXPECT_EQ(f.Step(), c.step);
        EXPECT_DOUBLE_EQ(f.Cutoff(), c.cutoff);
        EXPECT_EQ(f.Beta(), c.beta);
        // Phase 0 is symmetric about the centre tap, which holds 65536 * c rounded.
        EXPECT_EQ(f.Coefficient(0, 31), std::lround(65536 * c.cutoff));
        for (int d = 1; d <= 31; ++d)
            EXPECT_EQ(f.Coefficient(0, 31 - d), f.Coefficient(0, 31 + d));
    }
}

TEST(ConvertRate, MatchesPlainArithmetic) {
    struct Case {
        int32_t in, out;
        int channels;
        int32_t frames;
    };
    const Case cases[] = {
        {44100, 48000, 2, 30000}, {48000, 44100, 1, 30000}, {44100, 22050, 2, 40000},
        {8000, 44100, 1, 6000},   {96000, 44100, 2, 50000}, {44100, 11025, 1, 40000},
    };
    const std::vector<int32_t> chunks = {1, 1000, 7, 9000, 12000, 8192, 3};
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.in << " -> " << c.out << " x" << c.channels);
        const auto input = Signal(c.frames, c.channels);
        LSRCConvertRate conv(MakeRef<LSRCSampleVector>(c.in, c.channels, input), c.out);
        Reference ref(input, c.channels, conv.Filter());
        int32_t total = 0;
        for (int32_t n : chunks)
            total += n;
        EXPECT_EQ(ReadAll(conv, chunks), ref.Read(total));

        // After a seek both go on from the same place, also at a phase other than 0.
        for (int32_t p : {0, 3 * conv.Filter().Phases(), 12345}) {
            conv.Seek(p);
            ref.Seek(p);
            EXPECT_EQ(ReadAll(conv, {500, 9000}), ref.Read(9500));
        }
    }
}

TEST(ConvertRate, SeekLinesUpWithContinuousReading) {
    // Quiet input keeps every block at shift 0, so output frame p after Seek(p) is the
    // same integer as frame p read from the start.
    const auto input = Signal(20000, 2, 30000.0);
    const auto source = [&] { return MakeRef<LSRCSampleVector>(44100, 2, input); };
    LSRCConvertRate whole(source(), 48000);
    const auto all = ReadAll(whole, {20000});
    for (int32_t p : {0, 37, 370, 3700, 5001, 10000}) {
        SCOPED_TRACE(p);
        LSRCConvertRate conv(source(), 48000);
        conv.Seek(p);
        if (p % 37 == 0) {
            EXPECT_EQ(conv.GetPositionSample(), p);
        }
        const auto got = ReadAll(conv, {2000});
        EXPECT_TRUE(std::equal(got.begin(), got.end(), all.begin() + 2 * p));
    }
}

TEST(ConvertRate, PositionAndLength) {
    struct Case {
        int32_t in, out, innerLength, length;
    };
    const Case cases[] = {
        {44100, 48000, 44100, 47991},  // 44100 * 37 / 34
        {48000, 44100, 48000, 44108},  // 48000 * 34 / 37
        {44100, 22050, 44101, 22050},
        {44100, 48000, 0, 0},
    };
    for (const auto& c : cases) {
        LSRCConvertRate conv(MakeRef<LSRCSilence>(c.in, 1, c.innerLength), c.out);
        EXPECT_EQ(conv.GetLengthSample(), c.length);
        EXPECT_EQ(conv.GetPositionSample(), 0);
    }
    // The position follows the window start, which trails the frames read by the one
    // step not yet taken.
    LSRCConvertRate half(MakeRef<LSRCSilence>(44100, 1, 100000), 22050);
    std::vector<int32_t> block(10000);
    half.Read(block.data(), 1);
    EXPECT_EQ(half.GetPositionSample(), 0);
    half.Read(block.data(), 9999);
    EXPECT_EQ(half.GetPositionSample(), 9999);
}

TEST(ConvertRate, FullScaleSquareDoesNotWrap) {
    for (const auto& [in, out] : {std::pair{44100, 48000}, std::pair{48000, 44100}}) {
        SCOPED_TRACE(in);
        std::vector<int32_t> input(static_cast<size_t>(in) * 2);
        for (int32_t i = 0; i < in; ++i) {
            input[2 * i] = input[2 * i + 1] = (i * 440 / in) % 2 == 0 ? 524272 : -524272;
        }
        LSRCConvertRate conv(MakeRef<LSRCSampleVector>(in, 2, input, kPeak16Bit), out);
        const auto got = ReadAll(conv, {out * 9 / 10});
        const LRateFilter& f = conv.Filter();
        for (int64_t n = 0; n < out * 9 / 10; ++n) {
            const int64_t centre = n * f.Step() / f.Phases();
            const auto phase = static_cast<int32_t>(n * f.Step() % f.Phases());
            double exact = 0;
            for (int32_t k = 0; k < 63; ++k) {
                const int64_t i = centre - 31 + k;
                if (i >= 0)
                    exact += f.Coefficient(phase, k) * (input[2 * i] / 65536.0);
            }
            ASSERT_NEAR(got[2 * n], exact, 2.0) << n;
            ASSERT_EQ(got[2 * n + 1], got[2 * n]);
        }
    }
}

TEST(ConvertRate, SineKeepsItsAmplitude) {
    struct Case {
        int32_t in, out;
    };
    for (const auto& c : {Case{44100, 48000}, Case{48000, 44100}, Case{44100, 22050},
                          Case{48000, 8000}, Case{8000, 48000}}) {
        SCOPED_TRACE(::testing::Message() << c.in << " -> " << c.out);
        auto tone = MakeRef<LSRCTone>(c.in, 1, c.in * 2, 440.0, 300000);
        LSourceRef conv = ConvertRate(tone, c.out);
        ASSERT_EQ(conv->GetSampleRate(), c.out);
        std::vector<int32_t> out(static_cast<size_t>(c.out));
        conv->Read(out.data(), c.out);
        // Leave out the filter's run-in.
        const int32_t largest = *std::max_element(out.begin() + c.out / 10, out.end());
        EXPECT_NEAR(largest, 300000, 3000);
    }
}

TEST(ConvertRate, StateOfTheConverter) {
    LTraceCapture trace;
    LSRCConvertRate badRate(MakeRef<LSRCSilence>(44100, 1, 10), 0);
    EXPECT_EQ(badRate.GetSampleRate(), 44100);
    EXPECT_EQ(badRate.GetError(), kSourceBadParams);

    LSRCConvertRate overFailed(MakeEmptySource(), 48000);
    EXPECT_EQ(overFailed.GetError(), kSourceInnerFailed);

    LSRCConvertRate tooFar(MakeRef<LSRCSilence>(1, 1, 10), 48000);
    EXPECT_EQ(tooFar.GetError(), kSourceBadParams);
    std::vector<int32_t> out(100);
    tooFar.Read(out.data(), 100);  // still safe to read
    EXPECT_GE(tooFar.GetPositionSample(), 0);

    struct Case {
        int32_t inner, peak;
    };
    for (const auto& c : {Case{kPeak16Bit, 1048544}, Case{1048576, 2097152}, Case{1048577, 1048577},
                          Case{kPeakProcessed, kPeakProcessed}}) {
        LSRCConvertRate conv(MakeRef<LSRCSampleVector>(44100, 1, std::vector<int32_t>(4), c.inner),
                             48000);
        EXPECT_EQ(conv.GetPeak(), c.peak);
    }

    LSRCConvertRate multi(MakeRef<LSRCSilence>(44100, 3, 100), 48000);
    std::vector<int32_t> untouched(30, 99);
    multi.Read(untouched.data(), 10);
    EXPECT_EQ(untouched, std::vector<int32_t>(30, 99));
    EXPECT_TRUE(
        trace.Contains("Multichannels (or 0) used when BUILD_SUPPORT_MULTICHANS is not set"));
}

}  // namespace
}  // namespace osmera
