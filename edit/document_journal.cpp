#include "edit/document_journal.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "core/file.h"
#include "core/test_stop.h"
#include "core/trace.h"
#include "edit/audio_cut_tank.h"
#include "edit/journal_write_queue.h"

namespace osmera {

namespace {

constexpr char kMagic[] = "OSMJRNL1";
constexpr size_t kMagicSize = sizeof kMagic - 1;
constexpr char kPrefix[] = "document-";
constexpr char kSuffix[] = ".journal";
// No document has more entries than a list may hold; a count beyond it is damage.
constexpr uint32_t kMaxEntries = static_cast<uint32_t>(LCutListAudio::kMaxEntries);

uint32_t Checksum(const char* data, size_t size) {
    uint32_t hash = 2166136261u;
    for (size_t i = 0; i < size; ++i) {
        hash ^= static_cast<uint8_t>(data[i]);
        hash *= 16777619u;
    }
    return hash;
}

class LWriter {
  public:
    template <typename T>
    void Put(T value) {
        char bytes[sizeof(T)];
        std::memcpy(bytes, &value, sizeof(T));
        out_.append(bytes, sizeof(T));
    }
    void Text(const std::string& text) {
        Put(static_cast<uint32_t>(text.size()));
        out_ += text;
    }
    void List(const LJournalList& list) {
        Put(list.sampleRate);
        Put(list.channels);
        Put(static_cast<uint32_t>(list.entries.size()));
        for (const LAudioCut& e : list.entries) {
            Put(e.ref);
            Put(e.length);
            Put(e.gain);
            Put(e.start);
        }
    }
    void Markers(const LMarkerList& markers) {
        Put(static_cast<uint32_t>(markers.Bookmarks().size()));
        for (const LBookmark& b : markers.Bookmarks()) {
            Text(b.name);
            Put(b.position);
        }
        Put(static_cast<uint32_t>(markers.Regions().size()));
        for (const LRegion& r : markers.Regions()) {
            Text(r.name);
            Put(r.start);
            Put(r.end);
        }
    }
    std::string& Bytes() { return out_; }

  private:
    std::string out_;
};

// Reads the payload; any read past its end, or a value no document holds, fails it.
class LReader {
  public:
    LReader(const char* data, size_t size) : data_(data), size_(size) {}
    template <typename T>
    bool Get(T& value) {
        if (size_ - at_ < sizeof(T))
            return Fail("it ends early");
        std::memcpy(&value, data_ + at_, sizeof(T));
        at_ += sizeof(T);
        return true;
    }
    bool Text(std::string& text) {
        uint32_t size = 0;
        if (!Get(size))
            return false;
        if (size_ - at_ < size)
            return Fail("it ends early");
        text.assign(data_ + at_, size);
        at_ += size;
        return true;
    }
    bool List(LJournalList& list) {
        uint32_t count = 0;
        if (!Get(list.sampleRate) || !Get(list.channels) || !Get(count))
            return false;
        if (list.sampleRate == 0 || list.channels < 1 || list.channels > 2)
            return Fail("a list has a wrong format");
        if (count > kMaxEntries || (size_ - at_) / 14 < count)
            return Fail("a list has a wrong number of entries");
        list.entries.resize(count);
        for (LAudioCut& e : list.entries) {
            if (!Get(e.ref) || !Get(e.length) || !Get(e.gain) || !Get(e.start))
                return false;
            if (e.length < 1 || e.start < 0)
                return Fail("a list has a wrong entry");
        }
        return true;
    }
    bool Markers(LMarkerList& markers) {
        markers.Clear();
        uint32_t count = 0;
        if (!Get(count))
            return false;
        for (uint32_t i = 0; i < count; ++i) {
            std::string name;
            int32_t position = 0;
            if (!Text(name) || !Get(position))
                return false;
            markers.AddBookmark(name, position);
        }
        if (!Get(count))
            return false;
        for (uint32_t i = 0; i < count; ++i) {
            std::string name;
            int32_t start = 0, end = 0;
            if (!Text(name) || !Get(start) || !Get(end))
                return false;
            markers.AddRegion(name, start, end);
        }
        return true;
    }
    bool AtEnd() const { return at_ == size_; }
    bool Fail(const char* why) {
        if (why_.empty())
            why_ = why;
        return false;
    }
    const std::string& Why() const { return why_; }

  private:
    const char* data_;
    size_t size_;
    size_t at_ = 0;
    std::string why_;
};

LJournalList DescribeList(const LCutListAudio& list) {
    return {list.GetSampleRate(), list.GetChannels(), list.GetEntries()};
}

void SyncFolderOf(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    const int fd =
        ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0 || ::fsync(fd) != 0)
        LTracef("WriteFileAtomically cannot flush the folder of %s", path.c_str());
    if (fd >= 0)
        ::close(fd);
}

}  // namespace

