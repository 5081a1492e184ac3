#pragma once
// The journal of one open document: a small file in the cut tank's working folder that
// describes the document as the user last saw it (path, sample width, tags, cut list
// entries, undo ring, cursor, selection, view, markers, modified flag), so that a run that
// dies (a crash, a kill, a power cut) loses no edit. The audio itself is in the cut files
// of the same folder, which the journal names by number.
//
// File: "document-<id>.journal", binary, this machine's byte order (the file never leaves
// the machine): "OSMJRNL1", the payload's length (32 bits), the payload, and an FNV-1a
// checksum of the payload (32 bits). A journal that is short, too long or whose checksum
// does not match is damaged and refused as a whole.
//
// Writing is atomic: the bytes go to "document-<id>.journal.tmp", which is flushed to the
// disk and then renamed over the journal, and the folder is flushed; so the journal on
// disk is always one complete state. Writing costs time in proportion to the entries of
// the document's lists (its own and the eight undo steps'), never to its audio.
//
// Keeping the named cuts: LDocumentJournalWriter holds one reference (LAudioCutTank) on
// every cut its journal on disk names, so a cut the document drops (an undo step
// overwritten, say) keeps its files until a newer journal no longer names it. A start-up
// leaves the folders of dead runs that hold journals alone (cut_folder.h), and recovery
// (journal_recovery.h) takes the cuts over.
//
// Threads: the thread that owns the documents.

#include <cstdint>
#include <string>
#include <vector>

#include "edit/om_file.h"

namespace osmera {

// The document state a journal holds, with cut numbers as they were in the run that wrote
// it (they name files of that run's folder, not cuts of this run's tank). Plain data.
struct LJournalList {
    uint32_t sampleRate = 44100;
    uint8_t channels = 1;
    std::vector<LAudioCut> entries;
    bool operator==(const LJournalList&) const = default;
};

struct LJournalStep {
    LJournalList audio;
    uint8_t modified = 0;
    int32_t cursor = 0, selStart = 0, selEnd = 0, viewStart = 0, viewEnd = 0;
    LMarkerList markers;
    std::string undoName;
    bool operator==(const LJournalStep&) const = default;
};

struct LJournalState {
    std::string path;
    int32_t bytesPerSample = 2;
    LAudioTags tags;
    uint32_t untitledIdx = 0;
    uint8_t modified = 0;
    int32_t cursor = 0, selStart = 0, selEnd = 0, viewStart = 0, viewEnd = 0;
    LMarkerList markers;
    LJournalList audio;
    std::vector<LJournalStep> undo;  // LOMFile::kUndoSteps steps, in slot order
    uint32_t undoIdx = 0;
    bool operator==(const LJournalState&) const = default;

    // "Untitled <n>" or the file name part of the path, as the document was shown.
    std::string DisplayName() const;
};

// The state of `doc`.
LJournalState DescribeForJournal(const LOMFile& doc);
// The journal file's bytes for `state`.
std::string EncodeJournal(const LJournalState& state);
// Parses journal bytes. False (with `message` a sentence saying what is wrong, `out` left
// as it was) when they are damaged: short, too long, a wrong checksum or a value that no
// document can hold.
bool DecodeJournal(const std::string& bytes, LJournalState& out, std::string* message = nullptr);

// Journal files: "document-<id>.journal" in `folder`.
std::string JournalPath(const std::string& folder, uint32_t id);
bool IsJournalFileName(const std::string& name);
// The journals in `folder`, sorted by name.
std::vector<std::string> ListJournals(const std::string& folder);

class LJournalWriteQueue;

// Writes and removes the journal of one document and keeps the cuts it names alive.
// Without a queue it writes on the caller's thread; with one (borrowed, outliving the
// writer) the caller only builds the bytes and the queue's thread writes them
// (journal_write_queue.h), and the queue keeps the cut references.
class LDocumentJournalWriter {
  public:
    // `folder`: the tank's working folder (ending in '/' or not).
    LDocumentJournalWriter(std::string folder, uint32_t id, LJournalWriteQueue* queue = nullptr);
    // Removes the journal and lets go of its cuts (a document that closes normally); with a
    // queue, after its write in progress (LJournalWriteQueue::Remove).
    ~LDocumentJournalWriter();
    LDocumentJournalWriter(const LDocumentJournalWriter&) = delete;
    LDocumentJournalWriter& operator=(const LDocumentJournalWriter&) = delete;

    // Writes `doc`'s state atomically. False (the previous journal left in place,
    // `message` set when given) when the disk refused it. With a queue: hands the state
    // over and returns true; the queue reports failures.
    bool Write(const LOMFile& doc, std::string* message = nullptr);
    // Leaves the journal and its cuts on the disk when the writer goes (an exit that must
    // keep unsaved work for the next start).
    void Keep() { keep_ = true; }
    const std::string& Path() const { return path_; }

  private:
    std::string path_;
    LJournalWriteQueue* queue_;
    bool keep_ = false;
    std::vector<uint16_t> pinned_;  // without a queue: cuts of the journal on disk, one each
};

// Writes `bytes` to `path` through "<path>.tmp", flushed to the disk and renamed over
// `path`, then flushes the folder. False (`message` set when given) when any step failed;
// `path` is then as it was.
bool WriteFileAtomically(const std::string& path, const std::string& bytes,
                         std::string* message = nullptr);

}  // namespace osmera
