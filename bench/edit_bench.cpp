// Edits cost time in proportion to the entries of a cut list, never to the length of the
// audio: cut, paste, delete, amplify and undo on a 10-hour stereo document take as long as
// on a 1-minute one. Both documents hold the same few entries (three real one-second cuts
// with long stretches of silence between them), and every edit goes through the document
// controller, so the undo step it records is part of what is measured.
//
//   build-bench/bench/edit_bench [--benchmark_filter=Cut]

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <vector>

#include "edit/audio_cut_tank.h"
#include "edit/document_controller.h"
#include "edit/snk_cut_list_audio.h"

namespace osmera {
namespace {

constexpr int32_t kRate = 44100;

// The process's cut tank in a temporary folder, removed at exit.
struct BenchTank {
    BenchTank() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "osmera-bench-XXXXXX").string();
        folder = ::mkdtemp(pattern.data()) ? pattern : std::string();
        LAudioCutTank::Instance().SetFolder(folder);
    }
    ~BenchTank() {
        LAudioCutTank::Instance().Reset();
        std::error_code ec;
        std::filesystem::remove_all(folder, ec);
    }
    std::string folder;
};

LCutListAudio OneSecondCut(int32_t pitch) {
    std::vector<int32_t> samples(static_cast<size_t>(kRate) * 2);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<int32_t>((i * pitch) % 4096) * 64 - 131072;
    LCutListAudio list;
    auto sink = list.MakeSink(kRate, 2);
    sink->Write(samples.data(), kRate);
    return list;  // the sink was released when it went out of scope above
}

// A document of `minutes` minutes: cut, silence, cut, silence, cut.
struct Document {
    explicit Document(int64_t minutes) : controller(settings) {
        settings.SetInt("Settings", "AutoPlaybackAfterEffects", 0);
        LOMFile& doc = controller.NewDocument(kRate, 2);
        const int32_t gap = static_cast<int32_t>((minutes * 60 * kRate - 3 * kRate) / 2);
        doc.audio.EfPaste(0, OneSecondCut(3));
        doc.audio.EfInsertSilence(doc.audio.GetLength(), gap);
        doc.audio.EfPaste(doc.audio.GetLength(), OneSecondCut(5));
        doc.audio.EfInsertSilence(doc.audio.GetLength(), gap);
        doc.audio.EfPaste(doc.audio.GetLength(), OneSecondCut(7));
        middle = doc.audio.GetLength() / 2;
        doc.SetSelection(0, kRate);
        controller.CmCopy();  // the clipboard holds one second of real audio
    }
    LOMFile& Doc() { return *controller.GetCurrent(); }
    void SelectMiddle() { Doc().SetSelection(middle - kRate / 2, middle + kRate / 2); }

    LMemorySettingsStore settings;
    LDocumentController controller;
    int32_t middle = 0;
};

// Runs `edit` once per iteration and undoes it outside the timed part.
template <class Edit>
void TimeEdit(benchmark::State& state, Edit edit) {
    Document d(state.range(0));
    for (auto _ : state) {
        d.SelectMiddle();
        d.Doc().cursor = d.middle;
        edit(d);
        state.PauseTiming();
        d.controller.CmUndo();
        state.ResumeTiming();
    }
    state.counters["frames"] = d.Doc().audio.GetLength();
}

void BM_Cut(benchmark::State& state) {
    TimeEdit(state, [](Document& d) { benchmark::DoNotOptimize(d.controller.CmCut()); });
}
void BM_Paste(benchmark::State& state) {
    TimeEdit(state, [](Document& d) { benchmark::DoNotOptimize(d.controller.CmPaste()); });
}
void BM_Delete(benchmark::State& state) {
    TimeEdit(state, [](Document& d) { benchmark::DoNotOptimize(d.controller.CmDelete()); });
}
void BM_Amplify(benchmark::State& state) {
    TimeEdit(state, [](Document& d) {
        d.controller.StartModifyCurrentFile("Amplify");
        d.Doc().audio.EfAmplify(d.Doc().selStart, d.Doc().selEnd, 150);
        d.controller.EndModifyCurrentFile(d.Doc().selStart, kRate);
    });
}
void BM_Undo(benchmark::State& state) {
    Document d(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        d.SelectMiddle();
        d.controller.CmCut();
        state.ResumeTiming();
        d.controller.CmUndo();
    }
    state.counters["frames"] = d.Doc().audio.GetLength();
}

// 1 minute and 10 hours.
#define OSMERA_EDIT_BENCH(fn) BENCHMARK(fn)->Arg(1)->Arg(600)->Unit(benchmark::kMicrosecond)
OSMERA_EDIT_BENCH(BM_Cut);
OSMERA_EDIT_BENCH(BM_Paste);
OSMERA_EDIT_BENCH(BM_Delete);
OSMERA_EDIT_BENCH(BM_Amplify);
OSMERA_EDIT_BENCH(BM_Undo);

}  // namespace
}  // namespace osmera

int main(int argc, char** argv) {
    osmera::BenchTank benchTank;  // cut files go when main returns
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