std::string LJournalState::DisplayName() const {
    if (path.empty())
        return "Untitled " + std::to_string(untitledIdx);
    return std::filesystem::path(path).filename().string();
}

LJournalState DescribeForJournal(const LOMFile& doc) {
    LJournalState s;
    s.path = doc.path;
    s.bytesPerSample = doc.bytesPerSample;
    s.tags = doc.tags;
    s.untitledIdx = doc.untitledIdx;
    s.modified = doc.modified;
    s.cursor = doc.cursor;
    s.selStart = doc.selStart;
    s.selEnd = doc.selEnd;
    s.viewStart = doc.viewStart;
    s.viewEnd = doc.viewEnd;
    s.markers = doc.markers;
    s.audio = DescribeList(doc.audio);
    s.undoIdx = doc.undoIdx;
    for (const LUndoStep& u : doc.undo) {
        s.undo.push_back({DescribeList(u.audio), u.modified, u.cursor, u.selStart, u.selEnd,
                          u.viewStart, u.viewEnd, u.markers, u.undoName});
    }
    return s;
}

std::string EncodeJournal(const LJournalState& s) {
    LWriter w;
    w.Text(s.path);
    w.Put(s.bytesPerSample);
    for (const std::string* t :
         {&s.tags.title, &s.tags.artist, &s.tags.album, &s.tags.genre, &s.tags.comment})
        w.Text(*t);
    w.Put(s.tags.year);
    w.Put(s.tags.track);
    w.Put(s.untitledIdx);
    w.Put(s.modified);
    for (int32_t v : {s.cursor, s.selStart, s.selEnd, s.viewStart, s.viewEnd})
        w.Put(v);
    w.Markers(s.markers);
    w.List(s.audio);
    w.Put(s.undoIdx);
    w.Put(static_cast<uint32_t>(s.undo.size()));
    for (const LJournalStep& u : s.undo) {
        w.List(u.audio);
        w.Put(u.modified);
        for (int32_t v : {u.cursor, u.selStart, u.selEnd, u.viewStart, u.viewEnd})
            w.Put(v);
        w.Markers(u.markers);
        w.Text(u.undoName);
    }
    const std::string& payload = w.Bytes();
    std::string out(kMagic, kMagicSize);
    LWriter frame;
    frame.Put(static_cast<uint32_t>(payload.size()));
    out += frame.Bytes();
    out += payload;
    LWriter sum;
    sum.Put(Checksum(payload.data(), payload.size()));
    out += sum.Bytes();
    return out;
}

bool DecodeJournal(const std::string& bytes, LJournalState& out, std::string* message) {
    auto fail = [&](const std::string& why) {
        if (message)
            *message = "The journal is damaged: " + why + ".";
        return false;
    };
    if (bytes.size() < kMagicSize + 8 || bytes.compare(0, kMagicSize, kMagic) != 0)
        return fail("it is not a journal or ends early");
    uint32_t size = 0, sum = 0;
    std::memcpy(&size, bytes.data() + kMagicSize, 4);
    if (bytes.size() != kMagicSize + 8 + static_cast<size_t>(size))
        return fail(bytes.size() < kMagicSize + 8 + static_cast<size_t>(size) ? "it ends early"
                                                                              : "it is too long");
    const char* payload = bytes.data() + kMagicSize + 4;
    std::memcpy(&sum, payload + size, 4);
    if (sum != Checksum(payload, size))
        return fail("its checksum does not match");

    LJournalState s;
    LReader r(payload, size);
    bool ok = r.Text(s.path) && r.Get(s.bytesPerSample);
    for (std::string* t :
         {&s.tags.title, &s.tags.artist, &s.tags.album, &s.tags.genre, &s.tags.comment})
        ok = ok && r.Text(*t);
    ok = ok && r.Get(s.tags.year) && r.Get(s.tags.track) && r.Get(s.untitledIdx) &&
         r.Get(s.modified) && r.Get(s.cursor) && r.Get(s.selStart) && r.Get(s.selEnd) &&
         r.Get(s.viewStart) && r.Get(s.viewEnd) && r.Markers(s.markers) && r.List(s.audio) &&
         r.Get(s.undoIdx);
    uint32_t steps = 0;
    ok = ok && r.Get(steps);
    if (ok && (steps != LOMFile::kUndoSteps || s.undoIdx >= steps))
        ok = r.Fail("its undo steps are wrong");
    for (uint32_t i = 0; ok && i < steps; ++i) {
        LJournalStep u;
        ok = r.List(u.audio) && r.Get(u.modified) && r.Get(u.cursor) && r.Get(u.selStart) &&
             r.Get(u.selEnd) && r.Get(u.viewStart) && r.Get(u.viewEnd) && r.Markers(u.markers) &&
             r.Text(u.undoName);
        s.undo.push_back(std::move(u));
    }
    if (ok && !r.AtEnd())
        ok = r.Fail("it holds more than a document");
    if (!ok)
        return fail(r.Why().empty() ? "it ends early" : r.Why());
    out = std::move(s);
    return true;
}

