#include "edit/journal_recovery.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <system_error>

#include "core/file.h"
#include "core/trace.h"
#include "edit/audio_cut_tank.h"
#include "edit/cut_folder.h"

namespace osmera {

namespace {

namespace fs = std::filesystem;

std::string ReadWhole(const std::string& path, bool& ok) {
    LFile file;
    std::string bytes;
    ok = file.Open(path, LFile::Mode::kRead);
    const int64_t size = ok ? file.Size() : -1;
    // A journal is small; one beyond this is not ours.
    constexpr int64_t kMaxJournal = int64_t{1} << 30;
    ok = ok && size >= 0 && size <= kMaxJournal;
    if (ok) {
        bytes.resize(static_cast<size_t>(size));
        ok = file.Read(bytes.data(), size) == size;
    }
    return bytes;
}

int64_t FileSize(const std::string& path) {
    std::error_code ec;
    const auto size = fs::file_size(path, ec);
    return ec ? -1 : static_cast<int64_t>(size);
}

// `from` under the name `to`: a hard link, else a copy.
bool TakeFile(const std::string& from, const std::string& to) {
    std::remove(to.c_str());
    if (::link(from.c_str(), to.c_str()) == 0)
        return true;
    std::error_code ec;
    return fs::copy_file(from, to, fs::copy_options::overwrite_existing, ec);
}

// What each cut of the dead folder must hold: the bytes of ".aud" and of ".grf" that the
// entries naming it read.
struct LNeed {
    int64_t aud = 0;
    int64_t grf = 0;
};

void AddNeeds(const LJournalList& list, std::map<uint16_t, LNeed>& needs) {
    for (const LAudioCut& e : list.entries) {
        if (e.IsSilent())
            continue;
        const int64_t frames = int64_t{e.start} + e.length;
        LNeed& need = needs[e.ref];
        need.aud = std::max(need.aud, frames * list.channels * 4);
        need.grf = std::max(need.grf, (frames + 255) / 256 * list.channels * 2);
    }
}

// `saved` with every cut renamed through `numbers`; entries of lost cuts become silence.
// Returns the frames that were lost.
int64_t Rebuild(const LJournalList& saved, const std::map<uint16_t, uint16_t>& numbers,
                LCutListAudio& list) {
    list = LCutListAudio(saved.sampleRate, saved.channels);
    int64_t lost = 0;
    for (LAudioCut e : saved.entries) {
        if (!e.IsSilent()) {
            const auto it = numbers.find(e.ref);
            if (it != numbers.end()) {
                e.ref = it->second;
            } else {
                lost += e.length;
                e = LAudioCut{SILENT_CUT, e.length, kUnityGain, 0};
            }
        }
        list.AppendEntry(e);
    }
    return lost;
}

}  // namespace

LJournalRecovery::LJournalRecovery(std::string folder, int lockFd)
    : folder_(std::move(folder)), lockFd_(lockFd) {}

LJournalRecovery::~LJournalRecovery() {
    if (lockFd_ >= 0)
        ::close(lockFd_);
}

std::vector<std::unique_ptr<LJournalRecovery>> LJournalRecovery::FindIn(const std::string& parent) {
    std::vector<std::unique_ptr<LJournalRecovery>> found;
    std::vector<std::string> folders;
    std::error_code ec;
    for (fs::directory_iterator it(parent, ec), end; !ec && it != end; it.increment(ec)) {
        if (it->path().filename().string().rfind(LCutFolder::kPrefix, 0) == 0 &&
            it->symlink_status(ec).type() == fs::file_type::directory)
            folders.push_back(it->path().string());
    }
    std::sort(folders.begin(), folders.end());
    for (const std::string& folder : folders) {
        const std::vector<std::string> journals = ListJournals(folder);
        if (journals.empty())
            continue;
        const int fd = LCutFolder::LockIfDead(folder);
        if (fd < 0)
            continue;  // its run lives (another editor's folder), or it is not ours
        std::unique_ptr<LJournalRecovery> run(new LJournalRecovery(folder, fd));
        for (const std::string& path : journals) {
            bool ok = false;
            const std::string bytes = ReadWhole(path, ok);
            LJournalState state;
            std::string why = "The journal cannot be read.";
            if (ok && DecodeJournal(bytes, state, &why)) {
                // A document without unsaved changes is its file on disk: nothing to offer.
                if (state.modified)
                    run->documents_.push_back(std::move(state));
            } else {
                LTracef("LJournalRecovery::FindIn %s: %s", path.c_str(), why.c_str());
                run->problems_.push_back(fs::path(path).filename().string() + ": " + why);
            }
        }
        if (run->documents_.empty() && run->problems_.empty())
            run->Discard();
        else
            found.push_back(std::move(run));
    }
    return found;
}

std::vector<std::unique_ptr<LOMFile>> LJournalRecovery::Recover(std::vector<std::string>& notes) {
    std::map<uint16_t, LNeed> needs;
    for (const LJournalState& s : documents_) {
        AddNeeds(s.audio, needs);
        for (const LJournalStep& u : s.undo)
            AddNeeds(u.audio, needs);
    }
    // Every cut is checked and taken over once, however many lists name it.
    LAudioCutTank& tank = LAudioCutTank::Instance();
    const std::string dir = folder_ + '/';
    std::map<uint16_t, uint16_t> numbers;
    for (const auto& [ref, need] : needs) {
        const std::string aud = dir + std::to_string(ref) + ".aud";
        const std::string grf = dir + std::to_string(ref) + ".grf";
        if (FileSize(aud) < need.aud || FileSize(grf) < need.grf) {
            LTracef("LJournalRecovery::Recover cut %u missing or short", ref);
            continue;
        }
        uint16_t number = 0;
        if (!tank.TakeNewRef(number))
            continue;
        if (TakeFile(aud, tank.GetAudFilePath(number)) &&
            TakeFile(grf, tank.GetGrfFilePath(number))) {
            numbers[ref] = number;
        } else {
            tank.DecRef(number);
        }
    }

    std::vector<std::unique_ptr<LOMFile>> docs;
    for (const LJournalState& s : documents_) {
        auto doc = std::make_unique<LOMFile>();
        doc->path = s.path;
        doc->bytesPerSample = s.bytesPerSample;
        doc->tags = s.tags;
        doc->untitledIdx = s.untitledIdx;
        doc->modified = 1;  // whatever it was, it is not saved where the user expects it
        doc->cursor = s.cursor;
        doc->selStart = s.selStart;
        doc->selEnd = s.selEnd;
        doc->viewStart = s.viewStart;
        doc->viewEnd = s.viewEnd;
        doc->markers = s.markers;
        const int64_t lost = Rebuild(s.audio, numbers, doc->audio);
        int64_t lostInUndo = 0;
        for (size_t i = 0; i < s.undo.size() && i < LOMFile::kUndoSteps; ++i) {
            const LJournalStep& u = s.undo[i];
            LUndoStep& step = doc->undo[i];
            lostInUndo += Rebuild(u.audio, numbers, step.audio);
            step.modified = u.modified;
            step.cursor = u.cursor;
            step.selStart = u.selStart;
            step.selEnd = u.selEnd;
            step.viewStart = u.viewStart;
            step.viewEnd = u.viewEnd;
            step.markers = u.markers;
            step.undoName = u.undoName;
        }
        doc->undoIdx = s.undoIdx;
        if (lost > 0) {
            char seconds[32];
            std::snprintf(seconds, sizeof seconds, "%.1f",
                          static_cast<double>(lost) / std::max<uint32_t>(1, s.audio.sampleRate));
            notes.push_back(s.DisplayName() + ": some of its audio was missing or damaged; " +
                            seconds + " seconds of it are silence now.");
        } else if (lostInUndo > 0) {
            notes.push_back(s.DisplayName() +
                            ": some audio of its undo steps was missing or damaged and is "
                            "silence now.");
        }
        docs.push_back(std::move(doc));
    }
    // The documents hold the cuts now; the references taken with the numbers go.
    for (const auto& [ref, number] : numbers)
        tank.DecRef(number);
    return docs;
}

void LJournalRecovery::Discard() {
    LCutFolder::RemoveFolder(folder_);
    documents_.clear();
}

}  // namespace osmera
