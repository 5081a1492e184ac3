#include "edit/om_file.h"

#include <algorithm>
#include <filesystem>

namespace osmera {

void LOMFile::SetSelection(int32_t a, int32_t b) {
    selStart = std::min(a, b);
    selEnd = std::max(a, b);
}

void LOMFile::ClampSelection() {
    const int32_t length = audio.GetLength();
    selStart = std::clamp(selStart, 0, length);
    selEnd = std::clamp(selEnd, 0, length);
}

void LOMFile::ZoomAll() {
    viewStart = 0;
    viewEnd = audio.GetLength();
}

std::string LOMFile::GetDisplayName() const {
    if (path.empty())
        return "Untitled " + std::to_string(untitledIdx);
    return std::filesystem::path(path).filename().string();
}

void LOMFile::RecordUndoStep(const std::string& undoName) {
    undoIdx = (undoIdx + 1) % kUndoSteps;
    LUndoStep& step = undo[undoIdx];
    step.audio.Clear();  // drop the old cuts before taking the new ones
    step.audio = audio;
    step.modified = modified;
    step.cursor = cursor;
    step.selStart = selStart;
    step.selEnd = selEnd;
    step.viewStart = viewStart;
    step.viewEnd = viewEnd;
    step.markers = markers;
    step.undoName = undoName;
}

bool LOMFile::Undo() {
    LUndoStep& step = undo[undoIdx];
    if (!step.IsAvailable())
        return false;
    modified = step.modified;
    audio.Clear();
    audio = step.audio;  // copies rate, channels and entries with references of their own
    step.audio.Clear();  // so each cut is named only by the restored audio
    cursor = step.cursor;
    selStart = step.selStart;
    selEnd = step.selEnd;
    viewStart = step.viewStart;
    viewEnd = step.viewEnd;
    markers = std::move(step.markers);
    step.markers.Clear();
    step.undoName.clear();
    undoIdx = undoIdx == 0 ? kUndoSteps - 1 : undoIdx - 1;
    return true;
}

}  // namespace osmera
