#pragma once
// The bookmarks (named positions) and regions (named ranges) of one document, in frames of the
// document's audio. They belong to the audio they mark: every edit that moves audio moves them
// with it, and an undo step keeps a copy so that undo restores them with the audio. Copies are
// cheap (the lists hold only positions and names), so an undo step costs time in proportion
// to the number of markers, never to the audio.
//
// Moving along an edit: the edit replaced the frames [start, oldEnd) with newEnd - start new
// frames. Markers before start stay; markers at or after oldEnd move by newEnd - oldEnd;
// markers inside the replaced range are scaled into the new one (so a deletion clamps them to
// start, a speed change keeps them at the same part of the sound). A region whose end falls at
// or before start keeps it, so audio inserted right after a region does not join it. A region
// that becomes empty (wholly inside a deleted range) is dropped; a bookmark never is.
//
// Threads: the thread that owns the document only.

#include <cstdint>
#include <string>
#include <vector>

#include "formats/wave_cues.h"

namespace osmera {

struct LBookmark {
    std::string name;
    int32_t position = 0;
    bool operator==(const LBookmark&) const = default;
};

// [start, end), start < end.
struct LRegion {
    std::string name;
    int32_t start = 0;
    int32_t end = 0;
    bool operator==(const LRegion&) const = default;
};

class LMarkerList {
  public:
    const std::vector<LBookmark>& Bookmarks() const { return bookmarks_; }
    const std::vector<LRegion>& Regions() const { return regions_; }
    bool Empty() const { return bookmarks_.empty() && regions_.empty(); }
    void Clear();

    // Adds a bookmark at `position` (not below 0) and returns its index in Bookmarks(), which
    // stay sorted by position (equal positions in the order they were added).
    size_t AddBookmark(const std::string& name, int32_t position);
    // Adds the region [min(a,b), max(a,b)) (ends not below 0) and returns its index in
    // Regions(), sorted by start then end; -1 (nothing added) when it would be empty.
    int AddRegion(const std::string& name, int32_t a, int32_t b);
    // False when the index is out of range.
    bool RemoveBookmark(size_t index);
    bool RemoveRegion(size_t index);
    bool RenameBookmark(size_t index, const std::string& name);
    bool RenameRegion(size_t index, const std::string& name);

    // "Bookmark N" / "Region N" with the lowest N from 1 up that no marker of that kind uses.
    std::string NextBookmarkName() const;
    std::string NextRegionName() const;

    // The edit replaced [start, oldEnd) with newEnd - start frames (see above). start > oldEnd
    // or newEnd < start are traced and ignored.
    void MoveAlong(int32_t start, int32_t oldEnd, int32_t newEnd);
    // Drops bookmarks beyond `length` and regions that start at or after it, and shortens
    // regions that cross it (a bookmark at `length` itself, the end of the audio, stays).
    void ClampTo(int32_t length);

    // The markers as cue points, in order of position (a bookmark before a region at the
    // same frame): a bookmark is a cue of length 0.
    std::vector<LWaveCue> ToWaveCues() const;
    // Adds `cues` read from a file of `length` frames: a cue of length 0 as a bookmark, others
    // as regions, clipped to the audio (what lies beyond it is left out); cues without a name
    // get the next free default name.
    void AddWaveCues(const std::vector<LWaveCue>& cues, int32_t length);

    bool operator==(const LMarkerList&) const = default;

  private:
    std::vector<LBookmark> bookmarks_;
    std::vector<LRegion> regions_;
};

}  // namespace osmera
