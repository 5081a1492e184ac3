#include "edit/project_manifest.h"

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <map>
#include <optional>
#include <sstream>

namespace osmera {
namespace {

constexpr int kFormat = 1;
constexpr int32_t kMaxDocuments = 1000;

std::string Escape(const std::string& value) {
    std::string out;
    for (const char c : value) {
        if (c == '\\')
            out += "\\\\";
        else if (c == '\n')
            out += "\\n";
        else if (c == '\r')
            out += "\\r";
        else
            out += c;
    }
    return out;
}

std::string Unescape(const std::string& value) {
    std::string out;
    for (size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            out += value[i];
            continue;
        }
        const char next = value[++i];
        out += next == 'n' ? '\n' : next == 'r' ? '\r' : next;
    }
    return out;
}

const char* StateName(LWindowState state) {
    switch (state) {
        case LWindowState::kMaximized:
            return "maximized";
        case LWindowState::kMinimized:
            return "minimized";
        case LWindowState::kNormal:
            break;
    }
    return "normal";
}

// One section's keys, with the line each stood on for messages.
struct LSection {
    std::map<std::string, std::pair<std::string, int>> values;
    int line = 0;
};

// Reads the keys of one section into typed values; the first failure is kept.
class LSectionReader {
  public:
    LSectionReader(const LSection& section, std::string name, std::string& error)
        : section_(section), name_(std::move(name)), error_(error) {}

    std::optional<std::string> Text(const char* key, bool required) {
        const auto it = section_.values.find(key);
        if (it == section_.values.end()) {
            if (required)
                Fail(section_.line, std::string("the key \"") + key + "\" is missing");
            return std::nullopt;
        }
        return Unescape(it->second.first);
    }

    // Comma-separated integers, each within [low, high].
    bool Numbers(const char* key, bool required, std::initializer_list<int64_t*> out, int64_t low,
                 int64_t high) {
        const auto it = section_.values.find(key);
        if (it == section_.values.end()) {
            if (required)
                Fail(section_.line, std::string("the key \"") + key + "\" is missing");
            return false;
        }
        const std::string& text = it->second.first;
        const char* p = text.data();
        const char* end = p + text.size();
        size_t k = 0;
        for (int64_t* value : out) {
            if (k++ > 0 && (p == end || *p++ != ','))
                return Bad(it->second.second, key);
            const auto [next, ec] = std::from_chars(p, end, *value);
            if (ec != std::errc() || *value < low || *value > high)
                return Bad(it->second.second, key);
            p = next;
        }
        return p == end || Bad(it->second.second, key);
    }

    template <typename T>
    void Number(const char* key, bool required, T& out, int64_t low, int64_t high) {
        int64_t value = 0;
        if (Numbers(key, required, {&value}, low, high))
            out = static_cast<T>(value);
    }

    int Line() const { return section_.line; }
    void Fail(int line, const std::string& what) {
        if (error_.empty())
            error_ = "line " + std::to_string(line) + " (" + name_ + "): " + what;
    }

  private:
    bool Bad(int line, const char* key) {
        Fail(line, std::string("the value of \"") + key + "\" is not valid");
        return false;
    }

