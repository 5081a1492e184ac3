// The journal of an open document and the recovery of a dead run's documents from it.

#include "edit/document_journal.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "edit/cut_folder.h"
#include "edit/journal_recovery.h"
#include "edit/journal_write_queue.h"
#include "tests/edit/edit_test_support.h"

namespace osmera::testing {
namespace {

namespace fs = std::filesystem;

class DocumentJournalTest : public CutTankTest {
  protected:
    // A stereo document of two cuts with a few edits, each an undo step, and markers.
    void MakeEditedDocument() {
        std::vector<int32_t> a(2 * 3000), b(2 * 500);
        for (size_t i = 0; i < a.size(); ++i)
            a[i] = static_cast<int32_t>(i * 37 % 9000) - 4500;
        for (size_t i = 0; i < b.size(); ++i)
            b[i] = static_cast<int32_t>(i * 11);
        doc_.path = "/music/take one.wav";
        doc_.bytesPerSample = 3;
        doc_.tags.title = "Take";
        doc_.audio = Written(a, 2, 48000);
        const LCutListAudio other = Written(b, 2, 48000);
        doc_.RecordUndoStep("Paste");
        doc_.audio.EfPaste(1000, other);
        doc_.markers.AddBookmark("Start", 10);
        doc_.markers.AddRegion("Chorus", 200, 900);
        doc_.RecordUndoStep("Amplify");
        doc_.audio.EfAmplify(100, 2000, 150);
        doc_.RecordUndoStep("Cut");
        doc_.audio.EfDelete(50, 60);
        doc_.cursor = 1234;
        doc_.SetSelection(2000, 700);
        doc_.viewStart = 5;
        doc_.viewEnd = 3000;
        doc_.modified = 1;
    }

    // Moves the tank's cut files and `journal` into a folder of a run that has ended, as a
    // killed editor leaves them, and returns that folder.
    std::string LeaveAsDeadRun(const std::string& journal) {
        const fs::path dead = dir_.Path() / "parent" / "osmera-run-1-abcdef";
        fs::create_directories(dead);
        for (const auto& e : fs::directory_iterator(dir_.Path())) {
            if (LCutFolder::IsCutFileName(e.path().filename().string()))
                fs::copy_file(e.path(), dead / e.path().filename());
        }
        fs::copy_file(journal, dead / fs::path(journal).filename());
        std::ofstream(dead / LCutFolder::kLockName).flush();
        return dead.string();
    }

