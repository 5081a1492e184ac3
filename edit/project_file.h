#pragma once
// Saving and opening a project: a manifest "NAME.omp" (project_manifest.h) and beside it a
// data folder "NAME_data" holding each document's audio as edited, as a 24-bit FLAC file.
// The internal sample is a 16-bit value times 16 (20 significant bits), which 24-bit FLAC
// keeps exactly, so a project opens bit for bit as it was saved, at a fraction of the size
// of the scratch files. The audio is written through the ordinary save path, whose peak
// limiter leaves every value within full scale untouched.
//
// Nothing in a project refers to the cut tank's scratch files: it stays valid after the
// editor ends, and on another machine.
//
// Writing never leaves a damaged project: the data files of a save get names no earlier
// save used, the manifest is replaced in one step (core/safe_replace.h) only when every
// data file is complete, and only then are the data files it no longer names removed. A
// failure removes what the failed save wrote and leaves the earlier project as it was.
//
// Opening reads every data file into new cuts before anything is handed back, so a damaged
// manifest or a missing or short data file opens nothing.
//
// Results are job results (core/progress.h): kJobDone, kJobCancelled, kJobFailed, with
// `message` (when given) a sentence for the user on anything but kJobDone.
// Threads: the thread that owns the documents; progress is honoured between blocks.

#include <string>
#include <vector>

#include "core/progress.h"
#include "edit/cut_list_audio.h"
#include "edit/om_file.h"
#include "edit/project_manifest.h"

namespace osmera {

// The state of `doc` a project keeps (everything but its data file, window and display).
LProjectDocument DescribeDocument(const LOMFile& doc);
// Puts that state back into `doc` (its audio is the caller's to set first); the cursor,
// selection and view are clamped to the audio.
void RestoreDocument(const LProjectDocument& saved, LOMFile& doc);

// The data folder of the manifest `manifestPath`: "NAME_data" beside "NAME.omp".
std::string ProjectDataFolder(const std::string& manifestPath);

// Writes `audio[k]` as the data of `project.documents[k]` (whose dataFile, length, rate,
// channels and relativePath this fills in), then the manifest at `manifestPath`. `audio`
// has one list per document.
int SaveProject(const std::string& manifestPath, LProject& project,
                const std::vector<const LCutListAudio*>& audio, LProgress* progress,
                std::string* message = nullptr);

// Reads the manifest at `manifestPath` and each document's audio into `audio` (one list per
// document). A document's own file that is no longer at its absolute path but is found at
// its path relative to the manifest takes that place. On anything but kJobDone `project`
// and `audio` are left as they were.
int LoadProject(const std::string& manifestPath, LProject& project,
                std::vector<LCutListAudio>& audio, LProgress* progress,
                std::string* message = nullptr);

}  // namespace osmera