    const LSection& section_;
    std::string name_;
    std::string& error_;
};

void ReadDocument(LSectionReader& in, LProjectDocument& doc) {
    constexpr int64_t kMaxFrame = INT32_MAX;
    doc.dataFile = in.Text("data", false).value_or("");
    in.Number("rate", true, doc.sampleRate, 1, 10'000'000);
    in.Number("channels", true, doc.channels, 1, 2);
    in.Number("length", true, doc.length, 0, kMaxFrame);
    if (doc.dataFile.empty() && doc.length > 0)
        in.Fail(in.Line(), "no data file is named for its audio");
    doc.path = in.Text("path", false).value_or("");
    doc.relativePath = in.Text("relativePath", false).value_or("");
    in.Number("untitled", false, doc.untitledIdx, 0, UINT32_MAX);
    in.Number("modified", false, doc.modified, 0, 1);
    in.Number("bits", false, doc.bytesPerSample, 8, 32);
    doc.bytesPerSample = doc.bytesPerSample >= 8 ? doc.bytesPerSample / 8 : doc.bytesPerSample;
    in.Number("cursor", false, doc.cursor, 0, kMaxFrame);
    int64_t a = 0, b = 0;
    if (in.Numbers("selection", false, {&a, &b}, 0, kMaxFrame)) {
        doc.selStart = static_cast<int32_t>(std::min(a, b));
        doc.selEnd = static_cast<int32_t>(std::max(a, b));
    }
    if (in.Numbers("view", false, {&a, &b}, 0, kMaxFrame)) {
        doc.viewStart = static_cast<int32_t>(a);
        doc.viewEnd = static_cast<int32_t>(b);
    }
    doc.tags.title = in.Text("tag.title", false).value_or("");
    doc.tags.artist = in.Text("tag.artist", false).value_or("");
    doc.tags.album = in.Text("tag.album", false).value_or("");
    doc.tags.genre = in.Text("tag.genre", false).value_or("");
    doc.tags.comment = in.Text("tag.comment", false).value_or("");
    in.Number("tag.year", false, doc.tags.year, 0, UINT32_MAX);
    in.Number("tag.track", false, doc.tags.track, 0, UINT32_MAX);
    int64_t x = 0, y = 0, w = 0, h = 0;
    if (in.Numbers("window", false, {&x, &y, &w, &h}, INT32_MIN, INT32_MAX) && w >= 0 && h >= 0)
        doc.window = {static_cast<int32_t>(x), static_cast<int32_t>(y), static_cast<int32_t>(w),
                      static_cast<int32_t>(h), LWindowState::kNormal};
    const std::string state = in.Text("windowState", false).value_or("normal");
    doc.window.state = state == "maximized"   ? LWindowState::kMaximized
                       : state == "minimized" ? LWindowState::kMinimized
                                              : LWindowState::kNormal;
    doc.leftRight = in.Text("display", false).value_or("") == "leftright";
    in.Number("verticalZoom", false, doc.verticalZoom, 1, 16);
    // "bookmark.N=POSITION,NAME" and "region.N=START,END,NAME", numbered from 1 without gaps.
    // A marker line that does not parse is left out rather than failing the project.
    for (int n = 1;; ++n) {
        const std::optional<std::string> v =
            in.Text(("bookmark." + std::to_string(n)).c_str(), false);
        if (!v)
            break;
        char* end = nullptr;
        const long long at = std::strtoll(v->c_str(), &end, 10);
        if (end && *end == ',' && at >= 0 && at <= kMaxFrame)
            doc.markers.AddBookmark(std::string(end + 1), static_cast<int32_t>(at));
    }
    for (int n = 1;; ++n) {
        const std::optional<std::string> v =
            in.Text(("region." + std::to_string(n)).c_str(), false);
        if (!v)
            break;
        char* end = nullptr;
        const long long from = std::strtoll(v->c_str(), &end, 10);
        if (!end || *end != ',')
            continue;
        const long long to = std::strtoll(end + 1, &end, 10);
        if (end && *end == ',' && from >= 0 && to >= 0 && from <= kMaxFrame && to <= kMaxFrame)
            doc.markers.AddRegion(std::string(end + 1), static_cast<int32_t>(from),
                                  static_cast<int32_t>(to));
    }
}

}  // namespace

