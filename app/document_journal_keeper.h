#pragma once
// LDocumentJournalKeeper: keeps the crash-recovery journal (edit/document_journal.h) of every
// open document in step with what the user sees. The controller reports every change of a
// document (edit, undo, effect, record, save, open, and the cursor, selection and view
// through the document's model); each report marks the document, and the marked documents'
// journals are written together when control returns to the event loop, so a burst of
// changes writes once; a moving cursor, selection or view is written within half a second.
// While a job runs (an effect, a load, a batch script) nothing is
// written: the journal keeps the state before the job until the job has ended, so a run that
// dies in the middle of an effect comes back as it was before it. A document that closes
// takes its journal with it, and so does the keeper's end (a normal exit).
//
// The GUI thread only builds a journal's bytes; the keeper's writer thread
// (LJournalWriteQueue) puts them on the disk; only the newest state per document waits.
// Closing a document and the keeper's end wait for it (traced on a time-out).
//
// Off until SetEnabled(true) (the editor's start-up turns it on; the editor's tests leave it
// off unless they test it). On, it also has the cut tank flush every new cut to the disk.
// Ownership: documents are borrowed; the owner calls Closed before a document is freed. Threads:
// GUI thread only (the writer thread reports failures through a queued signal).

#include <QObject>
#include <QString>
#include <QTimer>
#include <functional>
#include <map>
#include <memory>
#include <set>

#include "edit/document_journal.h"
#include "edit/journal_write_queue.h"
#include "edit/om_file.h"

namespace osmera {

class LDocumentJournalKeeper : public QObject {
    Q_OBJECT
  public:
    // `canWrite` says whether journals may be written now (false while a job runs).
    explicit LDocumentJournalKeeper(std::function<bool()> canWrite, QObject* parent = nullptr);
    ~LDocumentJournalKeeper() override;

    // Journals go to the cut tank's folder; without one nothing is written.
    void SetEnabled(bool enabled);
    bool IsEnabled() const { return enabled_; }

    // `doc` changed (audio, undo steps, markers, modified flag): its journal is written at
    // the end of this event-loop turn.
    void Changed(LOMFile* doc);
    // Only the cursor, selection or view of `doc` moved: its journal is written within
    // half a second, once for a whole drag.
    void Moved(LOMFile* doc);
    // `doc` closes: its journal goes at once.
    void Closed(const LOMFile* doc);
    // Writes the marked documents' journals now, unless a job runs (then after it).
    void Flush();
    // True while a document's journal still waits to be handed to the writer.
    bool HasPending() const { return !pending_.empty(); }
    // Waits (at most LJournalWriteQueue::kWaitMs) until the writer has put every handed-over
    // journal on the disk. False on a time-out.
    bool WaitWritten();
    // The program ends without asking (a termination signal, the end of the session): the
    // marked journals are written now (unless a job runs: then the state before it stays),
    // and the journals of documents with unsaved changes, with the cuts they name, stay on
    // the disk when their documents close, for the next start to offer. True when at least
    // one was kept; then the exit must leave the working folder
    // (LAudioCutTank::KeepReferencedCutFiles).
    bool KeepUnsaved();

  signals:
    // A journal could not be written (a full disk, say): `message` for the status bar.
    void writeFailed(const QString& message);

  private:
    std::function<bool()> canWrite_;
    bool enabled_ = false;
    std::set<LOMFile*> pending_;
    // Declared before the writers: they hand their removal to it when they go.
    std::unique_ptr<LJournalWriteQueue> queue_;
    std::map<const LOMFile*, std::unique_ptr<LDocumentJournalWriter>> writers_;
    uint32_t nextId_ = 1;
    QTimer timer_;
};

}  // namespace osmera
