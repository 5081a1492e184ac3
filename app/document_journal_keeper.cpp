#include "app/document_journal_keeper.h"

#include "core/trace.h"
#include "edit/audio_cut_tank.h"

namespace osmera {

namespace {
// How soon a flush that had to wait for a job looks again.
constexpr int kRetryMs = 50;
// How long the journal lags behind a moving cursor, selection or view: a drag or playback
// changes them many times a second, and each journal is flushed to the disk.
constexpr int kMovedMs = 500;
}  // namespace

LDocumentJournalKeeper::LDocumentJournalKeeper(std::function<bool()> canWrite, QObject* parent)
    : QObject(parent), canWrite_(std::move(canWrite)) {
    queue_ = std::make_unique<LJournalWriteQueue>([this](const std::string& label,
                                                         const std::string& message) {
        // Writer thread: the signal is emitted on the GUI thread.
        const QString name = QString::fromStdString(label), why = QString::fromStdString(message);
        QMetaObject::invokeMethod(
            this,
            [this, name, why]() {
                emit writeFailed(QStringLiteral("The recovery journal of %1 cannot be written: %2")
                                     .arg(name, why));
            },
            Qt::QueuedConnection);
    });
    timer_.setSingleShot(true);
    connect(&timer_, &QTimer::timeout, this, &LDocumentJournalKeeper::Flush);
}

LDocumentJournalKeeper::~LDocumentJournalKeeper() {
    // The writers remove their journals through the queue, which must still run.
    writers_.clear();
    queue_.reset();
}

bool LDocumentJournalKeeper::WaitWritten() {
    return queue_->Drain();
}

bool LDocumentJournalKeeper::KeepUnsaved() {
    if (!enabled_)
        return false;
    Flush();
    bool kept = false;
    for (auto& [doc, writer] : writers_) {
        if (doc->modified) {
            writer->Keep();
            kept = true;
        }
    }
    WaitWritten();
    LTracef("LDocumentJournalKeeper::KeepUnsaved %s", kept ? "journals kept" : "nothing to keep");
    return kept;
}

void LDocumentJournalKeeper::SetEnabled(bool enabled) {
    enabled_ = enabled && !LAudioCutTank::Instance().GetFolder().empty();
    LAudioCutTank::Instance().SetSyncCutFiles(enabled_);
    if (!enabled_) {
        pending_.clear();
        writers_.clear();
    }
}

void LDocumentJournalKeeper::Changed(LOMFile* doc) {
    if (!enabled_ || !doc)
        return;
    pending_.insert(doc);
    if (!timer_.isActive() || timer_.remainingTime() > 0)
        timer_.start(0);
}

void LDocumentJournalKeeper::Moved(LOMFile* doc) {
    if (!enabled_ || !doc)
        return;
    pending_.insert(doc);
    if (!timer_.isActive())
        timer_.start(kMovedMs);
}

void LDocumentJournalKeeper::Closed(const LOMFile* doc) {
    pending_.erase(const_cast<LOMFile*>(doc));
    writers_.erase(doc);
}

void LDocumentJournalKeeper::Flush() {
    if (pending_.empty())
        return;
    if (canWrite_ && !canWrite_()) {
        timer_.start(kRetryMs);
        return;
    }
    timer_.stop();
    const std::set<LOMFile*> docs = std::move(pending_);
    pending_.clear();
    for (LOMFile* doc : docs) {
        std::unique_ptr<LDocumentJournalWriter>& writer = writers_[doc];
        if (!writer)
            writer = std::make_unique<LDocumentJournalWriter>(LAudioCutTank::Instance().GetFolder(),
                                                              nextId_++, queue_.get());
        std::string message;
        if (!writer->Write(*doc, &message)) {
            LTracef("LDocumentJournalKeeper::Flush %s", message.c_str());
            emit writeFailed(QStringLiteral("The recovery journal of %1 cannot be written: %2")
                                 .arg(QString::fromStdString(doc->GetDisplayName()),
                                      QString::fromStdString(message)));
        }
    }
}

}  // namespace osmera
