#pragma once
// Recovering the documents of a run that died: its working folder (cut_folder.h) still holds
// the journals of its open documents (document_journal.h) and the cut files they name.
//
//   for (auto& run : LJournalRecovery::FindIn(parent)) {
//       ... list run->Documents() and run->Problems() to the user ...
//       Recover: docs = run->Recover(notes); ... show them, journal them ...; run->Discard();
//       Discard: run->Discard();
//       Decide later: let `run` go; its folder stays for the next start.
//   }
//
// Recover takes every cut a journal names into this run's tank under a new number (a hard
// link, or a copy where the file system has none), so the dead folder stays whole until
// Discard removes it: a start that dies while recovering finds it again. A cut file that
// is missing or shorter than its entries need is reported and its entries become silence
// of the same length, so what is there is recovered and positions stay. A damaged journal
// is reported (Problems) and skipped.
//
// Each object holds the dead folder's lock while it lives, so two starts never recover the
// same folder. Threads: the thread that owns the documents.

#include <memory>
#include <string>
#include <vector>

#include "edit/document_journal.h"
#include "edit/om_file.h"

namespace osmera {

class LJournalRecovery {
  public:
    // The folders in `parent` of runs that ended without cleaning up and left journals of
    // documents with unsaved changes, each locked for this process. A folder whose journals
    // all describe saved documents is removed on the way.
    static std::vector<std::unique_ptr<LJournalRecovery>> FindIn(const std::string& parent);
    ~LJournalRecovery();
    LJournalRecovery(const LJournalRecovery&) = delete;
    LJournalRecovery& operator=(const LJournalRecovery&) = delete;

    const std::string& Folder() const { return folder_; }
    // The readable journals' documents that had unsaved changes, in journal order.
    const std::vector<LJournalState>& Documents() const { return documents_; }
    // One sentence per journal that could not be read.
    const std::vector<std::string>& Problems() const { return problems_; }

    // The documents as they were, each marked modified, with their cuts now in this run's
    // tank. `notes` gets one sentence per document that lost audio.
    std::vector<std::unique_ptr<LOMFile>> Recover(std::vector<std::string>& notes);
    // Deletes the dead folder: its journals, cut files and lock.
    void Discard();

  private:
    LJournalRecovery(std::string folder, int lockFd);

    std::string folder_;
    int lockFd_;
    std::vector<LJournalState> documents_;
    std::vector<std::string> problems_;
};

}  // namespace osmera
