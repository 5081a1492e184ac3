#include "effects/batch_runner.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include "core/generator_sources.h"
#include "core/pr_source_to_sink.h"
#include "effects/script_runner.h"
#include "formats/wave_file.h"
#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

namespace fs = std::filesystem;

// Batches inside one process, so that a thread sanitizer build sees the workers share the
// cut tank, the trace and the script commands' per-thread state.
class BatchRunnerTest : public testing::CutTankTest {
  protected:
    LBatchOptions Options(int files, const std::string& script) {
        LBatchOptions options;
        options.script = dir_.File("chain.osm");
        options.scriptText = script;
        options.outFolder = dir_.File("out");
        for (int i = 0; i < files; ++i) {
            const std::string path = dir_.File("in" + std::to_string(i) + ".wav");
            auto sink = LWaveFile::CreateSink(path, 8000, 0, 2, 1);
            LPRSourceToSink(MakeRef<LSRCTone>(8000, 1, 16000 + 100 * i, 200.0 + 50 * i, 9000), sink)
                .Process();
            options.inputs.push_back(path);
        }
        return options;
    }
};

TEST_F(BatchRunnerTest, ParallelJobsWriteWhatOneJobWrites) {
    // noise-profile and set change per-job state: a job must not see another job's.
    const std::string script =
        "select 0 0.5\nnoise-profile\nselect-all\nnoise-reduction -12\n"
        "set StoredValues AmplifyGain 50\nnormalize 90\nselect 0.2 0.4\nfade-in\n";
    LBatchOptions options = Options(6, script);
    options.jobs = 1;
    std::set<size_t> started;
    LBatchListener listener;
    listener.fileStarted = [&started](size_t index) { started.insert(index); };
    EXPECT_EQ(LBatchRunner(listener).Run(options), LBatchRunner::kAllDone);
    EXPECT_EQ(started.size(), 6u);
    std::vector<std::string> one;
    for (size_t i = 0; i < options.inputs.size(); ++i)
        one.push_back(testing::ReadText(LBatchRunner::OutputPath(options, i)));

    options.outFolder = dir_.File("out3");
    options.jobs = 3;
    std::vector<LBatchFileResult> results;
    listener.fileDone = [&results](const LBatchFileResult& r) { results.push_back(r); };
    EXPECT_EQ(LBatchRunner(listener).Run(options), LBatchRunner::kAllDone);
    ASSERT_EQ(results.size(), 6u);
    for (const LBatchFileResult& r : results) {
        EXPECT_EQ(r.result, kScriptOk)
            << r.input << ": " << (r.messages.empty() ? "" : r.messages[0]);
        EXPECT_GT(one[r.index].size(), 44u);
        EXPECT_EQ(testing::ReadText(r.output), one[r.index]) << r.output;
    }
}

TEST_F(BatchRunnerTest, CancelStopsTheFilesNotBegun) {
    LBatchOptions options = Options(8, "normalize 90\n");
    options.jobs = 2;
    LBatchRunner* self = nullptr;
    size_t done = 0;
    LBatchListener listener;
    listener.fileDone = [&](const LBatchFileResult&) {
        if (++done == 2)
            self->Cancel();
    };
    LBatchRunner runner(listener);
    self = &runner;
    EXPECT_EQ(runner.Run(options), LBatchRunner::kCancelled);
    EXPECT_LT(done, 8u);
    EXPECT_FALSE(fs::exists(LBatchRunner::OutputPath(options, 7)));
}

}  // namespace
}  // namespace osmera
