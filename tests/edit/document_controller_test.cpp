// Documents and undo through the controller: the undo ring, the undo menu text, untitled
// numbering, the playback hook after an edit, the system clipboard exchange and saving.

#include "edit/document_controller.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <fstream>
#include <iterator>

#include "edit/document_io.h"
#include "tests/edit/edit_test_support.h"
#include "tests/edit/memory_clipboard.h"

namespace osmera {
namespace {

using testing::CutTankTest;
using testing::Ramp;

using DocumentTest = CutTankTest;

struct Listener : LDocumentListener {
    void StopPlayback() override { ++stops; }
    void StartPlayback(LOMFile&, int32_t position) override { starts.push_back(position); }
    void UndoMenuChanged(const LUndoMenuItem& item) override { menu = item; }
    void SaveEnabledChanged(bool enabled) override { saveEnabled = enabled; }

    int stops = 0;
    std::vector<int32_t> starts;
    LUndoMenuItem menu;
    bool saveEnabled = false;
};

// A controller whose settings put "clipboard.wav" in the test's folder.
struct Fixture {
    explicit Fixture(const std::string& folder, int autoPlayback = 0) {
        settings.SetText("Folders", "Current", folder);
        settings.SetInt("Settings", "AutoPlaybackAfterEffects", autoPlayback);
    }
    LMemorySettingsStore settings;
    Listener listener;
    LDocumentController controller{settings, &listener};
};

TEST_F(DocumentTest, NineCutsThenNineUndosWalkBackEightSteps) {
    Fixture f(dir_.Path().string());
    LOMFile& doc = f.controller.NewDocument(44100, 2);
    doc.audio = Written(Ramp(100, 2), 2);
    std::vector<std::vector<int32_t>> before;
    for (int i = 0; i < 9; ++i) {
        before.push_back(ReadAll(doc.audio));
        doc.SetSelection(i, i + 5);
        ASSERT_EQ(f.controller.CmCut(), LEditResult::kDone);
        if (i == 0) {
            EXPECT_EQ(f.listener.menu.text, "Undo Cut\tCtrl+Z");
            EXPECT_TRUE(f.listener.menu.enabled);
            EXPECT_TRUE(f.listener.saveEnabled);
        }
    }
    EXPECT_EQ(doc.audio.GetLength(), 55);
    for (int k = 8; k >= 1; --k) {
        f.controller.CmUndo();
        EXPECT_EQ(ReadAll(doc.audio), before[k]) << "undo of cut " << k + 1;
        EXPECT_EQ(doc.selStart, k);
        EXPECT_EQ(doc.selEnd, k + 5);
    }
    const auto stateAfterEight = ReadAll(doc.audio);
    f.controller.CmUndo();
    EXPECT_EQ(ReadAll(doc.audio), stateAfterEight);
    EXPECT_EQ(f.listener.menu.text, "Undo \tCtrl+Z");
    EXPECT_FALSE(f.listener.menu.enabled);
    EXPECT_EQ(f.listener.stops, 9);
}

TEST_F(DocumentTest, UntitledNumbersAreTheLowestFreeAndWrapToOne) {
    Fixture f(dir_.Path().string());
    for (uint32_t i = 1; i <= 19; ++i)
        EXPECT_EQ(f.controller.NewDocument(44100, 1).untitledIdx, i);
    LOMFile& twentieth = f.controller.NewDocument(44100, 1);
    EXPECT_EQ(twentieth.untitledIdx, 1u);
    EXPECT_EQ(twentieth.GetDisplayName(), "Untitled 1");
    f.controller.CloseDocument(f.controller.GetDocuments()[4].get());  // "Untitled 5"
    EXPECT_EQ(f.controller.GetUntitledIdx(), 5u);
    EXPECT_EQ(f.controller.GetCurrent(), &twentieth);
}

TEST_F(DocumentTest, UndoBackToTheSavedStateClearsModified) {
    Fixture f(dir_.Path().string());
    LOMFile& doc = f.controller.NewDocument(8000, 1);
    doc.audio = Written(Ramp(50, 1), 1, 8000);
    ASSERT_EQ(f.controller.SaveCurrentFile(dir_.File("a.wav"), 2, nullptr), kJobDone);
    EXPECT_FALSE(f.controller.IsSaveEnabled());
    doc.SetSelection(10, 20);
    f.controller.CmDelete();
    EXPECT_EQ(doc.modified, 1);
    EXPECT_TRUE(f.listener.saveEnabled);
    f.controller.CmUndo();
    EXPECT_EQ(doc.modified, 0);
    EXPECT_FALSE(f.listener.saveEnabled);
    EXPECT_EQ(doc.GetDisplayName(), "a.wav");
}

TEST_F(DocumentTest, CursorAfterAnEditDependsOnAutoPlayback) {
    struct Case {
        int autoPlayback;
        int32_t selStart;
        int32_t expectedCursor;
        std::vector<int32_t> expectedStarts;
    };
    const Case cases[] = {
        {0, 30000, 30000, {}},
        {1, 30000, 0, {0}},  // one second before would be negative
        {1, 50000, 50000 - 44100, {50000 - 44100}},
    };
    for (const Case& c : cases) {
        Fixture f(dir_.Path().string(), c.autoPlayback);
        LOMFile& doc = f.controller.NewDocument(44100, 1);
        doc.audio.EfInsertSilence(0, 100000);
        doc.SetSelection(c.selStart, c.selStart + 100);
        f.controller.CmCut();
        EXPECT_EQ(doc.cursor, c.expectedCursor) << c.autoPlayback << " " << c.selStart;
        EXPECT_EQ(f.listener.starts, c.expectedStarts);
    }
}

TEST_F(DocumentTest, EditCommandsClampTheSelectionAndRefuseWhatTheyCannotDo) {
    Fixture f(dir_.Path().string());
    EXPECT_EQ(f.controller.CmCut(), LEditResult::kNoDocument);
    LOMFile& doc = f.controller.NewDocument(44100, 1);
    doc.audio = Written(Ramp(40, 1), 1);
    EXPECT_EQ(f.controller.CmPaste(), LEditResult::kClipboardEmpty);
    doc.SetSelection(-10, 100);
    ASSERT_EQ(f.controller.CmCopy(), LEditResult::kDone);
    EXPECT_EQ(f.controller.GetClipboard().GetLength(), 40);  // clamped to the audio
    doc.SetSelection(45, 60);
    EXPECT_EQ(f.controller.CmDelete(), LEditResult::kNoSelection);
    EXPECT_FALSE(f.controller.GetUndoMenuItem().enabled);  // refused commands record nothing

    doc.SetSelection(10, 20);
    ASSERT_EQ(f.controller.CmPasteOver(), LEditResult::kDone);
    EXPECT_EQ(doc.audio.GetLength(), 70);
    EXPECT_EQ(doc.selStart, 10);
    EXPECT_EQ(doc.selEnd, 50);
    ASSERT_EQ(f.controller.CmTrim(), LEditResult::kDone);
    EXPECT_EQ(ReadAll(doc.audio), Ramp(40, 1));
    EXPECT_EQ(f.controller.GetUndoMenuItem().text, "Undo Trim\tCtrl+Z");

    LOMFile& stereo = f.controller.NewDocument(44100, 2);
    stereo.audio = Written(Ramp(10, 2), 2);
    EXPECT_EQ(f.controller.CmPaste(), LEditResult::kChannelsDiffer);
    f.controller.GetClipboard().Clear();
}

// A given list (an inserted file) pastes at the start, inside and past the end, each as
// one undo step; a list the document cannot take changes nothing, not even the cursor.
TEST_F(DocumentTest, PasteListInsertsAGivenListWhereAsked) {
    Fixture f(dir_.Path().string());
    LOMFile& doc = f.controller.NewDocument(44100, 1);
    doc.audio = Written(Ramp(10, 1), 1);
    const LCutListAudio inserted = Written(std::vector<int32_t>(4, 7 * 16), 1);
    ASSERT_EQ(f.controller.CmPasteList(inserted, 500, "Insert File"), LEditResult::kDone);
    EXPECT_EQ(doc.selStart, 10);
    EXPECT_EQ(doc.selEnd, 14);
    ASSERT_EQ(f.controller.CmPasteList(inserted, -3, "Insert File"), LEditResult::kDone);
    ASSERT_EQ(f.controller.CmPasteList(inserted, 6, "Insert File"), LEditResult::kDone);
    std::vector<int32_t> expected = Ramp(10, 1);
    expected.insert(expected.end(), 4, 7 * 16);
    expected.insert(expected.begin(), 4, 7 * 16);
    expected.insert(expected.begin() + 6, 4, 7 * 16);
    EXPECT_EQ(ReadAll(doc.audio), expected);
    EXPECT_EQ(f.controller.GetUndoMenuItem().text, "Undo Insert File\tCtrl+Z");
    EXPECT_EQ(f.controller.GetClipboard().GetLength(), 0);  // the clipboard is not involved

    doc.cursor = 3;
    const LCutListAudio stereo = Written(Ramp(4, 2), 2);
    EXPECT_EQ(f.controller.CmPasteList(stereo, 0, "Insert File"), LEditResult::kChannelsDiffer);
    EXPECT_EQ(f.controller.CmPasteList(LCutListAudio(44100, 1), 0, "Insert File"),
              LEditResult::kClipboardEmpty);
    EXPECT_EQ(doc.cursor, 3);
    f.controller.CmUndo();
    f.controller.CmUndo();
    f.controller.CmUndo();
    EXPECT_EQ(ReadAll(doc.audio), Ramp(10, 1));
}

TEST_F(DocumentTest, SystemClipboardRoundTripThroughClipboardWav) {
    Fixture f(dir_.Path().string());
    testing::MemoryClipboard clipboard;
    LOMFile& doc = f.controller.NewDocument(22050, 2);
    doc.audio = Written(Ramp(300, 2), 2, 22050);
    doc.SetSelection(100, 200);
    ASSERT_EQ(f.controller.CmCopyToSystemClipboard(clipboard, nullptr), LEditResult::kDone);
    ASSERT_GT(clipboard.bytes.size(), 400u);
    EXPECT_EQ(std::string(clipboard.bytes.begin(), clipboard.bytes.begin() + 4), "RIFF");
    EXPECT_FALSE(std::filesystem::exists(dir_.File("clipboard.wav")));

    LOMFile& other = f.controller.NewDocument(22050, 2);
    other.audio = Written(Ramp(10, 2, 5000), 2, 22050);
    other.cursor = 5;
    ASSERT_EQ(f.controller.CmPasteFromSystemClipboard(clipboard, nullptr), LEditResult::kDone);
    const auto pasted = ReadList(other.audio, 5, 100);
    auto expected = Ramp(200, 2);
    expected.erase(expected.begin(), expected.begin() + 200);
    for (int32_t& v : expected)
        v &= ~15;  // "clipboard.wav" holds 16-bit samples
    EXPECT_EQ(pasted, expected);
    EXPECT_EQ(f.controller.GetUndoMenuItem().text, "Undo Paste\tCtrl+Z");

    testing::MemoryClipboard empty;
    EXPECT_EQ(f.controller.CmPasteFromSystemClipboard(empty, nullptr),
              LEditResult::kClipboardEmpty);
    std::filesystem::remove(dir_.File("clipboard.wav"));
}

TEST_F(DocumentTest, FailedOrCancelledSaveLeavesTheTargetAlone) {
    Fixture f(dir_.Path().string());
    LOMFile& doc = f.controller.NewDocument(44100, 2);
    doc.audio = Written(Ramp(44100, 2), 2);
    doc.modified = 1;
    const std::string target = dir_.File("keep.wav");
    std::ofstream(target) << "precious";

    testing::RecordingProgress cancelling(2);
    EXPECT_EQ(f.controller.SaveCurrentFile(target, 2, &cancelling), kJobCancelled);

    // A file size limit makes the writes past 10000 bytes fail as on a full disk.
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    const auto oldHandler = signal(SIGXFSZ, SIG_IGN);
    rlimit small = old;
    small.rlim_cur = 10000;
    setrlimit(RLIMIT_FSIZE, &small);
    std::string message;
    const int result = f.controller.SaveCurrentFile(target, 2, nullptr, &message);
    setrlimit(RLIMIT_FSIZE, &old);
    signal(SIGXFSZ, oldHandler);
    EXPECT_EQ(result, kJobFailed);
    EXPECT_NE(message.find("keep.wav"), std::string::npos);

    EXPECT_EQ(f.controller.SaveCurrentFile(dir_.File("no/such/folder/x.wav"), 2, nullptr),
              kJobFailed);
    std::ifstream in(target);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "precious");
    EXPECT_EQ(doc.modified, 1);
    EXPECT_TRUE(doc.path.empty());
    size_t files = 0;
    for (const auto& e : std::filesystem::directory_iterator(dir_.Path()))
        files += e.path().extension() == ".tmp";
    EXPECT_EQ(files, 0u) << "a temporary was left behind";
}

}  // namespace
}  // namespace osmera
