// The cost of the crash-recovery journal per edit on a ten-hour stereo document: the
// journal is written after every change, so it must cost time in proportion to the
// document's entries (its own and its eight undo steps'), never to its audio. Prints the
// work of building the journal's bytes and the whole atomic write (with its two flushes to
// the disk) for a document of a few hundred entries, in microseconds (median of runs).
//
//   build/bench/journal_bench [ENTRIES] [FOLDER]
//
// FOLDER (default: the temporary folder) is where the tank and the journal live; give a
// folder on the disk the editor uses to see what its flushes cost there.

#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "edit/audio_cut_tank.h"
#include "edit/document_journal.h"
#include "edit/journal_write_queue.h"
#include "edit/snk_cut_list_audio.h"

using namespace osmera;

namespace {

double MedianMicroseconds(int runs, const std::function<void()>& work) {
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        times.push_back(
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
                .count());
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    const int entries = argc > 1 ? std::max(2, std::atoi(argv[1])) : 300;
    const std::filesystem::path base =
        argc > 2 ? std::filesystem::path(argv[2]) : std::filesystem::temp_directory_path();
    std::string pattern = (base / "osmera-journal-bench-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) {
        std::fprintf(stderr, "journal_bench: cannot make a folder in %s\n", base.c_str());
        return 1;
    }
    LAudioCutTank::Instance().SetFolder(pattern);
    {
        constexpr int32_t kRate = 44100;
        constexpr int32_t kTenHours = 10 * 3600 * kRate;
        // One second of real audio, then ten hours of it: a long recording opened, then cut
        // up by edits into `entries` pieces (every edit boundary is one more entry).
        LOMFile doc(kRate, 2);
        {
            LCutListAudio second;
            {
                auto sink = second.MakeSink(kRate, 2);
                std::vector<int32_t> frames(2 * kRate, 1000);
                sink->Write(frames.data(), kRate);
            }
            doc.audio = second;
            doc.audio.EfInsertSilence(kRate, kTenHours - kRate);
        }
        const int32_t step = kTenHours / entries;
        for (int i = 1; doc.audio.GetEntries().size() < static_cast<size_t>(entries); ++i) {
            // The last eight edits are undo steps, each holding the list as it was.
            if (doc.audio.GetEntries().size() + 16 >= static_cast<size_t>(entries))
                doc.RecordUndoStep("Amplify");
            doc.audio.EfAmplify(i * step, i * step + step / 2, 90);
        }
        doc.cursor = 1000;
        doc.SetSelection(500, 90000);
        const size_t bytes = EncodeJournal(DescribeForJournal(doc)).size();
        size_t undoEntries = 0;
        for (const LUndoStep& u : doc.undo)
            undoEntries += u.audio.GetEntries().size();

        const double encode = MedianMicroseconds(
            200, [&doc]() { (void)EncodeJournal(DescribeForJournal(doc)).size(); });
        LDocumentJournalWriter writer(pattern, 1);
        const double write = MedianMicroseconds(50, [&]() { writer.Write(doc); });
        // The editor's way: the GUI thread builds the bytes and hands them to the writer
        // thread; measured is the GUI thread's time per edit, one edit every 20 ms (a burst
        // of edits writes only the newest state).
        double queued = 0;
        {
            LJournalWriteQueue queue;
            LDocumentJournalWriter threaded(pattern, 2, &queue);
            std::vector<double> times;
            for (int i = 0; i < 50; ++i) {
                const auto start = std::chrono::steady_clock::now();
                threaded.Write(doc);
                times.push_back(std::chrono::duration<double, std::micro>(
                                    std::chrono::steady_clock::now() - start)
                                    .count());
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            }
            std::sort(times.begin(), times.end());
            queued = times[times.size() / 2];
            queue.Drain();
        }
        std::printf(
            "document: %.1f hours, %zu entries, %zu more in its undo steps; journal "
            "%zu bytes\n",
            doc.audio.GetLength() / 3600.0 / kRate, doc.audio.GetEntries().size(), undoEntries,
            bytes);
        std::printf("building the journal: %.1f us per edit\n", encode);
        std::printf(
            "writing it (temporary file, flush, rename, folder flush) in %s: %.1f us "
            "per edit\n",
            pattern.c_str(), write);
        std::printf("handing it to the writer thread: %.1f us per edit on the GUI thread\n",
                    queued);
        for (LUndoStep& u : doc.undo)
            u.audio.Clear();
        doc.audio.Clear();
    }
    LAudioCutTank::Instance().Reset();
    std::error_code ec;
    std::filesystem::remove_all(pattern, ec);
    return 0;
}
