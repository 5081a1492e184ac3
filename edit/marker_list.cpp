#include "edit/marker_list.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <set>

#include "core/trace.h"

namespace osmera {
namespace {

int32_t Saturate(int64_t v) {
    return static_cast<int32_t>(std::clamp<int64_t>(v, 0, std::numeric_limits<int32_t>::max()));
}

// Where position `p` of the old audio lies in the new one. `isEnd` marks the exclusive end of
// a region, which stays put when it lies at or before the start of the change.
int32_t Moved(int32_t p, int64_t start, int64_t oldEnd, int64_t newEnd, bool isEnd) {
    if (isEnd ? p <= start : p < start)
        return p;
    if (p >= oldEnd)
        return Saturate(p + (newEnd - oldEnd));
    // Inside the replaced range (start < oldEnd here): scaled into the new range.
    return Saturate(start + (p - start) * (newEnd - start) / (oldEnd - start));
}

bool BookmarkBefore(const LBookmark& a, const LBookmark& b) {
    return a.position < b.position;
}

bool RegionBefore(const LRegion& a, const LRegion& b) {
    return a.start != b.start ? a.start < b.start : a.end < b.end;
}

template <typename T>
std::string NextName(const std::vector<T>& items, const std::string& prefix) {
    std::set<std::string> used;
    for (const T& item : items)
        used.insert(item.name);
    for (int n = 1;; ++n) {
        std::string name = prefix + std::to_string(n);
        if (!used.count(name))
            return name;
    }
}

}  // namespace

void LMarkerList::Clear() {
    bookmarks_.clear();
    regions_.clear();
}

size_t LMarkerList::AddBookmark(const std::string& name, int32_t position) {
    LBookmark mark{name, std::max(position, 0)};
    auto at = std::upper_bound(bookmarks_.begin(), bookmarks_.end(), mark, BookmarkBefore);
    // The insert may move the elements: the index is taken from the iterator it returns.
    const auto placed = bookmarks_.insert(at, std::move(mark));
    return static_cast<size_t>(placed - bookmarks_.begin());
}

int LMarkerList::AddRegion(const std::string& name, int32_t a, int32_t b) {
    LRegion region{name, std::max(std::min(a, b), 0), std::max(std::max(a, b), 0)};
    if (region.end <= region.start)
        return -1;
    auto at = std::upper_bound(regions_.begin(), regions_.end(), region, RegionBefore);
    const auto placed = regions_.insert(at, std::move(region));
    return static_cast<int>(placed - regions_.begin());
}

bool LMarkerList::RemoveBookmark(size_t index) {
    if (index >= bookmarks_.size())
        return false;
    bookmarks_.erase(bookmarks_.begin() + static_cast<std::ptrdiff_t>(index));
    return true;
}

bool LMarkerList::RemoveRegion(size_t index) {
    if (index >= regions_.size())
        return false;
    regions_.erase(regions_.begin() + static_cast<std::ptrdiff_t>(index));
    return true;
}

bool LMarkerList::RenameBookmark(size_t index, const std::string& name) {
    if (index >= bookmarks_.size())
        return false;
    bookmarks_[index].name = name;
    return true;
}

bool LMarkerList::RenameRegion(size_t index, const std::string& name) {
    if (index >= regions_.size())
        return false;
    regions_[index].name = name;
    return true;
}

std::string LMarkerList::NextBookmarkName() const {
    return NextName(bookmarks_, "Bookmark ");
}

std::string LMarkerList::NextRegionName() const {
    return NextName(regions_, "Region ");
}

void LMarkerList::MoveAlong(int32_t start, int32_t oldEnd, int32_t newEnd) {
    if (start > oldEnd || newEnd < start) {
        LTrace("LMarkerList::MoveAlong range out of order");
        return;
    }
    if (oldEnd == newEnd)
        return;
    for (LBookmark& mark : bookmarks_)
        mark.position = Moved(mark.position, start, oldEnd, newEnd, false);
    std::vector<LRegion> kept;
    kept.reserve(regions_.size());
    for (LRegion& region : regions_) {
        region.start = Moved(region.start, start, oldEnd, newEnd, false);
        region.end = Moved(region.end, start, oldEnd, newEnd, true);
        if (region.end > region.start)
            kept.push_back(std::move(region));
    }
    regions_ = std::move(kept);
    std::stable_sort(bookmarks_.begin(), bookmarks_.end(), BookmarkBefore);
    std::stable_sort(regions_.begin(), regions_.end(), RegionBefore);
}

void LMarkerList::ClampTo(int32_t length) {
    std::erase_if(bookmarks_, [&](const LBookmark& m) { return m.position > length; });
    std::erase_if(regions_, [&](const LRegion& r) { return r.start >= length; });
    for (LRegion& region : regions_)
        region.end = std::min(region.end, length);
}

std::vector<LWaveCue> LMarkerList::ToWaveCues() const {
    std::vector<LWaveCue> cues;
    cues.reserve(bookmarks_.size() + regions_.size());
    auto bookmark = bookmarks_.begin();
    auto region = regions_.begin();
    while (bookmark != bookmarks_.end() || region != regions_.end()) {
        if (region == regions_.end() ||
            (bookmark != bookmarks_.end() && bookmark->position <= region->start)) {
            cues.push_back({bookmark->name, static_cast<uint32_t>(bookmark->position), 0});
            ++bookmark;
        } else {
            cues.push_back({region->name, static_cast<uint32_t>(region->start),
                            static_cast<uint32_t>(region->end - region->start)});
            ++region;
        }
    }
    return cues;
}

void LMarkerList::AddWaveCues(const std::vector<LWaveCue>& cues, int32_t length) {
    for (const LWaveCue& cue : cues) {
        if (cue.position > static_cast<uint32_t>(std::max(length, 0)))
            continue;
        const int32_t start = static_cast<int32_t>(cue.position);
        if (cue.length == 0) {
            AddBookmark(cue.name.empty() ? NextBookmarkName() : cue.name, start);
        } else {
            const int64_t end = std::min<int64_t>(int64_t{start} + cue.length, length);
            AddRegion(cue.name.empty() ? NextRegionName() : cue.name, start,
                      static_cast<int32_t>(end));
        }
    }
}

}  // namespace osmera
