#include "effects/batch_runner.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <thread>

#include "core/progress.h"
#include "core/settings_store.h"
#include "core/trace.h"
#include "edit/document_controller.h"
#include "effects/script_effect_commands.h"
#include "effects/script_runner.h"

namespace osmera {
namespace {

namespace fs = std::filesystem;

// One job's progress: the batch's cancel flag, and the file's fraction handed to the
// listener whenever it moved by a percent.
class LJobProgress : public LProgress {
  public:
    LJobProgress(const LBatchRunner& runner, std::function<void(double)> report)
        : runner_(runner), report_(std::move(report)) {}
    void SetLine(int, const std::string&) override {}
    void SetFraction(double fraction) override {
        const int percent = static_cast<int>(fraction * 100.0);
        if (percent != lastPercent_ && report_) {
            lastPercent_ = percent;
            report_(fraction);
        }
    }
    bool IsCancelled() override { return runner_.IsCancelled(); }

  private:
    const LBatchRunner& runner_;
    std::function<void(double)> report_;
    int lastPercent_ = -1;
};

// What every job starts with: the settings of a fresh `osmera-cli run`.
void PrepareSettings(LSettingsStore& settings) {
    settings.SetInt("Settings", "AutoPlaybackAfterEffects", 0);
}

std::string Replace(std::string text, const std::string& word, const std::string& by) {
    for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + by.size()))
        text.replace(at, word.size(), by);
    return text;
}

bool SameFile(const std::string& a, const std::string& b) {
    std::error_code ec;
    if (fs::equivalent(a, b, ec))
        return true;
    return fs::weakly_canonical(a, ec) == fs::weakly_canonical(b, ec);
}

}  // namespace

LBatchRunner::LBatchRunner(LBatchListener listener) : listener_(std::move(listener)) {}

std::string LBatchRunner::OutputPath(const LBatchOptions& options, size_t index) {
    const fs::path input(options.inputs[index]);
    std::string ext;
    if (const LWriteFormat* format =
            options.save.format.empty() ? nullptr : FindWriteFormat(options.save.format)) {
        const std::string all = format->extensions;
        ext = all.substr(0, all.find(' '));
    } else {
        ext = input.extension().string();
        if (!ext.empty())
            ext.erase(0, 1);
    }
    std::string name = Replace(options.pattern, "{name}", input.stem().string());
    name = Replace(name, "{index}", std::to_string(index + 1));
    name = Replace(name, "{ext}", ext);
    if (!ext.empty() && name.size() > 1 && name.back() == '.')
        name.pop_back();  // "{name}.{ext}" of an input without an extension
    return (fs::path(options.outFolder) / name).string();
}

int LBatchRunner::WorkerCount(int jobs, size_t files) {
    if (jobs <= 0)
        jobs = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    return static_cast<int>(
        std::max<size_t>(1, std::min<size_t>(static_cast<size_t>(jobs), files)));
}

bool LBatchRunner::IsCancelled() const {
    if (!cancelled_ && listener_.cancelRequested && listener_.cancelRequested())
        cancelled_ = true;
    return cancelled_;
}

void LBatchRunner::Notify(const std::function<void()>& call) {
    std::lock_guard<std::mutex> lock(notifyMutex_);
    call();
}

