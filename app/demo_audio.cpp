#include "app/demo_audio.h"

#include <cmath>
#include <numbers>

#include "core/generator_sources.h"
#include "core/pr_source_to_sink.h"
#include "edit/snk_cut_list_audio.h"

namespace osmera {

namespace {

constexpr double kFullScale = 524288.0;  // the internal scale's full level
constexpr double kTwoPi = 2.0 * std::numbers::pi;

// A small fixed generator, so the "noise" is the same on every start.
class LDemoNoise {
  public:
    double Next() {
        state_ = state_ * 1664525u + 1013904223u;
        return static_cast<double>(state_ >> 8) / static_cast<double>(1u << 24) * 2.0 - 1.0;
    }

  private:
    uint32_t state_ = 12345u;
};

// A rise and fall over [0, 1] that keeps the ends of each piece free of clicks.
double Envelope(double position, double fade) {
    if (position < fade)
        return position / fade;
    if (position > 1.0 - fade)
        return (1.0 - position) / fade;
    return 1.0;
}

}  // namespace

std::vector<int32_t> DemoSamples() {
    const auto frames = static_cast<int32_t>(kDemoSeconds * kDemoSampleRate);
    std::vector<int32_t> samples(static_cast<size_t>(frames) * 2, 0);
    LDemoNoise noise;
    double low = 0.0;  // the noise through a one-pole low-pass, for a darker "voice"
    for (int32_t i = 0; i < frames; ++i) {
        const double t = static_cast<double>(i) / kDemoSampleRate;
        double left = 0.0;
        double right = 0.0;
        if (t < 1.6) {
            // A major chord that swells and dies away.
            const double env = Envelope(t / 1.6, 0.08) * std::exp(-t * 0.9);
            const double chord = std::sin(kTwoPi * 220.0 * t) + 0.7 * std::sin(kTwoPi * 277.2 * t) +
                                 0.6 * std::sin(kTwoPi * 329.6 * t);
            left = right = 0.32 * env * chord;
        } else if (t >= 2.0 && t < 4.6) {
            // Speech-like: syllables about five a second, each a voiced buzz with a
            // gliding pitch and a breath of filtered noise, of uneven loudness.
            const double local = t - 2.0;
            const double syllable = std::fmod(local * 4.7, 1.0);
            const int index = static_cast<int>(local * 4.7);
            const double loud = 0.45 + 0.55 * std::fabs(std::sin(index * 1.9));
            const double shape = std::pow(std::sin(std::numbers::pi * syllable), 1.5);
            const double pitch = 125.0 + 30.0 * std::sin(kTwoPi * 0.6 * local);
            double buzz = 0.0;
            for (int h = 1; h <= 8; ++h)
                buzz += std::sin(kTwoPi * pitch * h * t) / (h * 1.3);
            low += 0.18 * (noise.Next() - low);
            const double voice = loud * shape * (0.42 * buzz + 1.8 * low) * 0.55;
            left = voice * Envelope(local / 2.6, 0.02);
            right = 0.8 * left;
        } else if (t >= 4.8) {
            // A rising tone, louder on the left than on the right.
            const double local = t - 4.8;
            const double phase = kTwoPi * (300.0 * local + 250.0 * local * local);
            const double env = Envelope(local / 1.2, 0.1);
            left = 0.5 * env * std::sin(phase);
            right = 0.25 * env * std::sin(phase);
        }
        samples[2 * static_cast<size_t>(i)] = static_cast<int32_t>(std::lround(left * kFullScale));
        samples[2 * static_cast<size_t>(i) + 1] =
            static_cast<int32_t>(std::lround(right * kFullScale));
    }
    return samples;
}

bool MakeDemoAudio(LCutListAudio& target) {
    LSourceRef source(new LSRCSampleVector(kDemoSampleRate, 2, DemoSamples()));
    LCutListAudio made;
    auto sink = made.MakeSink(kDemoSampleRate, 2);
    const bool pumped = LPRSourceToSink(source, sink).Process() == kJobDone;
    const bool written = !sink->IsError();
    sink.Reset();  // `made` now holds the new cut
    if (!pumped || !written)
        return false;
    target = std::move(made);
    return true;
}

}  // namespace osmera
