#include "formats/src_downmix.h"

#include <algorithm>
#include <cmath>

#include "core/trace.h"

namespace osmera {
namespace {

constexpr double kMinus3dB = 0.70710678118654752;
constexpr double kMinus6dB = 0.5;
constexpr int32_t kBlockFrames = 8192;

struct Layout {
    const char* name;
    // Per channel: weight into left and into right.
    std::vector<std::pair<double, double>> weights;
};

// The standard layouts by channel count (WAV and ffmpeg channel order).
const Layout* StandardLayout(int32_t nChans) {
    const double c = kMinus3dB;
    static const Layout k3{"3.0", {{1, 0}, {0, 1}, {c, c}}};
    static const Layout k4{"4.0", {{1, 0}, {0, 1}, {c, 0}, {0, c}}};
    static const Layout k5{"5.0", {{1, 0}, {0, 1}, {c, c}, {c, 0}, {0, c}}};
    static const Layout k6{"5.1", {{1, 0}, {0, 1}, {c, c}, {0, 0}, {c, 0}, {0, c}}};
    static const Layout k7{
        "6.1", {{1, 0}, {0, 1}, {c, c}, {0, 0}, {kMinus6dB, kMinus6dB}, {c, 0}, {0, c}}};
    static const Layout k8{"7.1", {{1, 0}, {0, 1}, {c, c}, {0, 0}, {c, 0}, {0, c}, {c, 0}, {0, c}}};
    switch (nChans) {
        case 3:
            return &k3;
        case 4:
            return &k4;
        case 5:
            return &k5;
        case 6:
            return &k6;
        case 7:
            return &k7;
        case 8:
            return &k8;
        default:
            return nullptr;
    }
}

void Normalise(std::vector<double>& row) {
    double sum = 0;
    for (double w : row)
        sum += w;
    if (sum > 0) {
        for (double& w : row)
            w /= sum;
    }
}

}  // namespace

LSRCDownmix::LSRCDownmix(LSourceRef inner, int32_t pair)
    : LSRCWrapBase(std::move(inner)), innerChannels_(channels) {
    const int32_t n = innerChannels_;
    left_.assign(static_cast<size_t>(n), 0.0);
    right_.assign(static_cast<size_t>(n), 0.0);
    if (pair >= 0) {
        const int32_t a = 2 * pair;
        const int32_t b = std::min(a + 1, n - 1);
        if (a >= n) {
            LTracef("LSRCDownmix::LSRCDownmix pair %d beyond %d channels", pair, n);
            SetError(kSourceBadParams);
            description_ = "the file has only " + std::to_string(n) + " channels";
        } else {
            left_[static_cast<size_t>(a)] = 1;
            right_[static_cast<size_t>(b)] = 1;
            description_ = a == b ? "channel " + std::to_string(a + 1) + " of " +
                                        std::to_string(n) + " opened on both sides"
                                  : "channels " + std::to_string(a + 1) + " and " +
                                        std::to_string(b + 1) + " of " + std::to_string(n) +
                                        " opened as stereo";
        }
    } else if (const Layout* layout = StandardLayout(n)) {
        for (int32_t i = 0; i < n; ++i) {
            left_[static_cast<size_t>(i)] = layout->weights[static_cast<size_t>(i)].first;
            right_[static_cast<size_t>(i)] = layout->weights[static_cast<size_t>(i)].second;
        }
        description_ = std::string(layout->name) + " channels mixed down to stereo (ITU-R BS.775)";
    } else {
        for (int32_t i = 0; i < n; ++i)
            (i % 2 == 0 ? left_ : right_)[static_cast<size_t>(i)] = 1;
        if (n == 1)
            right_[0] = 1;
        description_ = std::to_string(n) +
                       " channels mixed down to stereo (odd channels left, "
                       "even channels right)";
    }
    Normalise(left_);
    Normalise(right_);
    SetChannels(2);
    buffer_.resize(static_cast<size_t>(kBlockFrames) * static_cast<size_t>(n));
}

void LSRCDownmix::Read(int32_t* out, int32_t frames) {
    const int32_t n = innerChannels_;
    while (frames > 0) {
        const int32_t block = std::min(frames, kBlockFrames);
        inner_->Read(buffer_.data(), block);
        for (int32_t f = 0; f < block; ++f) {
            const int32_t* in = buffer_.data() + static_cast<size_t>(f) * n;
            double l = 0;
            double r = 0;
            for (int32_t c = 0; c < n; ++c) {
                l += left_[static_cast<size_t>(c)] * in[c];
                r += right_[static_cast<size_t>(c)] * in[c];
            }
            out[2 * f] = static_cast<int32_t>(std::lround(l));
            out[2 * f + 1] = static_cast<int32_t>(std::lround(r));
        }
        out += 2 * static_cast<size_t>(block);
        frames -= block;
    }
}

int64_t LSRCDownmix::GetClaimedFrames() const {
    const auto* f = dynamic_cast<const LFileFacts*>(inner_.Get());
    return f ? f->GetClaimedFrames() : inner_->GetLengthSample();
}

int64_t LSRCDownmix::GetPresentFrames() const {
    const auto* f = dynamic_cast<const LFileFacts*>(inner_.Get());
    return f ? f->GetPresentFrames() : inner_->GetLengthSample();
}

int32_t LSRCDownmix::GetKeptBytesPerSample() const {
    const auto* f = dynamic_cast<const LFileFacts*>(inner_.Get());
    return f ? f->GetKeptBytesPerSample() : 2;
}

}  // namespace osmera
