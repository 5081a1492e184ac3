#pragma once
// The batch converter's engine: runs one script over many input files, each file on its own
// document, on several worker threads at once. The command-line program (`osmera-cli batch`)
// and the editor's Batch Converter window both run batches through this class.
//
// One file's job: open the input into a fresh document (its own controller, clipboard, undo
// ring and settings store, so jobs share nothing but the cut tank, whose counts are locked),
// point the document's path at the output file, run the script's lines on it, then save
// the document to the output file with the batch's save options, unless the script has a
// `save` line of its own (a bare `save` then writes the output file, `save PATH` writes
// PATH) or closed the document. Every job starts from the same settings and an empty
// noise profile, so its output is byte for byte that of `osmera-cli run` with a script of
// "open INPUT", the lines, and "save OUTPUT".
//
// Output names: the pattern's {name} is the input's file name without its extension,
// {ext} the output format's extension (the --format given, else the input's own
// extension), {index} the input's place in the list counted from 1. A file whose output
// would be its own input, or the output of an earlier input of the list, fails with a
// message instead of overwriting; existing files of the output folder are replaced (saves
// are atomic: a failed file never leaves half a file).
//
// Failures: a file that cannot be opened, a line that fails, a save that fails end that
// file's job with its reason; the other files go on. A script with a bad line, or an output
// folder that cannot be made, stops the batch before any file is touched.
//
// Threads: Run blocks the calling thread until every job ended, running the jobs on
// `jobs` threads of its own (the calling thread waits). The listener's functions are called
// from those worker threads, one call at a time (under the runner's lock), so they need no
// lock of their own but must not block long; a GUI hands them over to its own thread.
// Cancel may be called from any thread while Run runs. The cut tank's folder must be set
// before Run; the runner does not clean it.

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "formats/audio_format.h"

namespace osmera {

class LSettingsStore;

struct LBatchOptions {
    std::string script;  // the script file
    // The script's text when it is not to be read from `script` (the editor's edited
    // command list); `script` then names it in reports and gives the folder of relative
    // paths.
    std::optional<std::string> scriptText;
    std::vector<std::string> inputs;
    std::string outFolder;  // created when missing
    std::string pattern = kDefaultPattern;
    LWriteOptions save;  // the writer's options; save.format also picks {ext}
    int jobs = 0;        // worker threads; 0: one per core

    static constexpr const char* kDefaultPattern = "{name}.{ext}";
};

// How one input file ended.
struct LBatchFileResult {
    size_t index = 0;  // place in LBatchOptions::inputs
    std::string input;
    std::string output;  // "" when nothing was written for it (the script closed its file)
    int result = 0;      // kScriptOk, kScriptFailed or kScriptCancelled
    std::vector<std::string> messages;  // why it failed, and warnings, one line each
    std::vector<std::string> printed;   // what the script's commands printed
};

struct LBatchListener {
    std::function<void(size_t index)> fileStarted;
    std::function<void(size_t index, double fraction)> fileProgress;
    std::function<void(const LBatchFileResult& result)> fileDone;
    // Asked by the workers between blocks, without the lock: true stops the batch as
    // Cancel does (the command-line program's Ctrl+C). Must be safe on any thread.
    std::function<bool()> cancelRequested;
};

class LBatchRunner {
  public:
    // Results of Run.
    enum : int {
        kAllDone = 0,
        kSomeFailed = 1,   // at least one file failed; the others were written
        kBadScript = 2,    // the script did not load: no file was touched
        kCancelled = 130,  // Cancel was called; files not begun were not touched
        kNoOutFolder = 3,  // the output folder cannot be made
    };

    explicit LBatchRunner(LBatchListener listener = {});

    // Runs the batch; every file's result goes to the listener, messages about the batch
    // itself (a bad script line, the output folder) to `messages`.
    int Run(const LBatchOptions& options, std::vector<std::string>* messages = nullptr);
    void Cancel() { cancelled_ = true; }
    bool IsCancelled() const;

    // The output path of input `index` (counted from 0) under `options`.
    static std::string OutputPath(const LBatchOptions& options, size_t index);
    // The number of worker threads `jobs` asks for (0: one per core), at most `files`.
    static int WorkerCount(int jobs, size_t files);

  private:
    LBatchFileResult RunFile(const LBatchOptions& options, const std::string& scriptText,
                             bool scriptSaves, size_t index);
    void Notify(const std::function<void()>& call);

    LBatchListener listener_;
    mutable std::atomic<bool> cancelled_{false};
    std::mutex notifyMutex_;
};

}  // namespace osmera