    LOMFile doc_;
};

TEST_F(DocumentJournalTest, RecoveryGivesBackTheDocumentAsItWas) {
    MakeEditedDocument();
    const std::vector<int32_t> audio = ReadAll(doc_.audio);
    std::string journal, dead;
    {
        LDocumentJournalWriter writer(dir_.Path().string(), 7);
        ASSERT_TRUE(writer.Write(doc_));
        journal = writer.Path();
        EXPECT_EQ(fs::path(journal).filename(), "document-7.journal");
        dead = LeaveAsDeadRun(journal);
        // What the file says is the document, undo ring included.
        LJournalState read;
        ASSERT_TRUE(DecodeJournal(ReadText(journal), read));
        EXPECT_EQ(read, DescribeForJournal(doc_));
    }  // a document that closes takes its journal with it
    EXPECT_FALSE(fs::exists(journal));

    // A new start in the same parent keeps the dead folder: its journal names unsaved work.
    EXPECT_EQ(LCutFolder::CleanDeadFolders((dir_.Path() / "parent").string()), 0);
    // While its run holds the folder's lock (a live editor of another session) it is not
    // offered; nor is it offered to two starts at once.
    {
        const int held = LCutFolder::LockIfDead(dead);
        ASSERT_GE(held, 0);
        EXPECT_TRUE(LJournalRecovery::FindIn((dir_.Path() / "parent").string()).empty());
        ::close(held);
    }
    auto runs = LJournalRecovery::FindIn((dir_.Path() / "parent").string());
    ASSERT_EQ(runs.size(), 1u);
    EXPECT_TRUE(LJournalRecovery::FindIn((dir_.Path() / "parent").string()).empty());
    ASSERT_EQ(runs[0]->Documents().size(), 1u);
    EXPECT_EQ(runs[0]->Documents()[0].DisplayName(), "take one.wav");
    EXPECT_TRUE(runs[0]->Problems().empty());

    std::vector<std::string> notes;
    const std::vector<int32_t> undoneOnce = ReadAll(doc_.undo[doc_.undoIdx].audio);
    auto docs = runs[0]->Recover(notes);
    ASSERT_EQ(docs.size(), 1u);
    EXPECT_TRUE(notes.empty());
    LOMFile& back = *docs[0];
    EXPECT_EQ(ReadAll(back.audio), audio);
    EXPECT_EQ(back.audio.GetSampleRate(), 48000u);
    EXPECT_EQ(back.cursor, 1234);
    EXPECT_EQ(back.selStart, 700);
    EXPECT_EQ(back.selEnd, 2000);
    EXPECT_EQ(back.markers, doc_.markers);
    EXPECT_EQ(back.path, doc_.path);
    EXPECT_EQ(back.bytesPerSample, 3);
    EXPECT_EQ(back.modified, 1);
    EXPECT_EQ(back.CurrentUndoStep().undoName, "Cut");
    // The undo ring reads the same audio and walks back through the same steps.
    ASSERT_TRUE(back.Undo());
    EXPECT_EQ(ReadAll(back.audio), undoneOnce);
    ASSERT_TRUE(back.Undo());
    ASSERT_TRUE(back.Undo());
    EXPECT_FALSE(back.Undo());
    EXPECT_TRUE(back.markers.Empty());

    runs[0]->Discard();
    EXPECT_FALSE(fs::exists(runs[0]->Folder()));
    doc_.audio.Clear();
    for (LUndoStep& u : doc_.undo)
        u.audio.Clear();
}

TEST_F(DocumentJournalTest, DamagedJournalsAndCutsAreReportedAndSkipped) {
    MakeEditedDocument();
    LDocumentJournalWriter writer(dir_.Path().string(), 1);
    ASSERT_TRUE(writer.Write(doc_));
    const std::string bytes = ReadText(writer.Path());
    LJournalState state;
    std::string why;
    for (size_t cut : {size_t{0}, size_t{5}, bytes.size() / 2, bytes.size() - 1}) {
        EXPECT_FALSE(DecodeJournal(bytes.substr(0, cut), state, &why)) << cut;
        EXPECT_NE(why.find("damaged"), std::string::npos);
    }
    std::string flipped = bytes;
    flipped[bytes.size() / 2] ^= 0x40;
    EXPECT_FALSE(DecodeJournal(flipped, state, &why));
    EXPECT_FALSE(DecodeJournal(bytes + "x", state, &why));

    // A dead run with one good journal, one truncated journal and a cut file cut short.
    const std::string dead = LeaveAsDeadRun(writer.Path());
    std::ofstream(dead + "/document-2.journal", std::ios::binary) << bytes.substr(0, 40);
    const uint16_t shortened = doc_.audio.GetEntries().front().ref;
    fs::resize_file(dead + "/" + std::to_string(shortened) + ".aud", 100);
    auto runs = LJournalRecovery::FindIn((dir_.Path() / "parent").string());
    ASSERT_EQ(runs.size(), 1u);
    ASSERT_EQ(runs[0]->Problems().size(), 1u);
    EXPECT_NE(runs[0]->Problems()[0].find("document-2.journal"), std::string::npos);
    std::vector<std::string> notes;
    auto docs = runs[0]->Recover(notes);
    ASSERT_EQ(docs.size(), 1u);
    ASSERT_EQ(notes.size(), 1u);
    EXPECT_NE(notes[0].find("take one.wav"), std::string::npos);
    // The lost piece is silence of its own length; the rest is the audio.
    EXPECT_EQ(docs[0]->audio.GetLength(), doc_.audio.GetLength());
    EXPECT_TRUE(docs[0]->audio.GetEntries().front().IsSilent());
    EXPECT_EQ(ReadList(docs[0]->audio, 990, 500), ReadList(doc_.audio, 990, 500));
    docs.clear();
    runs[0]->Discard();
    doc_.audio.Clear();
    for (LUndoStep& u : doc_.undo)
        u.audio.Clear();
}

TEST_F(DocumentJournalTest, CutsNamedByTheJournalOnDiskOutliveTheDocumentsReferences) {
    LCutListAudio first = Written(std::vector<int32_t>(300, 1), 1);
    const uint16_t cut = first.GetEntries().front().ref;
    LOMFile doc;
    doc.audio = first;
    first.Clear();
    LDocumentJournalWriter writer(dir_.Path().string(), 3);
    ASSERT_TRUE(writer.Write(doc));
    doc.audio.Clear();  // the edit that dropped the cut has not been journalled yet
    EXPECT_TRUE(fs::exists(Tank().GetAudFilePath(cut)));
    ASSERT_TRUE(writer.Write(doc));
    EXPECT_FALSE(fs::exists(Tank().GetAudFilePath(cut)));
}

// Through the writer thread: the same rule for the cuts, the newest of a burst of states
// ends on the disk, and the writer's removal lets go of everything.
TEST_F(DocumentJournalTest, WriterThreadKeepsTheNewestStateAndTheCutsItNames) {
    LCutListAudio first = Written(std::vector<int32_t>(300, 1), 1);
    const uint16_t cut = first.GetEntries().front().ref;
    LOMFile doc;
    doc.audio = first;
    first.Clear();
    std::string path;
    {
        LJournalWriteQueue queue;
        LDocumentJournalWriter writer(dir_.Path().string(), 4, &queue);
        path = writer.Path();
        ASSERT_TRUE(writer.Write(doc));
        doc.audio.Clear();  // the cut is now held by the journal only
        EXPECT_TRUE(fs::exists(Tank().GetAudFilePath(cut)));
        ASSERT_TRUE(queue.Drain());
        EXPECT_TRUE(fs::exists(Tank().GetAudFilePath(cut)));
        for (int i = 1; i <= 40; ++i) {
            doc.cursor = i;
            doc.audio = i % 2 ? LCutListAudio() : Written(std::vector<int32_t>(50, i), 1);
            writer.Write(doc);
        }
        ASSERT_TRUE(queue.Drain());
        LJournalState state;
        ASSERT_TRUE(DecodeJournal(ReadText(path), state));
        EXPECT_EQ(state.cursor, 40);
        EXPECT_EQ(state.audio.entries.size(), 1u);
        doc.audio.Clear();
        // Only the cut of the journal on disk is left: dropped states let theirs go.
        ASSERT_EQ(state.audio.entries.size(), 1u);
        const std::string kept = std::to_string(state.audio.entries[0].ref) + ".";
        for (const auto& e : fs::directory_iterator(dir_.Path())) {
            const std::string name = e.path().filename().string();
            if (LCutFolder::IsCutFileName(name)) {
                EXPECT_EQ(name.rfind(kept, 0), 0u) << name;
            }
        }
    }
    EXPECT_FALSE(fs::exists(path));
    std::vector<std::string> left;
    for (const auto& e : fs::directory_iterator(dir_.Path()))
        left.push_back(e.path().filename().string());
    EXPECT_TRUE(left.empty()) << left.size() << " files left, first " << left[0];
}

}  // namespace
}  // namespace osmera::testing
