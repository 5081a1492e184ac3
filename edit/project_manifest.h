#pragma once
// The manifest of a project (".omp"): what the editor had open and how it looked, as a
// small text file of "key=value" lines in sections. Its audio lies beside it, one file per
// document in the project's data folder (project_file.h); the manifest names those files
// relative to its own folder, so a project folder moved or copied as a whole still opens.
//
//   [project]                 format=1, documents=N, active=K (1..N, 0: none)
//   [document 1] ...          one section per document, numbered 1..N in order:
//     data=NAME_data/1-1.flac   the audio, relative to the manifest, '/' separated
//     rate= channels= length=   what the data file must hold (checked when it opens)
//     path= relativePath=       the document's own file (empty: untitled), absolute and
//                               relative to the manifest's folder
//     untitled= modified= bits= cursor= selection=START,END view=START,END
//     tag.title= tag.artist= tag.album= tag.genre= tag.comment= tag.year= tag.track=
//     window=X,Y,WIDTH,HEIGHT windowState=normal|maximized|minimized
//     display=plusminus|leftright verticalZoom=1..16
//
// Values escape a backslash as "\\", a line feed as "\n" and a carriage return as "\r".
// Readers skip keys and sections they do not know, so later additions to a document's
// section leave older readers working. Lines starting with '#' or ';' are comments.
//
// Plain values and pure functions; any thread.

#include <cstdint>
#include <string>
#include <vector>

#include "edit/marker_list.h"
#include "formats/audio_tags.h"

namespace osmera {

enum class LWindowState { kNormal, kMaximized, kMinimized };

// A document's child window in the frame: its normal geometry (in the client area's
// coordinates) and whether it is maximized or minimized.
struct LProjectWindow {
    int32_t x = 0;
    int32_t y = 0;
    int32_t width = 0;  // 0: no geometry kept, the editor places the window
    int32_t height = 0;
    LWindowState state = LWindowState::kNormal;
    bool operator==(const LProjectWindow&) const = default;
};

// One document of a project: where its audio lies and the state it is restored to.
struct LProjectDocument {
    std::string dataFile;  // relative to the manifest's folder; empty for empty audio
    uint32_t sampleRate = 44100;
    uint8_t channels = 1;
    int32_t length = 0;
    std::string path;          // absolute; empty for an untitled document
    std::string relativePath;  // `path` relative to the manifest's folder; may be empty
    uint32_t untitledIdx = 0;
    uint8_t modified = 0;
    int32_t bytesPerSample = 2;
    int32_t cursor = 0;
    int32_t selStart = 0;
    int32_t selEnd = 0;
    int32_t viewStart = 0;
    int32_t viewEnd = 0;
    LAudioTags tags;
    LMarkerList markers;
    LProjectWindow window;
    bool leftRight = false;  // display mode "L / R" instead of "+ / -"
    int32_t verticalZoom = 1;
    bool operator==(const LProjectDocument&) const = default;
};

struct LProject {
    std::vector<LProjectDocument> documents;
    int32_t active = -1;  // index into documents of the active one; -1 for none
    bool operator==(const LProject&) const = default;
};

// The manifest's text for `project`.
std::string WriteProjectManifest(const LProject& project);

// Parses a manifest. False when the text is not a project manifest or is damaged (a
// section or required key missing, a number that does not parse or is out of range);
// `message` (when given) then says where, and `out` is left as it was.
bool ReadProjectManifest(const std::string& text, LProject& out, std::string* message = nullptr);

}  // namespace osmera
