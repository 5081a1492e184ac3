#include <gtest/gtest.h>

#include "core/generator_sources.h"
#include "core/peak_limiter_source.h"
#include "core/sound_source_base.h"
#include "core/trace.h"

namespace osmera {
namespace {

// Counts its own destruction so ownership along a chain can be checked.
class CountedSource : public LSRCSilence {
  public:
    explicit CountedSource(int* destroyed) : LSRCSilence(8000, 1, 10), destroyed_(destroyed) {}
    ~CountedSource() override { ++*destroyed_; }

  private:
    int* destroyed_;
};

TEST(Sources, ConstructionRulesAndErrors) {
    LTraceCapture trace;
    LSRCSilence badRate(0, 2, 10);
    EXPECT_EQ(badRate.GetSampleRate(), 44100);
    EXPECT_EQ(badRate.GetError(), kSourceBadParams);
    EXPECT_TRUE(trace.Contains("LSoundSourceBase::LSoundSourceBase SampleRate <= 0 ERROR"));

    LSRCSilence noChannels(8000, 0, 10);
    EXPECT_EQ(noChannels.GetChannels(), 1);
    EXPECT_EQ(noChannels.GetError(), kSourceBadParams);
    EXPECT_TRUE(trace.Contains("LSoundSourceBase::LSoundSourceBase nChans == 0 ERROR"));

    LSRCSilence ok(8000, 2, 10);
    ok.SetSampleRate(-3);
    EXPECT_EQ(ok.GetSampleRate(), 44100);
    EXPECT_EQ(ok.GetError(), kSourceBadParams);
    EXPECT_TRUE(trace.Contains("LSoundSourceBase::SetSampleRate SampleRate <= 0 ERROR"));
    ok.SetChannels(0);
    EXPECT_TRUE(trace.Contains("LSoundSourceBase::SetChannels nChans == 0 ERROR"));
}

TEST(Sources, EmptySource) {
    LSourceRef slot = MakeEmptySource();
    EXPECT_EQ(slot->GetError(), kSourceEmpty);
    int32_t buffer[4] = {1, 2, 3, 4};
    slot->Read(buffer, 4);
    EXPECT_EQ(buffer[3], 0);
    slot->Seek(100);
    EXPECT_EQ(slot->GetPositionSample(), 0);
    EXPECT_EQ(slot->GetLengthSample(), 0);

    int destroyed = 0;
    slot = LSourceRef(new CountedSource(&destroyed));
    ResetSource(slot);
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(slot->GetError(), kSourceEmpty);
}

TEST(Sources, WrapperCopiesFormatInheritsFailureAndOwnsChain) {
    int destroyed = 0;
    {
        LSourceRef top;
        {
            LSourceRef inner(new CountedSource(&destroyed));
            top = MakeRef<LSRCPeakLimiter>(inner, 1000);
            EXPECT_EQ(inner->GetRefCount(), 2);
        }
        EXPECT_EQ(destroyed, 0);
        EXPECT_EQ(top->GetSampleRate(), 8000);
        EXPECT_EQ(top->GetLengthSample(), 10);
        top->Seek(4);
        EXPECT_EQ(top->GetPositionSample(), 4);
    }
    EXPECT_EQ(destroyed, 1);  // releasing the top released the chain

    LSRCPeakLimiter overEmpty(MakeEmptySource(), 1000);
    EXPECT_EQ(overEmpty.GetError(), kSourceInnerFailed);
    LSRCPeakLimiter overNull(LSourceRef(), 1000);
    EXPECT_EQ(overNull.GetError(), kSourceInnerFailed);
}

TEST(Sources, GeneratorsReadZerosOutsideAndAdvanceByFrames) {
    LSRCSampleVector v(8000, 2, {1, 2, 3, 4, 5, 6});
    v.Seek(-1);
    int32_t buf[10];
    v.Read(buf, 5);
    EXPECT_EQ(std::vector<int32_t>(buf, buf + 10),
              (std::vector<int32_t>{0, 0, 1, 2, 3, 4, 5, 6, 0, 0}));
    EXPECT_EQ(v.GetPositionSample(), 4);
    v.Read(buf, 2);
    EXPECT_EQ(v.GetPositionSample(), 6);  // reading past the end still advances
}

TEST(Sources, LimiterKeepsEverySampleWithinTheLimit) {
    auto tone = MakeRef<LSRCTone>(44100, 1, 44100, 1000.0, 2097152);
    EXPECT_EQ(tone->GetPeak(), 2097152);
    LSRCPeakLimiter limiter(tone, kPeak16Bit);
    EXPECT_EQ(limiter.GetPeak(), kPeak16Bit);
    std::vector<int32_t> buf(44100);
    limiter.Read(buf.data(), 44100);
    int32_t hi = 0;
    int32_t lo = 0;
    for (int32_t s : buf) {
        hi = std::max(hi, s);
        lo = std::min(lo, s);
    }
    EXPECT_EQ(hi, kPeak16Bit);
    EXPECT_EQ(lo, -kPeak16Bit);
}

}  // namespace
}  // namespace osmera
