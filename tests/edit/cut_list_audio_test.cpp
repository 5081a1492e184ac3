// Edits of a cut list: what they do to the entries and their references, and the audio of
// the edge cases at the ends of a list. The randomized comparison with a sample model is in
// cut_list_oracle_test.cpp.

#include "edit/cut_list_audio.h"

#include <gtest/gtest.h>

#include <functional>

#include "core/trace.h"
#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

using testing::CutTankTest;
using testing::Ramp;

using CutListTest = CutTankTest;

// Audio put together from pieces: frames [from, to) of Ramp(.., 1) or `zeros` of silence.
struct Piece {
    int32_t from, to, zeros;
};
std::vector<int32_t> Join(std::initializer_list<Piece> pieces, int32_t base = 0) {
    std::vector<int32_t> out;
    for (const Piece& p : pieces) {
        const auto r = Ramp(p.to, 1, base);
        out.insert(out.end(), r.begin() + p.from, r.end());
        out.insert(out.end(), static_cast<size_t>(p.zeros), 0);
    }
    return out;
}
Piece A(int32_t from, int32_t to) {
    return {from, to, 0};
}
Piece Zeros(int32_t n) {
    return {0, 0, n};
}

TEST_F(CutListTest, EditsAtTheEdgesOfTheList) {
    struct Case {
        const char* name;
        int32_t frames;  // the list holds Ramp(frames)
        std::function<void(LCutListAudio&)> edit;
        std::vector<int32_t> expected;
    };
    const LCutListAudio other = Written(Join({A(0, 3)}, 1000), 1);  // 3 frames told apart
    const std::vector<int32_t> b = Join({A(0, 3)}, 1000);
    auto withB = [&b](std::vector<int32_t> head, std::vector<int32_t> tail) {
        head.insert(head.end(), b.begin(), b.end());
        head.insert(head.end(), tail.begin(), tail.end());
        return head;
    };
    const Case cases[] = {
        {"delete empty", 50, [](auto& l) { l.EfDelete(10, 10); }, Join({A(0, 50)})},
        {"delete inverted", 50, [](auto& l) { l.EfDelete(5, 3); }, Join({A(0, 50)})},
        {"delete negative start", 50, [](auto& l) { l.EfDelete(-5, 10); }, Join({A(10, 50)})},
        {"copy around", 20, [](auto& l) { l.EfCopy(-100, 50, l); },
         Join({Zeros(100), A(0, 20), Zeros(30)})},
        {"silence past end", 50, [](auto& l) { l.EfInsertSilence(100, 7); },
         Join({A(0, 50), Zeros(57)})},
        {"silence ending before 0", 50, [](auto& l) { l.EfInsertSilence(-10, 5); },
         Join({A(0, 50)})},
        {"silence across 0", 50, [](auto& l) { l.EfInsertSilence(-10, 15); },
         Join({Zeros(5), A(0, 50)})},
        {"paste before 0", 50, [&](auto& l) { l.EfPaste(-10, other); },
         withB({}, Join({Zeros(10), A(0, 50)}))},
        {"paste into empty before 0", 0, [&](auto& l) { l.EfPaste(-10, other); }, b},
        {"paste past end", 10, [&](auto& l) { l.EfPaste(15, other); },
         withB(Join({A(0, 10), Zeros(5)}), {})},
        {"paste over", 10, [&](auto& l) { l.EfPasteOver(2, 8, other); },
         withB(Join({A(0, 2)}), Join({A(8, 10)}))},
        {"repeat", 10, [](auto& l) { l.EfRepeat(0, 10, 2); }, Join({A(0, 10), A(0, 10), A(0, 10)})},
        {"crop from before 0", 50, [](auto& l) { l.EfCrop(-10, 20); }, Join({A(0, 20)})},
        {"silence a range", 50, [](auto& l) { l.EfSilence(45, 60); }, Join({A(0, 45), Zeros(15)})},
        {"amplify to nothing", 30, [](auto& l) { l.EfAmplify(10, 20, 0); },
         Join({A(0, 10), Zeros(10), A(20, 30)})},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        LCutListAudio list = c.frames > 0 ? Written(Ramp(c.frames, 1), 1) : LCutListAudio();
        c.edit(list);
        EXPECT_EQ(list.GetLength(), static_cast<int32_t>(c.expected.size()));
        EXPECT_EQ(ReadAll(list), c.expected);
        for (const LAudioCut& e : list.GetEntries())
            EXPECT_GE(e.length, 1);
    }
}

