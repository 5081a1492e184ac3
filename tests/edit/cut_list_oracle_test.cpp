// Long random sequences of edits applied both to cut lists over real cut files and to a
// plain model held as samples in memory; after every step the audio read back through a
// source must equal the model's, frame for frame. Copies taken along the way (as undo steps
// take them) must keep reading the audio they were taken from, and the tank's counts must
// match the entries that name each cut.

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

using testing::CutTankTest;

// The model: per frame the stored samples and the gain they are read at.
struct Model {
    uint8_t channels = 1;
    std::vector<int32_t> raw;   // interleaved
    std::vector<int32_t> gain;  // one per frame

    int64_t Frames() const { return static_cast<int64_t>(gain.size()); }

    static Model Zeros(uint8_t channels, int64_t n) {
        Model m;
        m.channels = channels;
        m.raw.assign(static_cast<size_t>(n) * channels, 0);
        m.gain.assign(static_cast<size_t>(n), kUnityGain);
        return m;
    }
    void Insert(int64_t at, const Model& other) {
        raw.insert(raw.begin() + at * channels, other.raw.begin(), other.raw.end());
        gain.insert(gain.begin() + at, other.gain.begin(), other.gain.end());
    }
    void Erase(int64_t from, int64_t to) {
        raw.erase(raw.begin() + from * channels, raw.begin() + to * channels);
        gain.erase(gain.begin() + from, gain.begin() + to);
    }
    void PadTo(int64_t frames) {
        if (frames > Frames())
            Insert(Frames(), Zeros(channels, frames - Frames()));
    }

    // Frames [start, end), silent outside the model.
    Model Window(int64_t start, int64_t end) const {
        Model w = Zeros(channels, end - start);
        for (int64_t f = std::max<int64_t>(start, 0); f < std::min(end, Frames()); ++f) {
            w.gain[f - start] = gain[f];
            for (int c = 0; c < channels; ++c)
                w.raw[(f - start) * channels + c] = raw[f * channels + c];
        }
        return w;
    }

    void Delete(int64_t start, int64_t end) {
        if (end < start || end < 0)
            return;
        const int64_t s = std::max<int64_t>(start, 0), e = std::min(end, Frames());
        if (s < e)
            Erase(s, e);
    }
    void InsertSilence(int64_t p, int64_t n) {
        if (n < 0)
            return;
        if (p < 0) {
            if (n < -p)
                return;
            n += p;
            p = 0;
        }
        PadTo(p);
        Insert(p, Zeros(channels, n));
    }
    void Paste(int64_t p, Model other) {
        if (other.Frames() == 0)
            other.channels = channels;  // a fresh empty list is mono
        if (p > Frames()) {
            PadTo(p);
            Insert(p, other);
        } else if (p >= 0) {
            Insert(p, other);
        } else if (Frames() > 0) {
            other.Insert(other.Frames(), Zeros(channels, -p));
            Insert(0, other);
        } else {
            Insert(0, other);
        }
    }
    void AmplifyAll(int32_t percent) {
        if (percent == 100)
            return;
        const int64_t limit = percent <= 100 ? kMaxGain : int64_t{kMaxGain / percent} * 100;
        for (auto& g : gain)
            g = limit > g ? static_cast<int32_t>(int64_t{g / 100} * percent) : kMaxGain;
    }
    int32_t Sample(int64_t frame, int c) const {
        if (frame < 0 || frame >= Frames())
            return 0;
        const int64_t s = raw[frame * channels + c], g = gain[frame];
        const int64_t v = (s >> 12) * (g >> 12) + (((s & 4095) * (g >> 12)) >> 12) +
                          (((s >> 12) * (g & 4095)) >> 12);
        return static_cast<int32_t>(static_cast<uint32_t>(v));
    }
};

struct Snapshot {
    LCutListAudio list;
    Model model;
};

class CutListOracle : public CutTankTest {
  protected:
    std::mt19937 rng_;

    int64_t Uniform(int64_t lo, int64_t hi) {
        return std::uniform_int_distribution<int64_t>(lo, hi)(rng_);
    }

