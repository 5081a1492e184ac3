// The editor killed with SIGKILL comes back as it was: the real program runs offscreen in
// folders of its own, edits a file through batch scripts (the same requests a second start
// hands over), is killed, and is started again answering Recover. The recovered document's
// journal and cuts must render the same audio, bit for bit, with the same undo steps, cursor
// and selection as the dead run's.

#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "edit/audio_cut_tank.h"
#include "edit/cut_list_audio.h"
#include "edit/document_journal.h"
#include "edit/src_cut_list_audio.h"
#include "tests/support/test_support.h"

extern char** environ;

namespace osmera::testing {
namespace {

namespace fs = std::filesystem;

// What a document looked like: its state and the audio of its list and of each undo step.
struct Rendered {
    LJournalState state;
    std::vector<std::vector<int32_t>> audio;  // [0]: the document, [1..8]: undo slots
};

class CrashRecoveryTest : public ::testing::Test {
  protected:
    void SetUp() override {
        for (const char* sub : {"home", "data", "config", "run", "tmp"})
            fs::create_directories(root_.Path() / sub);
        ::chmod((root_.Path() / "run").c_str(), 0700);
        WriteTestWave(root_.File("in.wav"));
    }
    void TearDown() override {
        for (pid_t pid : started_) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, nullptr, 0);
        }
    }

    // Two seconds of a stereo 44100 Hz tone as 16-bit PCM.
    static void WriteTestWave(const std::string& path) {
        const uint32_t frames = 88200, bytes = frames * 4;
        std::ofstream out(path, std::ios::binary);
        auto u32 = [&out](uint32_t v) { out.write(reinterpret_cast<const char*>(&v), 4); };
        auto u16 = [&out](uint16_t v) { out.write(reinterpret_cast<const char*>(&v), 2); };
        out << "RIFF";
        u32(36 + bytes);
        out << "WAVEfmt ";
        u32(16), u16(1), u16(2), u32(44100), u32(44100 * 4), u16(4), u16(16);
        out << "data";
        u32(bytes);
        for (uint32_t i = 0; i < frames; ++i) {
            const auto left = static_cast<int16_t>(8000 * std::sin(i * 0.031));
            const auto right = static_cast<int16_t>(5000 * std::sin(i * 0.017));
            u16(static_cast<uint16_t>(left)), u16(static_cast<uint16_t>(right));
        }
    }

    std::string Script(const std::string& name, const std::string& text) {
        const std::string path = root_.File(name);
        std::ofstream(path) << text;
        return path;
    }

    // Starts the editor with `args` in this test's folders; `extra` adds "NAME=VALUE"s.
    pid_t Start(const std::vector<std::string>& args, const std::vector<std::string>& extra = {}) {
        std::vector<std::string> env;
        for (char** e = environ; *e; ++e) {
            const std::string entry = *e;
            if (entry.rfind("OSMERA_", 0) != 0)
                env.push_back(entry);
        }
        const std::string r = root_.Path().string();
        for (const std::string& e :
             {std::string("QT_QPA_PLATFORM=offscreen"), "HOME=" + r + "/home",
              "XDG_DATA_HOME=" + r + "/data", "XDG_CONFIG_HOME=" + r + "/config",
              "XDG_RUNTIME_DIR=" + r + "/run", "TMPDIR=" + r + "/tmp"})
            env.push_back(e);
        env.insert(env.end(), extra.begin(), extra.end());
        std::vector<std::string> argv{OSMERA_EDITOR};
        argv.insert(argv.end(), args.begin(), args.end());
        std::vector<char*> cargv, cenv;
        for (std::string& a : argv)
            cargv.push_back(a.data());
        cargv.push_back(nullptr);
        for (std::string& e : env)
            cenv.push_back(e.data());
        cenv.push_back(nullptr);
        pid_t pid = -1;
        EXPECT_EQ(::posix_spawn(&pid, OSMERA_EDITOR, nullptr, nullptr, cargv.data(), cenv.data()),
                  0);
        started_.push_back(pid);
        return pid;
    }

    void Kill(pid_t pid) {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
        started_.erase(std::find(started_.begin(), started_.end(), pid));
    }

    // Waits (up to 30 s) for `pid` to stop itself at a test stop.
    static bool WaitStopped(pid_t pid) {
        int status = 0;
        return ::waitpid(pid, &status, WUNTRACED) == pid && WIFSTOPPED(status);
    }

    static bool WaitFor(const std::function<bool()>& done) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (std::chrono::steady_clock::now() < end) {
            if (done())
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return false;
    }