int LBatchRunner::Run(const LBatchOptions& options, std::vector<std::string>* messages) {
    cancelled_ = false;
    auto say = [messages](const std::string& line) {
        if (messages)
            messages->push_back(line);
    };
    // The script is read and checked once; every job runs that same text.
    std::string scriptText;
    bool scriptSaves = false;
    {
        if (options.scriptText) {
            scriptText = *options.scriptText;
        } else {
            std::ifstream in(options.script, std::ios::binary);
            std::error_code ec;
            if (!in || fs::is_directory(options.script, ec)) {
                say("cannot read the script " + options.script);
                return kBadScript;
            }
            std::ostringstream text;
            text << in.rdbuf();
            scriptText = text.str();
        }
        LMemorySettingsStore settings;
        LDocumentController controller(settings);
        LNullProgress progress;
        LScriptOutput output;
        output.report = say;
        output.note = say;
        const LScriptCommandTable table = MakeScriptCommandTable();
        LScriptRunner check(table, controller, progress, output);
        if (check.LoadText(scriptText, options.script) != kScriptOk)
            return kBadScript;
        scriptSaves = check.Uses("save");
    }
    std::error_code ec;
    fs::create_directories(options.outFolder, ec);
    if (!fs::is_directory(options.outFolder, ec)) {
        say("cannot make the output folder " + options.outFolder);
        return kNoOutFolder;
    }

    // Outputs that would replace an input, or the output of an earlier input, are refused.
    std::vector<std::string> refused(options.inputs.size());
    std::map<std::string, size_t> outputs;
    for (size_t i = 0; i < options.inputs.size(); ++i) {
        const std::string out = OutputPath(options, i);
        const std::string key = fs::weakly_canonical(out, ec).string();
        for (const std::string& input : options.inputs) {
            if (SameFile(input, out))
                refused[i] = "the output " + out + " would replace an input file";
        }
        if (refused[i].empty() && !outputs.emplace(key, i).second)
            refused[i] =
                "the output " + out + " is also the output of " + options.inputs[outputs[key]];
    }

    std::atomic<size_t> next{0};
    std::atomic<bool> anyFailed{false};
    auto work = [&]() {
        for (size_t i = next++; i < options.inputs.size(); i = next++) {
            if (IsCancelled())
                break;
            LBatchFileResult result;
            if (!refused[i].empty()) {
                result.index = i;
                result.input = options.inputs[i];
                result.result = kScriptFailed;
                result.messages.push_back(refused[i]);
            } else {
                Notify([&] {
                    if (listener_.fileStarted)
                        listener_.fileStarted(i);
                });
                result = RunFile(options, scriptText, scriptSaves, i);
            }
            if (result.result == kScriptFailed)
                anyFailed = true;
            LTracef("LBatchRunner::Run %s: %d", result.input.c_str(), result.result);
            Notify([&] {
                if (listener_.fileDone)
                    listener_.fileDone(result);
            });
        }
    };
    const int workers = WorkerCount(options.jobs, options.inputs.size());
    std::vector<std::thread> threads;
    for (int t = 1; t < workers; ++t)
        threads.emplace_back(work);
    work();
    for (std::thread& thread : threads)
        thread.join();
    if (IsCancelled())
        return kCancelled;
    return anyFailed ? kSomeFailed : kAllDone;
}

LBatchFileResult LBatchRunner::RunFile(const LBatchOptions& options, const std::string& scriptText,
                                       bool scriptSaves, size_t index) {
    LBatchFileResult result;
    result.index = index;
    result.input = options.inputs[index];
    result.output = OutputPath(options, index);
    result.result = kScriptFailed;

    LMemorySettingsStore settings;
    PrepareSettings(settings);
    SetScriptSettings(&settings);
    LJobProgress progress(*this, [this, index](double fraction) {
        Notify([&] {
            if (listener_.fileProgress)
                listener_.fileProgress(index, fraction);
        });
    });
    LScriptOutput output;
    output.print = [&result](const std::string& line) { result.printed.push_back(line); };
    output.report = [&result](const std::string& line) { result.messages.push_back(line); };
    output.note = [&result](const std::string& line) { result.messages.push_back(line); };
    {
        LDocumentController controller(settings);
        const LScriptCommandTable table = MakeScriptCommandTable();
        LScriptRunner runner(table, controller, progress, output);
        runner.LoadText(scriptText, options.script);

        std::string message;
        std::string warning;
        const int opened = controller.OpenDocument(result.input, &progress, &message, &warning);
        if (opened != kJobDone) {
            result.result = opened == kJobCancelled ? kScriptCancelled : kScriptFailed;
            if (opened != kJobCancelled)
                result.messages.push_back(message);
        } else {
            if (!warning.empty())
                result.messages.push_back("warning: " + warning);
            controller.GetCurrent()->path = result.output;  // where a bare `save` writes
            result.result = runner.RunLoaded();
            if (result.result == kScriptOk && !scriptSaves && !controller.GetCurrent())
                result.output.clear();  // the script closed its file: nothing to write
            if (result.result == kScriptOk && !scriptSaves && controller.GetCurrent()) {
                const int saved =
                    controller.SaveCurrentFile(result.output, options.save, &progress, &message);
                if (saved == kJobCancelled)
                    result.result = kScriptCancelled;
                else if (saved != kJobDone) {
                    result.result = kScriptFailed;
                    result.messages.push_back(message);
                }
            }
        }
    }  // the documents release their cuts here, before the next file
    SetScriptSettings(nullptr);
    if (result.result == kScriptOk && listener_.fileProgress)
        Notify([&] { listener_.fileProgress(index, 1.0); });
    return result;
}

}  // namespace osmera