    // A new cut of random samples, written in random pieces with the odd step back.
    std::pair<LCutListAudio, Model> FreshCut(uint8_t channels, int32_t frames) {
        Model m = Model::Zeros(channels, 0);
        LCutListAudio list;
        {
            auto sink = list.MakeSink(44100, channels);
            while (m.Frames() < frames) {
                if (m.Frames() > 10 && Uniform(0, 5) == 0) {
                    const int64_t back = Uniform(0, m.Frames());
                    sink->Seek(static_cast<int32_t>(back));
                    m.Erase(back, m.Frames());
                }
                const int32_t n = static_cast<int32_t>(Uniform(1, 400));
                Model piece = Model::Zeros(channels, n);
                for (auto& v : piece.raw) {
                    v = Uniform(0, 9) == 0 ? static_cast<int32_t>(rng_())
                                           : static_cast<int32_t>(Uniform(-600000, 600000));
                }
                sink->Write(piece.raw.data(), n);
                m.Insert(m.Frames(), piece);
            }
            EXPECT_FALSE(sink->IsError());
        }
        return {std::move(list), std::move(m)};
    }

    // Reads `list` from a random start in random pieces and compares with `model`.
    void ExpectSame(const LCutListAudio& list, const Model& model) {
        ASSERT_EQ(list.GetLength(), model.Frames());
        ASSERT_EQ(list.GetChannels(), model.channels);
        for (const LAudioCut& e : list.GetEntries())
            ASSERT_GE(e.length, 1);
        auto source = list.MakeSource();
        ASSERT_EQ(source->GetLengthSample(), model.Frames());
        const int64_t from = Uniform(0, 2) == 0 ? Uniform(-40, model.Frames() + 20) : 0;
        if (from != 0)
            source->Seek(static_cast<int32_t>(from));
        std::vector<int32_t> buf;
        for (int64_t at = from; at < model.Frames() + 8;) {
            const int32_t n = static_cast<int32_t>(Uniform(1, 3000));
            buf.assign(static_cast<size_t>(n) * model.channels, -7);
            source->Read(buf.data(), n);
            for (int64_t i = 0; i < n; ++i) {
                for (int c = 0; c < model.channels; ++c) {
                    if (buf[i * model.channels + c] != model.Sample(at + i, c)) {
                        FAIL() << "frame " << at + i << " channel " << c << " of "
                               << model.Frames();
                    }
                }
            }
            at += n;
            ASSERT_EQ(source->GetPositionSample(), at);
        }
    }

    // Every cut's count equals the entries that name it in the lists still alive.
    void ExpectCounts(std::initializer_list<const LCutListAudio*> lists,
                      const std::vector<Snapshot>& snapshots) {
        std::map<uint16_t, int> named;
        auto count = [&named](const LCutListAudio& l) {
            for (const LAudioCut& e : l.GetEntries()) {
                if (!e.IsSilent())
                    ++named[e.ref];
            }
        };
        for (const auto* l : lists)
            count(*l);
        for (const auto& s : snapshots)
            count(s.list);
        EXPECT_EQ(Tank().GetCutsInUse(), named.size());
        for (const auto& [cut, n] : named)
            EXPECT_EQ(Tank().GetRefCount(cut), n) << "cut " << cut;
    }