    // The runs' working folders.
    std::vector<fs::path> RunFolders() const {
        std::vector<fs::path> found;
        std::error_code ec;
        for (const auto& e :
             fs::directory_iterator(root_.Path() / "data/Quillon/Osmera/Current", ec)) {
            if (e.path().filename().string().rfind("osmera-run-", 0) == 0)
                found.push_back(e.path());
        }
        return found;
    }

    // The one journal of `folder`, read; nothing while there is none or it is mid-write.
    static std::optional<LJournalState> JournalOf(const fs::path& folder) {
        const std::vector<std::string> journals = ListJournals(folder.string());
        LJournalState state;
        if (journals.size() != 1 || !DecodeJournal(ReadText(journals[0]), state))
            return std::nullopt;
        return state;
    }

    // Waits until the single running folder's journal satisfies `wanted`; returns it.
    std::optional<LJournalState> WaitForJournal(
        const std::function<bool(const LJournalState&)>& wanted, const fs::path& notIn = {}) {
        std::optional<LJournalState> seen;
        WaitFor([&]() {
            for (const fs::path& folder : RunFolders()) {
                if (folder == notIn)
                    continue;
                seen = JournalOf(folder);
                if (seen && wanted(*seen))
                    return true;
            }
            return false;
        });
        return seen && wanted(*seen) ? seen : std::nullopt;
    }

    // The document of the journal in `folder` with its audio, read through this process's
    // tank from a copy of the folder (reading takes references, whose release deletes).
    Rendered Render(const fs::path& folder) {
        Rendered out;
        const std::optional<LJournalState> state = JournalOf(folder);
        EXPECT_TRUE(state) << folder;
        if (!state)
            return out;
        out.state = *state;
        TempDir copy;
        for (const auto& e : fs::directory_iterator(folder))
            fs::copy_file(e.path(), copy.Path() / e.path().filename());
        LAudioCutTank& tank = LAudioCutTank::Instance();
        tank.Reset();
        tank.SetFolder(copy.Path().string());
        {
            std::vector<LCutListAudio> lists;
            lists.push_back(LCutListAudio(state->audio.sampleRate, state->audio.channels));
            for (const LAudioCut& e : state->audio.entries)
                lists.back().AppendEntry(e);
            for (const LJournalStep& u : state->undo) {
                lists.push_back(LCutListAudio(u.audio.sampleRate, u.audio.channels));
                for (const LAudioCut& e : u.audio.entries)
                    lists.back().AppendEntry(e);
            }
            for (const LCutListAudio& list : lists) {
                std::vector<int32_t> samples(static_cast<size_t>(list.GetLength()) *
                                             list.GetChannels());
                list.MakeSource()->Read(samples.data(), list.GetLength());
                out.audio.push_back(std::move(samples));
            }
        }
        tank.Reset();
        return out;
    }

    static std::vector<std::string> UndoNames(const LJournalState& s) {
        std::vector<std::string> names;
        for (uint32_t i = 0; i < s.undo.size(); ++i) {
            const LJournalStep& u = s.undo[(s.undoIdx + s.undo.size() - i) % s.undo.size()];
            if (u.undoName.empty())
                break;
            names.push_back(u.undoName);
        }
        return names;
    }

    // Starts the editor answering Recover and returns what it recovered, once its journal
    // shows it and the dead folder `dead` is gone.
    Rendered Recover(const fs::path& dead) {
        const pid_t pid = Start({}, {"OSMERA_RECOVERY_ANSWER=recover"});
        const auto recovered =
            WaitForJournal([](const LJournalState& s) { return s.modified != 0; }, dead);
        EXPECT_TRUE(recovered);
        EXPECT_TRUE(WaitFor([&]() { return !fs::exists(dead); }));
        fs::path folder;
        for (const fs::path& f : RunFolders())
            folder = f;
        Rendered back = Render(folder);
        Kill(pid);
        return back;
    }

    static void ExpectSame(const Rendered& back, const Rendered& before) {
        ASSERT_FALSE(before.audio.empty());
        EXPECT_TRUE(back.audio == before.audio) << "the audio differs";
        EXPECT_EQ(UndoNames(back.state), UndoNames(before.state));
        EXPECT_EQ(back.state.cursor, before.state.cursor);
        EXPECT_EQ(back.state.selStart, before.state.selStart);
        EXPECT_EQ(back.state.selEnd, before.state.selEnd);
        EXPECT_EQ(back.state.path, before.state.path);
        EXPECT_EQ(back.state.modified, 1);
    }

    TempDir root_;
    std::vector<pid_t> started_;
};

