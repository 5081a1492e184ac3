#include "core/sound_time.h"

#include <cstdio>

#include "core/trace.h"

namespace osmera {
namespace {

// 32-bit products and sums that wrap instead of being undefined on overflow.
int32_t Mul32(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}
int32_t Add32(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

enum class Fraction { kNone, kTenths, kHundredths, kMilliseconds };

// Shared body of the five h:mm:ss forms. The magnitude is kept in 64 bits so that the
// bias cannot overflow near the top of the range.
std::string FormatHms(int32_t t, int bias, Fraction fraction) {
    std::string out;
    long long v = t;
    if (v < 0) {
        out = "-";
        v = -v;
    }
    v += bias;
    const long long hours = v / 3600000;
    const long long minutes = (v / 60000) % 60;
    const long long seconds = (v / 1000) % 60;
    char text[64];
    switch (fraction) {
        case Fraction::kNone:
            std::snprintf(text, sizeof text, "%lld:%.2lld:%.2lld", hours, minutes, seconds);
            break;
        case Fraction::kTenths:
            std::snprintf(text, sizeof text, "%lld:%.2lld:%.2lld.%.1lld", hours, minutes, seconds,
                          (v % 1000) / 100);
            break;
        case Fraction::kHundredths:
            std::snprintf(text, sizeof text, "%lld:%.2lld:%.2lld.%.2lld", hours, minutes, seconds,
                          (v % 1000) / 10);
            break;
        case Fraction::kMilliseconds:
            std::snprintf(text, sizeof text, "%lld:%.2lld:%.2lld.%.3lld", hours, minutes, seconds,
                          v % 1000);
            break;
    }
    return out + text;
}

}  // namespace

void LSoundTime::SetSamples(int32_t s, int32_t rate) {
    if (rate <= 0) {
        LTrace("LSoundTime::SetSamples samplerate <= 0");
        return;
    }
    samples = s;
    sampleRate = rate;
}

int32_t LSoundTime::GetMilliseconds() const {
    const int32_t r = sampleRate;
    if (r <= 0)
        return 0;
    return Add32(Mul32(samples / r, 1000), Mul32(samples % r, 1000) / r);
}

void LSoundTime::SetMilliseconds(int32_t ms, int32_t rate) {
    if (rate <= 0) {
        LTrace("LSoundTime::SetSamples samplerate <= 0");
        return;
    }
    const auto rest = static_cast<int32_t>(static_cast<int64_t>(ms % 1000) * rate / 1000);
    SetSamples(Add32(Mul32(ms / 1000, rate), rest), rate);
}

std::string LSoundTime::FormatMinSec(int32_t t) {
    std::string out;
    long long v = t;
    if (v < 0) {
        out = "-";
        v = -v;
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.2lld:%.2lld", static_cast<long long>((v / 60000) % 60),
                  static_cast<long long>((v / 1000) % 60));
    return out + text;
}

std::string LSoundTime::FormatTenths(int32_t t) {
    return FormatHms(t, 0, Fraction::kTenths);
}
std::string LSoundTime::FormatTenthsRounded(int32_t t) {
    return FormatHms(t, 50, Fraction::kTenths);
}
std::string LSoundTime::FormatMilliseconds(int32_t t) {
    return FormatHms(t, 0, Fraction::kMilliseconds);
}
std::string LSoundTime::FormatHundredths(int32_t t) {
    return FormatHms(t, 5, Fraction::kHundredths);
}
std::string LSoundTime::FormatSeconds(int32_t t) {
    return FormatHms(t, 500, Fraction::kNone);
}

int32_t LSoundTime::ParseTime(std::string_view text, bool* tooLarge) {
    // Formed in 64 bits and wrapped to 32 after every step, which gives exactly the 32-bit
    // parser's result while noticing when a step went beyond 32 bits.
    int64_t total = 0;
    int64_t field = 0;
    int32_t weight = 1000;
    bool negative = false;
    bool wrapped = false;
    const auto keep = [&wrapped](int64_t v) {
        const auto w = static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v)));
        wrapped = wrapped || w != v;
        return int64_t{w};
    };
    for (char ch : text) {
        if (ch >= '0' && ch <= '9') {
            const int32_t d = ch - '0';
            if (weight == 1000) {
                // The digits of the current field are read as a decimal number of seconds.
                total = keep(total + d * 1000 + 9 * field);
                field = keep(10 * field + d * 1000);
            } else {
                total = keep(total + d * weight);
                weight /= 10;
            }
        } else if (ch == ':') {
            total = keep(total * 60);
            field = 0;
        } else if (ch == '.') {
            if (weight == 1000)
                weight = 100;
        } else if (ch == '-') {
            negative = true;
        }
    }
    if (tooLarge)
        *tooLarge = wrapped;
    const auto t = static_cast<int32_t>(total);
    return negative ? static_cast<int32_t>(0u - static_cast<uint32_t>(t)) : t;
}

}  // namespace osmera
