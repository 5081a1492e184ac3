#include "edit/project_file.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include "core/safe_replace.h"
#include "core/trace.h"
#include "edit/document_io.h"

namespace osmera {
namespace fs = std::filesystem;

namespace {

constexpr uintmax_t kMaxManifestBytes = 4u << 20;

void Say(std::string* message, const std::string& text) {
    if (message)
        *message = text;
}

std::string Quoted(const fs::path& path) {
    return "\"" + path.string() + "\"";
}

// "K-N.flac": data files this program names; the only files a save ever removes.
bool IsDataFileName(const std::string& name) {
    const size_t dash = name.find('-');
    const size_t dot = name.rfind(".flac");
    if (dash == 0 || dash == std::string::npos || dot == std::string::npos ||
        dot + 5 != name.size() || dot <= dash + 1)
        return false;
    const auto digits = [&](size_t from, size_t to) {
        return std::all_of(name.begin() + static_cast<std::ptrdiff_t>(from),
                           name.begin() + static_cast<std::ptrdiff_t>(to),
                           [](char c) { return c >= '0' && c <= '9'; });
    };
    return digits(0, dash) && digits(dash + 1, dot);
}

bool WriteText(const std::string& path, const std::string& text, std::string* message) {
    LSafeReplace out(path);
    if (out.Failed()) {
        Say(message, "The project " + Quoted(path) + " cannot be written: " + out.ErrorText());
        return false;
    }
    {
        std::ofstream file(out.TempPath(), std::ios::binary | std::ios::trunc);
        file << text;
        file.flush();
        if (!file) {
            Say(message, "The project " + Quoted(path) + " cannot be written (is the disk full?).");
            return false;
        }
    }
    if (!out.Commit()) {
        Say(message, "The project " + Quoted(path) + " cannot be written: " + out.ErrorText());
        return false;
    }
    return true;
}

}  // namespace

LProjectDocument DescribeDocument(const LOMFile& doc) {
    LProjectDocument saved;
    saved.sampleRate = doc.audio.GetSampleRate();
    saved.channels = doc.audio.GetChannels();
    saved.length = doc.audio.GetLength();
    saved.path = doc.path;
    saved.untitledIdx = doc.untitledIdx;
    saved.modified = doc.modified ? 1 : 0;
    saved.bytesPerSample = doc.bytesPerSample;
    saved.cursor = doc.cursor;
    saved.selStart = doc.selStart;
    saved.selEnd = doc.selEnd;
    saved.viewStart = doc.viewStart;
    saved.viewEnd = doc.viewEnd;
    saved.tags = doc.tags;
    saved.markers = doc.markers;
    return saved;
}

void RestoreDocument(const LProjectDocument& saved, LOMFile& doc) {
    const int32_t length = doc.audio.GetLength();
    doc.path = saved.path;
    doc.untitledIdx = saved.untitledIdx;
    doc.modified = saved.modified;
    doc.bytesPerSample = std::clamp(saved.bytesPerSample, 1, 4);
    doc.cursor = std::clamp(saved.cursor, 0, length);
    doc.SetSelection(saved.selStart, saved.selEnd);
    doc.ClampSelection();
    doc.viewStart = std::clamp(saved.viewStart, 0, length);
    doc.viewEnd = std::clamp(saved.viewEnd, doc.viewStart, length);
    if (doc.viewEnd <= doc.viewStart)
        doc.ZoomAll();
    doc.tags = saved.tags;
    doc.markers = saved.markers;
}

std::string ProjectDataFolder(const std::string& manifestPath) {
    const fs::path manifest(manifestPath);
    return (manifest.parent_path() / (manifest.stem().string() + "_data")).string();
}

int SaveProject(const std::string& manifestPath, LProject& project,
                const std::vector<const LCutListAudio*>& audio, LProgress* progress,
                std::string* message) {
    if (audio.size() != project.documents.size()) {
        LTrace("SaveProject one list per document expected");
        Say(message, "The project could not be saved.");
        return kJobFailed;
    }
    const fs::path manifest = fs::absolute(manifestPath);
    const fs::path folder = manifest.parent_path();
    const fs::path data = ProjectDataFolder(manifest.string());
    std::error_code ec;
    fs::create_directories(data, ec);
    if (!fs::is_directory(data)) {
        Say(message, "The folder " + Quoted(data) + " cannot be created.");
        return kJobFailed;
    }
    std::vector<fs::path> written;
    const auto undo = [&written]() {
        std::error_code ignored;
        for (const fs::path& file : written)
            fs::remove(file, ignored);
    };
    LWriteOptions options;
    options.format = "flac";
    options.bits = 24;
    for (size_t k = 0; k < audio.size(); ++k) {
        LProjectDocument& doc = project.documents[k];
        doc.sampleRate = audio[k]->GetSampleRate();
        doc.channels = audio[k]->GetChannels();
        doc.length = audio[k]->GetLength();
        doc.relativePath.clear();
        if (!doc.path.empty() && fs::path(doc.path).is_absolute())
            doc.relativePath = fs::path(doc.path).lexically_relative(folder).generic_string();
        doc.dataFile.clear();
        if (doc.length == 0)
            continue;  // empty audio needs no file
        std::string name;
        for (int n = 1; name.empty() || fs::exists(data / name, ec); ++n)
            name = std::to_string(k + 1) + "-" + std::to_string(n) + ".flac";
        const fs::path file = data / name;
        std::string why;
        const int result = SaveAudioFile(*audio[k], file.string(), options, nullptr, progress, &why,
                                         "Saving the project's audio");
        if (result != kJobDone) {
            undo();
            Say(message, result == kJobCancelled
                             ? "Saving the project was cancelled."
                             : "The project's audio could not be saved: " + why);
            return result;
        }
        written.push_back(file);
        doc.dataFile = (data.filename() / name).generic_string();
    }
    if (!WriteText(manifest.string(), WriteProjectManifest(project), message)) {
        undo();
        return kJobFailed;
    }
    // The manifest names only this save's files now: what earlier saves left goes.
    std::set<fs::path> kept(written.begin(), written.end());
    for (const fs::directory_entry& entry : fs::directory_iterator(data, ec)) {
        if (entry.is_regular_file(ec) && IsDataFileName(entry.path().filename().string()) &&
            !kept.count(entry.path()))
            fs::remove(entry.path(), ec);
    }
    return kJobDone;
}

int LoadProject(const std::string& manifestPath, LProject& project,
                std::vector<LCutListAudio>& audio, LProgress* progress, std::string* message) {
    const fs::path manifest = fs::absolute(manifestPath);
    const fs::path folder = manifest.parent_path();
    std::error_code ec;
    const uintmax_t size = fs::file_size(manifest, ec);
    std::ifstream in(manifest, std::ios::binary);
    if (ec || !in) {
        Say(message, "The project " + Quoted(manifest) + " cannot be opened.");
        return kJobFailed;
    }
    if (size > kMaxManifestBytes) {
        Say(message, "The project " + Quoted(manifest) + " is damaged: it is far too large.");
        return kJobFailed;
    }
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LProject read;
    std::string why;
    if (!ReadProjectManifest(text, read, &why)) {
        Say(message, "The project " + Quoted(manifest) + " is damaged: " + why + ".");
        return kJobFailed;
    }
    std::vector<LCutListAudio> loaded;
    for (LProjectDocument& doc : read.documents) {
        LCutListAudio list(doc.sampleRate, doc.channels);
        if (!doc.dataFile.empty()) {
            const fs::path file = (folder / fs::path(doc.dataFile)).lexically_normal();
            if (fs::path(doc.dataFile).is_absolute() || !fs::is_regular_file(file, ec)) {
                Say(message, "The project " + Quoted(manifest) +
                                 " cannot be opened: its audio file " + Quoted(file) +
                                 " is missing.");
                return kJobFailed;
            }
            const int result =
                LoadAudioFile(file.string(), list, progress, &why, "Opening the project");
            if (result != kJobDone) {
                Say(message, result == kJobCancelled
                                 ? "Opening the project was cancelled."
                                 : "The project " + Quoted(manifest) + " cannot be opened: " + why);
                return result;
            }
        }
        if (list.GetSampleRate() != doc.sampleRate || list.GetChannels() != doc.channels ||
            list.GetLength() != doc.length) {
            Say(message, "The project " + Quoted(manifest) + " is damaged: the audio file " +
                             Quoted(doc.dataFile) + " does not hold what the project says.");
            return kJobFailed;
        }
        // A document whose own file moved with the project folder follows it.
        if (!doc.path.empty() && !fs::exists(doc.path, ec) && !doc.relativePath.empty()) {
            const fs::path moved = (folder / fs::path(doc.relativePath)).lexically_normal();
            if (fs::exists(moved, ec))
                doc.path = moved.string();
        }
        loaded.push_back(std::move(list));
    }
    project = std::move(read);
    audio = std::move(loaded);
    return kJobDone;
}

}  // namespace osmera