// Edits, an effect and an undo, then SIGKILL: all of it comes back.
TEST_F(CrashRecoveryTest, KilledEditorComesBackAsItWas) {
    const std::string script =
        Script("edit.txt", "open " + root_.File("in.wav") +
                               "\nselect 0.5 1.0\namplify 150\nselect 0.2 0.4\ncut\n"
                               "select 1.2 1.3\nsilence\nundo\nselect 0.1 0.3\n");
    const pid_t pid = Start({"-batch", script});
    ASSERT_TRUE(WaitForJournal([](const LJournalState& s) {
        return UndoNames(s) == std::vector<std::string>{"Cut", "Amplify"} && s.selStart > 0;
    }));
    Kill(pid);
    ASSERT_EQ(RunFolders().size(), 1u);
    const fs::path dead = RunFolders()[0];
    const Rendered before = Render(dead);
    ExpectSame(Recover(dead), before);
    // The effect is in what came back: the audio is not the file's any more.
    EXPECT_NE(before.audio[0], before.audio[before.state.undoIdx == 0 ? 8 : before.state.undoIdx]);
}

// Killed in the middle of an effect, or between writing a journal and putting it in place:
// the state before comes back.
TEST_F(CrashRecoveryTest, KilledMidEffectOrMidJournalKeepsTheStateBefore) {
    for (const char* point : {"effect", "journal-rename"}) {
        SCOPED_TRACE(point);
        for (const fs::path& f : RunFolders())
            fs::remove_all(f);
        const std::string armed = root_.File("armed");
        fs::remove(armed);
        const std::string first = Script(
            "first.txt", "open " + root_.File("in.wav") + "\nselect 0.2 0.4\ncut\nselect 0 0.5\n");
        const std::vector<std::string> stop{std::string("OSMERA_TEST_STOP_AT=") + point,
                                            "OSMERA_TEST_STOP_WHEN=" + armed};
        const pid_t pid = Start({"-batch", first}, stop);
        ASSERT_TRUE(WaitForJournal([](const LJournalState& s) {
            return UndoNames(s) == std::vector<std::string>{"Cut"} && s.selEnd > 0;
        }));
        // Let the journal settle (a moved selection is written within half a second), then take
        // the state on disk.
        std::this_thread::sleep_for(std::chrono::milliseconds(800));
        const fs::path dead = RunFolders()[0];
        const Rendered before = Render(dead);
        std::ofstream(armed).flush();
        // The second request reaches the running editor as a second start hands it over.
        const pid_t forward =
            Start({"-batch", Script("second.txt", "amplify 200\nselect 0 0.1\n")}, stop);
        EXPECT_TRUE(WaitStopped(pid));
        if (std::string(point) == "journal-rename") {
            // The new state was complete on disk, only not in place yet.
            LJournalState next;
            ASSERT_TRUE(DecodeJournal(ReadText(ListJournals(dead.string())[0] + ".tmp"), next));
            EXPECT_EQ(UndoNames(next), (std::vector<std::string>{"Amplify", "Cut"}));
        }
        Kill(pid);
        ::waitpid(forward, nullptr, 0);
        started_.erase(std::find(started_.begin(), started_.end(), forward));
        ExpectSame(Recover(dead), before);
    }
}

// SIGTERM closes without asking but keeps an unsaved document for the next start; an
// unmodified one leaves nothing behind.
TEST_F(CrashRecoveryTest, TerminatedEditorKeepsOnlyUnsavedWork) {
    auto terminate = [this](pid_t pid) {
        ::kill(pid, SIGTERM);
        int status = -1;
        ::waitpid(pid, &status, 0);
        started_.erase(std::find(started_.begin(), started_.end(), pid));
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    };
    const std::string open = "open " + root_.File("in.wav") + "\n";
    pid_t pid = Start({"-batch", Script("edit.txt", open + "select 0.2 0.4\ncut\nselect 0 0.5\n")});
    ASSERT_TRUE(WaitForJournal([](const LJournalState& s) {
        return UndoNames(s) == std::vector<std::string>{"Cut"} && s.selEnd > 0;
    }));
    terminate(pid);
    ASSERT_EQ(RunFolders().size(), 1u);
    const fs::path dead = RunFolders()[0];
    const Rendered before = Render(dead);
    ExpectSame(Recover(dead), before);

    for (const fs::path& f : RunFolders())
        fs::remove_all(f);
    pid = Start({"-batch", Script("look.txt", open + "select 0 0.5\n")});
    ASSERT_TRUE(WaitForJournal([](const LJournalState& s) { return s.selEnd > 0; }));
    terminate(pid);
    EXPECT_TRUE(RunFolders().empty());
}

}  // namespace
}  // namespace osmera::testing