std::string JournalPath(const std::string& folder, uint32_t id) {
    std::string path = folder;
    if (!path.empty() && path.back() != '/')
        path += '/';
    return path + kPrefix + std::to_string(id) + kSuffix;
}

bool IsJournalFileName(const std::string& name) {
    const size_t prefix = sizeof kPrefix - 1, suffix = sizeof kSuffix - 1;
    if (name.size() <= prefix + suffix || name.compare(0, prefix, kPrefix) != 0 ||
        name.compare(name.size() - suffix, suffix, kSuffix) != 0)
        return false;
    return std::all_of(name.begin() + prefix, name.end() - suffix,
                       [](char c) { return c >= '0' && c <= '9'; });
}

std::vector<std::string> ListJournals(const std::string& folder) {
    std::vector<std::string> found;
    std::error_code ec;
    for (std::filesystem::directory_iterator it(folder, ec), end; !ec && it != end;
         it.increment(ec)) {
        if (IsJournalFileName(it->path().filename().string()))
            found.push_back(it->path().string());
    }
    std::sort(found.begin(), found.end());
    return found;
}

bool WriteFileAtomically(const std::string& path, const std::string& bytes, std::string* message) {
    const std::string temp = path + ".tmp";
    LFile file;
    bool ok = file.Open(temp, LFile::Mode::kCreate);
    std::string why = ok ? "" : file.ErrorText();
    if (ok && !(file.Write(bytes.data(), static_cast<int64_t>(bytes.size())) && file.Sync())) {
        ok = false;
        why = "The disk refused the data (it may be full).";
    }
    file.Close();
    // Tests stop here to show that a run killed between the two steps keeps the previous
    // journal.
    StopHereForTests("journal-rename");
    if (ok && std::rename(temp.c_str(), path.c_str()) != 0) {
        ok = false;
        why = std::strerror(errno);
    }
    if (!ok) {
        std::remove(temp.c_str());
        LTracef("WriteFileAtomically %s FAILED: %s", path.c_str(), why.c_str());
        if (message)
            *message = "Cannot write " + path + ": " + why;
        return false;
    }
    SyncFolderOf(path);
    return true;
}

LDocumentJournalWriter::LDocumentJournalWriter(std::string folder, uint32_t id,
                                               LJournalWriteQueue* queue)
    : path_(JournalPath(folder, id)), queue_(queue) {}

LDocumentJournalWriter::~LDocumentJournalWriter() {
    if (keep_)
        return;  // the journal and its cut references outlive this run
    if (queue_) {
        queue_->Remove(path_);
        return;
    }
    std::remove(path_.c_str());
    ReleaseCuts(pinned_);
}

bool LDocumentJournalWriter::Write(const LOMFile& doc, std::string* message) {
    const LJournalState state = DescribeForJournal(doc);
    // The cuts the new journal names are held from now on, so none of them can go while
    // the journal waits or is written; the old journal's are let go only once the new one
    // is in place, and a cut that both name never reaches a count of 0 in between.
    std::vector<uint16_t> named;
    auto add = [&named](const LJournalList& list) {
        for (const LAudioCut& e : list.entries) {
            if (!e.IsSilent())
                named.push_back(e.ref);
        }
    };
    add(state.audio);
    for (const LJournalStep& u : state.undo)
        add(u.audio);
    std::sort(named.begin(), named.end());
    named.erase(std::unique(named.begin(), named.end()), named.end());
    LAudioCutTank& tank = LAudioCutTank::Instance();
    for (uint16_t n : named)
        tank.IncRef(n);
    if (queue_) {
        queue_->Post(path_, EncodeJournal(state), std::move(named), state.DisplayName());
        return true;
    }
    if (!WriteFileAtomically(path_, EncodeJournal(state), message)) {
        ReleaseCuts(named);
        return false;
    }
    ReleaseCuts(pinned_);
    pinned_ = std::move(named);
    return true;
}

}  // namespace osmera