TEST_F(CutListTest, SplitsShareTheCutAndCountReferences) {
    LCutListAudio list = Written(Ramp(100, 1), 1);
    const uint16_t cut = list.GetEntries()[0].ref;
    const auto before = list.GetEntries();
    list.EfDelete(10, 10);  // an empty range splits nothing
    EXPECT_EQ(list.GetEntries(), before);

    list.EfDelete(10, 20);
    EXPECT_EQ(list.GetEntries(),
              (std::vector<LAudioCut>{{cut, 10, kUnityGain, 0}, {cut, 80, kUnityGain, 20}}));
    EXPECT_EQ(Tank().GetRefCount(cut), 2);

    list.EfInsertSilence(100, 7);  // past the end: one silent entry padding the gap
    EXPECT_EQ(list.GetEntries().back(), (LAudioCut{SILENT_CUT, 17, kUnityGain, 0}));

    LCutListAudio copy;
    list.EfCopy(5, 15, copy);
    EXPECT_EQ(copy.GetEntries(),
              (std::vector<LAudioCut>{{cut, 5, kUnityGain, 5}, {cut, 5, kUnityGain, 20}}));
    EXPECT_EQ(Tank().GetRefCount(cut), 4);

    list.EfDelete(0, 90);  // removes both entries of the cut, leaves the silence
    EXPECT_EQ(Tank().GetRefCount(cut), 2);
    copy.Clear();
    EXPECT_EQ(Tank().GetRefCount(cut), 0);
    EXPECT_EQ(CutFilesInFolder(), 0u);
}

TEST_F(CutListTest, ACutNamedMoreOftenThanItsCountHoldsIsNeverDeleted) {
    // 70000 entries on one cut saturate its count; dropping them again must not delete the
    // cut that the first entry still plays (the same happens after some 8000 effects on
    // short ranges of one file, whose eight undo steps each copy the whole list).
    LCutListAudio list = Written(Ramp(10, 1), 1);
    const uint16_t cut = list.GetEntries()[0].ref;
    list.EfRepeat(0, 1, 70000);
    EXPECT_EQ(list.GetLength(), 70010);
    EXPECT_EQ(Tank().GetRefCount(cut), 65535);
    list.EfDelete(1, 70001);
    EXPECT_EQ(ReadAll(list), Ramp(10, 1));
    list.Clear();
    Tank().Reset();  // the saturated cut stays until the tank's folder is left
    Tank().SetFolder(dir_.Path().string());
}

TEST_F(CutListTest, AmplifyScalesTheGainsOfTheRangeOnly) {
    LCutListAudio list = Written(Ramp(50, 1), 1);
    list.EfAmplify(10, 20, 200);
    ASSERT_EQ(list.GetEntries().size(), 3u);
    EXPECT_EQ(list.GetEntries()[0].gain, kUnityGain);
    EXPECT_EQ(list.GetEntries()[1].gain, 33554400);
    EXPECT_EQ(list.GetEntries()[2].gain, kUnityGain);
    list.EfAmplify(20, 10, 50);  // inverted: nothing
    list.EfAmplifyAll(100);
    EXPECT_EQ(list.GetEntries()[1].gain, 33554400);
    list.EfAmplifyAll(100000);
    list.EfAmplifyAll(50);
    for (const LAudioCut& e : list.GetEntries())
        EXPECT_EQ(e.gain, kMaxGain);
    EXPECT_EQ(list.GetLength(), 50);
}

TEST_F(CutListTest, RepeatRefusesAResultThatCannotBeHeld) {
    LCutListAudio list = Written(Ramp(100, 1), 1);
    LTraceCapture trace;
    list.EfRepeat(0, 100, 100000000);
    EXPECT_TRUE(trace.Contains("LCutListAudio::EfRepeat result too large"));
    EXPECT_EQ(list.GetLength(), 100);
    list.EfRepeat(0, 100, 0);
    EXPECT_EQ(list.GetEntries().size(), 1u);
}

}  // namespace
}  // namespace osmera
