#pragma once
// One open file: its audio as a cut list, the user's cursor, selection and visible range on
// it, its name and dirty state, and a ring of eight undo steps. There is no redo.
//
// A document owns its audio and its undo steps; both hold references on cuts of the tank, so
// audio removed by an edit stays on disk until the step that remembers it is overwritten or
// undone. The controller (document_controller.h) records steps and undoes them; this class
// only keeps the data and does the copying.
//
// Threads: the thread that owns the documents (the GUI thread, or the script runner) only.

#include <array>
#include <cstdint>
#include <string>

#include "edit/cut_list_audio.h"
#include "edit/marker_list.h"
#include "formats/audio_tags.h"

namespace osmera {

// What one undo step remembers: the audio (rate, channels, entries), the markers and the
// document's state before a change. A step with an empty name is not available.
struct LUndoStep {
    LCutListAudio audio;
    uint8_t modified = 0;
    int32_t cursor = 0;
    int32_t selStart = 0;
    int32_t selEnd = 0;
    int32_t viewStart = 0;
    int32_t viewEnd = 0;
    LMarkerList markers;
    std::string undoName;

    bool IsAvailable() const { return !undoName.empty(); }
};

class LOMFile {
  public:
    static constexpr uint32_t kUndoSteps = 8;

    // An empty document with audio of `sampleRate` and `channels`, no path.
    LOMFile() = default;
    LOMFile(uint32_t sampleRate, uint8_t channels) : audio(sampleRate, channels) {}
    LOMFile(const LOMFile&) = delete;
    LOMFile& operator=(const LOMFile&) = delete;

    // Stores the smaller end in selStart and the larger in selEnd.
    void SetSelection(int32_t a, int32_t b);
    bool HasSelection() const { return selEnd > selStart; }
    // Clamps the selection to [0, length of the audio].
    void ClampSelection();
    // viewStart 0, viewEnd the audio's length.
    void ZoomAll();
    // The file name part of path, or "Untitled <untitledIdx>" without a path.
    std::string GetDisplayName() const;

    // Advances undoIdx and overwrites that slot with the current state under `undoName`.
    void RecordUndoStep(const std::string& undoName);
    // Restores the step in slot undoIdx and empties it; false (nothing changed) when that
    // step is not available.
    bool Undo();
    const LUndoStep& CurrentUndoStep() const { return undo[undoIdx]; }

    std::string path;
    int32_t cursor = 0;
    int32_t selStart = 0;
    int32_t selEnd = 0;
    int32_t viewStart = 0;
    int32_t viewEnd = 0;
    uint8_t modified = 0;
    uint32_t untitledIdx = 0;
    // The PCM width (bytes per sample) the file was opened with, which a save keeps unless
    // told otherwise; 2 (16 bits) for a new document.
    int32_t bytesPerSample = 2;
    // The file's tags as opened (or last edited); written back by every save to a format
    // that carries tags. Edits of the audio leave them alone.
    LAudioTags tags;
    // Bookmarks and regions on the audio: whoever changes the audio's length moves them along
    // (markers.MoveAlong); undo steps keep a copy.
    LMarkerList markers;
    LCutListAudio audio;
    std::array<LUndoStep, kUndoSteps> undo;
    uint32_t undoIdx = 0;
};

}  // namespace osmera
