#pragma once
// A position or length in frames with the sample rate that gives it meaning, its
// millisecond value, and the text forms every time a user sees or types goes through.
//
// The arithmetic is signed 32-bit with division truncating toward zero, and products
// wrap as 32-bit products do, so results match the program's long-standing figures
// exactly (including on values too large to be meaningful).

#include <cstdint>
#include <string>
#include <string_view>

namespace osmera {

class LSoundTime {
  public:
    LSoundTime() = default;
    LSoundTime(int32_t samples, int32_t sampleRate) { SetSamples(samples, sampleRate); }

    // Stores both. A rate of 0 or less is refused (trace "LSoundTime::SetSamples
    // samplerate <= 0") and leaves the value as it was.
    void SetSamples(int32_t samples, int32_t sampleRate);
    // Frames to milliseconds: (samples / r) * 1000 + ((samples % r) * 1000) / r; 0 when
    // the rate is 0 or less.
    int32_t GetMilliseconds() const;
    // Milliseconds to frames: (ms / 1000) * r + ((ms % 1000) * r) / 1000, the second
    // product in 64 bits. A rate of 0 or less is refused as by SetSamples.
    void SetMilliseconds(int32_t ms, int32_t sampleRate);

    int32_t GetSamples() const { return samples; }
    int32_t GetSampleRate() const { return sampleRate; }

    // The six text forms of a millisecond value t. A negative t prints a minus sign and
    // then the form of -t; the rounding bias is added to the magnitude.
    // "%.2d:%.2d": minutes (wrapping at 60) and truncated seconds; for spans under an hour.
    static std::string FormatMinSec(int32_t t);
    // "%d:%.2d:%.2d.%.1d": truncated tenths.
    static std::string FormatTenths(int32_t t);
    // Tenths, rounded (+50 ms).
    static std::string FormatTenthsRounded(int32_t t);
    // Exact milliseconds.
    static std::string FormatMilliseconds(int32_t t);
    // Hundredths, rounded (+5 ms): the ordinary display form.
    static std::string FormatHundredths(int32_t t);
    // Whole seconds, rounded (+500 ms): total running times.
    static std::string FormatSeconds(int32_t t);

    // Text to milliseconds. Never fails: unknown characters are skipped, empty text is 0,
    // a minus sign anywhere negates. Digits after a colon that follows a point still
    // count as fraction digits; that is how the parser has always read them. Values beyond
    // 32 bits wrap as 32-bit arithmetic does; `tooLarge`, when given, tells whether they did.
    static int32_t ParseTime(std::string_view text, bool* tooLarge = nullptr);

  private:
    int32_t samples = 0;
    int32_t sampleRate = 44100;
};

}  // namespace osmera
