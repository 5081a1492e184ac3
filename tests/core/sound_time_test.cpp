#include "core/sound_time.h"

#include <gtest/gtest.h>

#include "core/trace.h"

namespace osmera {
namespace {

TEST(SoundTime, FramesToMilliseconds) {
    EXPECT_EQ(LSoundTime(1, 44100).GetMilliseconds(), 0);
    EXPECT_EQ(LSoundTime(44100, 44100).GetMilliseconds(), 1000);
    EXPECT_EQ(LSoundTime(-44101, 44100).GetMilliseconds(), -1000);  // truncates toward zero
    // The split into quotient and remainder keeps long files inside 32 bits.
    EXPECT_EQ(LSoundTime(2147483647, 48000).GetMilliseconds(), 44739242);
}

TEST(SoundTime, MillisecondsToFrames) {
    LSoundTime t;
    t.SetMilliseconds(1500, 44100);
    EXPECT_EQ(t.GetSamples(), 66150);
    t.SetMilliseconds(1, 44100);
    EXPECT_EQ(t.GetSamples(), 44);  // 44.1 truncated
    t.SetMilliseconds(-1999, 8000);
    EXPECT_EQ(t.GetSamples(), -8000 - 7992);
    // The remainder's product is formed in 64 bits.
    t.SetMilliseconds(999, 196000);
    EXPECT_EQ(t.GetSamples(), 195804);
    EXPECT_EQ(t.GetMilliseconds(), 999);
}

TEST(SoundTime, RefusesRateOfZeroOrLess) {
    LTraceCapture trace;
    LSoundTime t(100, 8000);
    t.SetSamples(5, 0);
    EXPECT_TRUE(trace.Contains("LSoundTime::SetSamples samplerate <= 0"));
    EXPECT_EQ(t.GetSamples(), 100);
    EXPECT_EQ(t.GetSampleRate(), 8000);
    t.SetMilliseconds(5, -1);
    EXPECT_EQ(t.GetSamples(), 100);
}

struct FormatCase {
    int32_t ms;
    const char* minSec;
    const char* tenths;
    const char* tenthsRounded;
    const char* millis;
    const char* hundredths;
    const char* seconds;
};

TEST(SoundTime, EveryFormatter) {
    const FormatCase cases[] = {
        {0, "00:00", "0:00:00.0", "0:00:00.0", "0:00:00.000", "0:00:00.00", "0:00:00"},
        {999, "00:00", "0:00:00.9", "0:00:01.0", "0:00:00.999", "0:00:01.00", "0:00:01"},
        {994, "00:00", "0:00:00.9", "0:00:01.0", "0:00:00.994", "0:00:00.99", "0:00:01"},
        {949, "00:00", "0:00:00.9", "0:00:00.9", "0:00:00.949", "0:00:00.95", "0:00:01"},
        {499, "00:00", "0:00:00.4", "0:00:00.5", "0:00:00.499", "0:00:00.50", "0:00:00"},
        {-1500, "-00:01", "-0:00:01.5", "-0:00:01.5", "-0:00:01.500", "-0:00:01.50", "-0:00:02"},
        {3599999, "59:59", "0:59:59.9", "1:00:00.0", "0:59:59.999", "1:00:00.00", "1:00:00"},
        // Minutes-and-seconds has no hour field: 61 minutes wrap to 01:00.
        {3660000, "01:00", "1:01:00.0", "1:01:00.0", "1:01:00.000", "1:01:00.00", "1:01:00"},
        // Hours are not reduced.
        {360000000, "00:00", "100:00:00.0", "100:00:00.0", "100:00:00.000", "100:00:00.00",
         "100:00:00"},
        // The bias must not overflow at the top of the range.
        {2147483647, "31:23", "596:31:23.6", "596:31:23.6", "596:31:23.647", "596:31:23.65",
         "596:31:24"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.ms);
        EXPECT_EQ(LSoundTime::FormatMinSec(c.ms), c.minSec);
        EXPECT_EQ(LSoundTime::FormatTenths(c.ms), c.tenths);
        EXPECT_EQ(LSoundTime::FormatTenthsRounded(c.ms), c.tenthsRounded);
        EXPECT_EQ(LSoundTime::FormatMilliseconds(c.ms), c.millis);
        EXPECT_EQ(LSoundTime::FormatHundredths(c.ms), c.hundredths);
        EXPECT_EQ(LSoundTime::FormatSeconds(c.ms), c.seconds);
    }
}

TEST(SoundTime, Parser) {
    const std::pair<const char*, int32_t> cases[] = {
        {"1:02:03.45", 3723450},
        {"2.5", 2500},
        {"90", 90000},
        {"1:30", 90000},
        {"00:00:01.2345", 1234},  // a fourth fraction digit adds nothing
        {"abc", 0},
        {"", 0},
        {"-0:01", -1000},
        {"0:01-", -1000},      // a minus sign anywhere
        {"1..5", 1500},        // a second point is ignored
        {"1 : 3 0 s", 90000},  // other characters are skipped
        {"0.5:3", 30030},      // after a point a colon does not reset the fraction weight
        {"1:2.3:4", 3738040},
    };
    for (const auto& [text, ms] : cases)
        EXPECT_EQ(LSoundTime::ParseTime(text), ms) << text;
}

TEST(SoundTime, ParserRoundTripsTheHundredthsForm) {
    for (int32_t ms : {0, 10, 990, 61000, 3723450, 35999990}) {
        EXPECT_EQ(LSoundTime::ParseTime(LSoundTime::FormatHundredths(ms)), ms);
    }
}

}  // namespace
}  // namespace osmera