std::string WriteProjectManifest(const LProject& project) {
    std::ostringstream out;
    out << "# Osmera project\n[project]\nformat=" << kFormat
        << "\ndocuments=" << project.documents.size() << "\nactive=" << project.active + 1 << "\n";
    int number = 0;
    for (const LProjectDocument& doc : project.documents) {
        // What a document keeps: its audio file, its own file's path, its state, tags,
        // window, display, bookmarks and regions. Readers skip keys they do not know.
        out << "\n[document " << ++number << "]\n"
            << "data=" << Escape(doc.dataFile) << "\nrate=" << doc.sampleRate
            << "\nchannels=" << int{doc.channels} << "\nlength=" << doc.length
            << "\npath=" << Escape(doc.path) << "\nrelativePath=" << Escape(doc.relativePath)
            << "\nuntitled=" << doc.untitledIdx << "\nmodified=" << int{doc.modified}
            << "\nbits=" << doc.bytesPerSample * 8 << "\ncursor=" << doc.cursor
            << "\nselection=" << doc.selStart << ',' << doc.selEnd << "\nview=" << doc.viewStart
            << ',' << doc.viewEnd << "\ntag.title=" << Escape(doc.tags.title)
            << "\ntag.artist=" << Escape(doc.tags.artist)
            << "\ntag.album=" << Escape(doc.tags.album) << "\ntag.genre=" << Escape(doc.tags.genre)
            << "\ntag.comment=" << Escape(doc.tags.comment) << "\ntag.year=" << doc.tags.year
            << "\ntag.track=" << doc.tags.track << "\nwindow=" << doc.window.x << ','
            << doc.window.y << ',' << doc.window.width << ',' << doc.window.height
            << "\nwindowState=" << StateName(doc.window.state)
            << "\ndisplay=" << (doc.leftRight ? "leftright" : "plusminus")
            << "\nverticalZoom=" << doc.verticalZoom << "\n";
        int n = 0;
        for (const LBookmark& b : doc.markers.Bookmarks())
            out << "bookmark." << ++n << '=' << b.position << ',' << Escape(b.name) << '\n';
        n = 0;
        for (const LRegion& r : doc.markers.Regions())
            out << "region." << ++n << '=' << r.start << ',' << r.end << ',' << Escape(r.name)
                << '\n';
    }
    return out.str();
}

bool ReadProjectManifest(const std::string& text, LProject& out, std::string* message) {
    std::map<std::string, LSection> sections;
    std::string error;
    LSection* current = nullptr;
    std::istringstream in(text);
    std::string line;
    for (int number = 1; error.empty() && std::getline(in, line); ++number) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty() || line[0] == '#' || line[0] == ';')
            continue;
        if (line[0] == '[') {
            if (line.back() != ']')
                error = "line " + std::to_string(number) + ": a section name is not closed";
            const std::string name = line.substr(1, line.size() - 2);
            if (error.empty() && sections.count(name))
                error =
                    "line " + std::to_string(number) + ": the section [" + name + "] appears twice";
            current = &sections[name];
            current->line = number;
            continue;
        }
        const size_t equals = line.find('=');
        if (!current || equals == std::string::npos) {
            error = "line " + std::to_string(number) + ": \"" + line.substr(0, 40) +
                    "\" is not a key=value line of a section";
            break;
        }
        current->values[line.substr(0, equals)] = {line.substr(equals + 1), number};
    }
    LProject project;
    if (error.empty() && !sections.count("project"))
        error = "it is not an Osmera project (the section [project] is missing)";
    if (error.empty()) {
        LSectionReader head(sections["project"], "[project]", error);
        int32_t format = 0, count = 0, active = 0;
        head.Number("format", true, format, 1, INT32_MAX);
        if (error.empty() && format > kFormat)
            error = "it was written by a newer version of Osmera (format " +
                    std::to_string(format) + ")";
        head.Number("documents", true, count, 0, kMaxDocuments);
        head.Number("active", false, active, 0, count);
        project.active = active - 1;
        project.documents.resize(static_cast<size_t>(error.empty() ? count : 0));
        for (int32_t k = 0; error.empty() && k < count; ++k) {
            const std::string name = "document " + std::to_string(k + 1);
            const auto it = sections.find(name);
            if (it == sections.end()) {
                error = "the section [" + name + "] is missing";
                break;
            }
            LSectionReader reader(it->second, "[" + name + "]", error);
            ReadDocument(reader, project.documents[static_cast<size_t>(k)]);
        }
    }
    if (!error.empty()) {
        if (message)
            *message = error;
        return false;
    }
    out = std::move(project);
    return true;
}

}  // namespace osmera
