// osmera-cli batch SCRIPT FILE... --out DIR [--jobs N] [--name PATTERN] [--work-dir DIR]
//                  [save options]
//
// Runs a script over many files at once through the batch runner (effects/batch_runner.h),
// in a cut tank folder of its own as `run` does. One line per file: "IN -> OUT" on stdout
// when it was written, "osmera-cli: IN: reason" on stderr when it failed; what the script's
// commands print follows its file's line.

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/format_options.h"
#include "cli/run_folder.h"
#include "cli/terminal_progress.h"
#include "effects/batch_runner.h"
#include "effects/script_runner.h"

namespace osmera::cli {
namespace {

// Each line of a message after the input's name.
void PrintMessage(const std::string& input, const std::string& message) {
    for (size_t at = 0; at <= message.size();) {
        const size_t end = std::min(message.find('\n', at), message.size());
        PrintError(input + ": " + message.substr(at, end - at));
        at = end + 1;
    }
}

void PrintResult(const LBatchFileResult& result) {
    if (result.result == kScriptOk) {
        if (result.output.empty())
            std::fprintf(stdout, "%s: nothing written (the script closed it)\n",
                         result.input.c_str());
        else
            std::fprintf(stdout, "%s -> %s\n", result.input.c_str(), result.output.c_str());
        for (const std::string& line : result.messages)  // warnings of a file that went through
            PrintMessage(result.input, line);
    } else if (result.result == kScriptFailed) {
        if (result.messages.empty())
            PrintError(result.input + ": failed");
        for (const std::string& line : result.messages)
            PrintMessage(result.input, line);
    }
    for (const std::string& line : result.printed)
        std::fprintf(stdout, "%s\n", line.c_str());
    std::fflush(stdout);
}

}  // namespace

int RunBatch(int argc, char** argv) {
    std::set<std::string> valued = WriteOptionNames();
    valued.insert({"out", "jobs", "name", "work-dir"});
    LArgs args(argc, argv, valued);
    LBatchOptions options;
    options.jobs = static_cast<int>(args.IntValue("jobs", 0, 1, 1024));
    if (args.Error().empty() && args.Positional().size() < 2)
        PrintError("batch needs a script and at least one file (see osmera-cli batch --help)");
    else if (args.Error().empty() && !args.Value("out"))
        PrintError("batch needs --out DIR, the folder for the results");
    else if (!args.Error().empty())
        PrintError(args.Error());
    if (!args.Error().empty() || args.Positional().size() < 2 || !args.Value("out"))
        return kExitUsage;
    std::string error;
    if (!ParseWriteOptions(args, options.save, error)) {
        PrintError(error);
        return kExitUsage;
    }
    options.script = args.Positional()[0];
    options.inputs.assign(args.Positional().begin() + 1, args.Positional().end());
    options.outFolder = *args.Value("out");
    if (const auto pattern = args.Value("name")) {
        if (pattern->empty() || pattern->find('/') != std::string::npos) {
            PrintError("--name must be a file name pattern without folders");
            return kExitUsage;
        }
        options.pattern = *pattern;
    }

    LRunFolder folder(args.Value("work-dir").value_or(""));
    if (!folder.IsReady()) {
        PrintError(folder.Message());
        return kExitFailed;
    }
    LTerminalProgress progress;
    progress.SetLine(0, "Batch");
    size_t done = 0;
    LBatchListener listener;
    listener.fileDone = [&](const LBatchFileResult& result) {
        PrintResult(result);
        progress.SetFraction(static_cast<double>(++done) / options.inputs.size());
    };
    listener.cancelRequested = [] { return CancelRequested(); };
    LBatchRunner runner(listener);
    std::vector<std::string> messages;
    const int result = runner.Run(options, &messages);
    progress.Done();
    for (const std::string& line : messages)
        std::fprintf(stderr, "%s\n", line.c_str());
    switch (result) {
        case LBatchRunner::kAllDone:
            return kExitOk;
        case LBatchRunner::kBadScript:
            return kExitUsage;
        case LBatchRunner::kCancelled:
            PrintError("interrupted; files not yet written were left out");
            return kExitCancelled;
        default:
            return kExitFailed;
    }
}

}  // namespace osmera::cli