    void Run(uint8_t channels, uint32_t seed, int steps) {
        rng_.seed(seed);
        auto [list, model] = FreshCut(channels, 1500);
        LCutListAudio clip;  // the clipboard; starts empty at 44100 Hz, 1 channel
        Model clipModel = Model::Zeros(1, 0);
        std::vector<Snapshot> snapshots;
        const int32_t percents[] = {0, 1, 50, 99, 101, 150, 200, 333, 1000, 12800, -50};

        for (int step = 0; step < steps; ++step) {
            const int64_t len = model.Frames();
            auto pos = [&] {
                return static_cast<int32_t>(Uniform(-len / 8 - 20, len + len / 8 + 20));
            };
            int32_t a = pos(), b = pos();
            if (Uniform(0, 5) != 0 && a > b)
                std::swap(a, b);  // mostly in order
            const int op = static_cast<int>(Uniform(0, 17));
            SCOPED_TRACE(::testing::Message() << "seed " << seed << " step " << step << " op " << op
                                              << " a " << a << " b " << b << " length " << len);
            switch (op) {
                case 0:
                    list.EfDelete(a, b);
                    model.Delete(a, b);
                    break;
                case 1:
                    list.EfCopy(a, b, clip);
                    if (a <= b)
                        clipModel = model.Window(a, b);
                    break;
                case 2:
                    list.EfCut(a, b, clip);
                    if (a <= b)
                        clipModel = model.Window(a, b);
                    model.Delete(a, b);
                    break;
                case 3:
                    list.EfPaste(a, clip);
                    model.Paste(a, clipModel);
                    break;
                case 4:
                    list.EfPasteOver(a, b, clip);
                    model.Delete(a, b);
                    model.Paste(a, clipModel);
                    break;
                case 5: {
                    const int32_t n = static_cast<int32_t>(Uniform(-5, 300));
                    list.EfInsertSilence(a, n);
                    model.InsertSilence(a, n);
                    break;
                }
                case 6:
                    list.EfSilence(a, b);
                    model.Delete(a, b);
                    model.InsertSilence(a, int64_t{b} - a);
                    break;
                case 7: {
                    if (len < 3000)
                        break;  // crop only long lists, or they run dry
                    list.EfCrop(a, b);
                    int64_t s = a;
                    if (s >= 1) {
                        model.Delete(0, s);
                    } else {
                        s = 0;
                    }
                    model.Delete(b - s, model.Frames());
                    break;
                }
                case 8:
                    list.EfTrimHead(a);
                    if (a > 0)
                        model.Delete(0, a);
                    break;
                case 9:
                    list.EfTrimTail(a);
                    model.Delete(a, model.Frames());
                    break;
                case 10: {
                    const int32_t end = static_cast<int32_t>(a + Uniform(-10, 200));
                    const int32_t count = static_cast<int32_t>(Uniform(0, 3));
                    list.EfRepeat(a, end, count);
                    const Model range = a <= end ? model.Window(a, end) : Model::Zeros(1, 0);
                    for (int k = 0; k < count; ++k)
                        model.Paste(a, range);
                    break;
                }
                case 11: {
                    const int32_t p = percents[Uniform(0, std::size(percents) - 1)];
                    list.EfAmplify(a, b, p);
                    if (b >= a && p != 100) {
                        Model range = model.Window(a, b);
                        model.Delete(a, b);
                        range.AmplifyAll(p);
                        model.Paste(a, range);
                    }
                    break;
                }
                case 12: {
                    const int32_t p = percents[Uniform(0, std::size(percents) - 1)];
                    clip.EfAmplifyAll(p);
                    clipModel.AmplifyAll(p);
                    break;
                }
                case 13: {
                    auto [fresh, freshModel] =
                        FreshCut(channels, static_cast<int32_t>(Uniform(1, 700)));
                    list.EfPaste(a, fresh);
                    model.Paste(a, freshModel);
                    break;
                }
                case 14:  // the list into itself
                    if (Uniform(0, 1) == 0) {
                        list.EfPaste(a, list);
                        model.Paste(a, model);
                    } else {
                        list.EfPasteOver(a, b, list);
                        const Model before = model;
                        model.Delete(a, b);
                        model.Paste(a, before);
                    }
                    break;
                case 15:
                    list.EfCopy(a, b, list);
                    if (a <= b)
                        model = model.Window(a, b);
                    break;
                case 16:
                    if (snapshots.size() == 3)
                        snapshots.erase(snapshots.begin());
                    snapshots.push_back({list, model});
                    break;
                default:
                    ExpectCounts({&list, &clip}, snapshots);
                    break;
            }
            // Keep the audio short so every step can read all of it back.
            if (model.Frames() > 8000) {
                list.EfTrimTail(4000);
                model.Delete(4000, model.Frames());
            }
            ExpectSame(list, model);
            if (clipModel.Frames() > 0 || !clip.GetEntries().empty())
                ExpectSame(clip, clipModel);
            if (!snapshots.empty()) {
                const auto& s = snapshots[static_cast<size_t>(Uniform(0, snapshots.size() - 1))];
                ExpectSame(s.list, s.model);
            }
            if (HasFatalFailure() || HasFailure())
                return;
        }
        ExpectCounts({&list, &clip}, snapshots);
    }
};

TEST_F(CutListOracle, MonoEditsMatchTheModel) {
    Run(1, 1, 700);
    Run(1, 2, 700);
}

TEST_F(CutListOracle, StereoEditsMatchTheModel) {
    Run(2, 3, 700);
    Run(2, 4, 700);
}

}  // namespace
}  // namespace osmera
