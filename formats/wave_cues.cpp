#include "formats/wave_cues.h"

#include <algorithm>
#include <cstring>
#include <map>

#include "core/file.h"
#include "core/trace.h"

namespace osmera {
namespace {

// A LIST "adtl" larger than this is not read: labels of a few thousand markers take far less.
constexpr uint32_t kMaxAdtlBytes = 16u << 20;
constexpr uint32_t kCuePointBytes = 24;
constexpr uint32_t kLtxtFixedBytes = 20;

uint32_t Le32(const uint8_t* p) {
    return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}

void Put32(std::vector<uint8_t>& out, uint32_t v) {
    for (int i = 0; i < 4; ++i)
        out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

void Put16(std::vector<uint8_t>& out, uint16_t v) {
    out.push_back(static_cast<uint8_t>(v));
    out.push_back(static_cast<uint8_t>(v >> 8));
}

void PutId(std::vector<uint8_t>& out, const char* id) {
    out.insert(out.end(), id, id + 4);
}

// Opens `path` and checks its RIFF WAVE header; `riffEnd` is the offset just past the RIFF
// form as its size says, not beyond the file.
bool OpenRiff(LFile& file, const std::string& path, LFile::Mode mode, int64_t& riffEnd,
              uint32_t& riffSize) {
    uint8_t head[12];
    if (!file.Open(path, mode) || file.Read(head, 12) != 12 || std::memcmp(head, "RIFF", 4) != 0 ||
        std::memcmp(head + 8, "WAVE", 4) != 0)
        return false;
    riffSize = Le32(head + 4);
    riffEnd = std::min<int64_t>(int64_t{riffSize} + 8, file.Size());
    return true;
}

// Calls `chunk(id, offset of its data, size)` for every chunk of the RIFF form until it
// returns false or the chunks run out of the form.
template <typename Fn>
void WalkChunks(LFile& file, int64_t riffEnd, Fn chunk) {
    int64_t at = 12;
    uint8_t head[8];
    while (at + 8 <= riffEnd) {
        if (!file.Seek(at) || file.Read(head, 8) != 8)
            return;
        const uint32_t size = Le32(head + 4);
        if (!chunk(std::string(reinterpret_cast<char*>(head), 4), at + 8, size))
            return;
        at += 8 + int64_t{size} + (size & 1);
    }
}

bool ReadBytes(LFile& file, int64_t offset, uint32_t size, std::vector<uint8_t>& out) {
    out.resize(size);
    return file.Seek(offset) && file.Read(out.data(), size) == int64_t{size};
}

// Names and lengths from the sub-chunks of a LIST "adtl" (its bytes after the list type).
void ReadAdtl(const std::vector<uint8_t>& list, std::map<uint32_t, std::string>& names,
              std::map<uint32_t, uint32_t>& lengths) {
    size_t at = 4;
    while (at + 8 <= list.size()) {
        const uint32_t size = Le32(&list[at + 4]);
        const uint8_t* data = &list[at + 8];
        if (size > list.size() - at - 8)
            break;
        if (size >= 4 && std::memcmp(&list[at], "labl", 4) == 0) {
            const char* text = reinterpret_cast<const char*>(data + 4);
            names[Le32(data)] = std::string(text, strnlen(text, size - 4));
        } else if (size >= kLtxtFixedBytes && std::memcmp(&list[at], "ltxt", 4) == 0) {
            lengths[Le32(data)] = Le32(data + 4);
        }
        at += 8 + size + (size & 1);
    }
}

}  // namespace

std::vector<LWaveCue> ReadWaveCues(const std::string& path) {
    LFile file;
    int64_t riffEnd = 0;
    uint32_t riffSize = 0;
    std::vector<LWaveCue> cues;
    if (!OpenRiff(file, path, LFile::Mode::kRead, riffEnd, riffSize))
        return cues;
    std::vector<std::pair<uint32_t, uint32_t>> points;  // id, frame
    std::map<uint32_t, std::string> names;
    std::map<uint32_t, uint32_t> lengths;
    std::vector<uint8_t> bytes;
    WalkChunks(file, riffEnd, [&](const std::string& id, int64_t offset, uint32_t size) {
        if (id == "cue " && points.empty() && size >= 4 && offset + size <= riffEnd &&
            ReadBytes(file, offset, size, bytes)) {
            const uint32_t count = std::min(Le32(bytes.data()), (size - 4) / kCuePointBytes);
            if (count < Le32(bytes.data()))
                LTrace("ReadWaveCues cue chunk shorter than its count");
            for (uint32_t i = 0; i < count; ++i) {
                const uint8_t* p = &bytes[4 + i * kCuePointBytes];
                points.emplace_back(Le32(p), Le32(p + 20));
            }
        } else if (id == "LIST" && size >= 4 && size <= kMaxAdtlBytes && offset + size <= riffEnd &&
                   ReadBytes(file, offset, size, bytes) &&
                   std::memcmp(bytes.data(), "adtl", 4) == 0) {
            ReadAdtl(bytes, names, lengths);
        }
        return true;
    });
    for (const auto& [id, frame] : points) {
        LWaveCue cue;
        cue.position = frame;
        if (auto name = names.find(id); name != names.end())
            cue.name = name->second;
        if (auto length = lengths.find(id); length != lengths.end())
            cue.length = length->second;
        cues.push_back(std::move(cue));
    }
    return cues;
}

bool AppendWaveCues(const std::string& path, const std::vector<LWaveCue>& cues) {
    if (cues.empty())
        return true;
    LFile file;
    int64_t riffEnd = 0;
    uint32_t riffSize = 0;
    if (!OpenRiff(file, path, LFile::Mode::kReadWrite, riffEnd, riffSize)) {
        LTrace("AppendWaveCues not a RIFF WAVE file");
        return false;
    }
    bool hasCues = false;
    WalkChunks(file, riffEnd, [&](const std::string& id, int64_t, uint32_t) {
        hasCues = id == "cue ";
        return !hasCues;
    });
    if (hasCues) {
        LTrace("AppendWaveCues file has cue points already");
        return false;
    }

    std::vector<uint8_t> out;
    PutId(out, "cue ");
    Put32(out, 4 + kCuePointBytes * static_cast<uint32_t>(cues.size()));
    Put32(out, static_cast<uint32_t>(cues.size()));
    for (uint32_t i = 0; i < cues.size(); ++i) {
        Put32(out, i + 1);  // identifier
        Put32(out, cues[i].position);
        PutId(out, "data");
        Put32(out, 0);  // chunk start
        Put32(out, 0);  // block start
        Put32(out, cues[i].position);
    }
    std::vector<uint8_t> adtl;
    PutId(adtl, "adtl");
    for (uint32_t i = 0; i < cues.size(); ++i) {
        if (!cues[i].name.empty()) {
            const std::string& name = cues[i].name;
            PutId(adtl, "labl");
            Put32(adtl, static_cast<uint32_t>(4 + name.size() + 1));
            Put32(adtl, i + 1);
            adtl.insert(adtl.end(), name.begin(), name.end());
            adtl.push_back(0);
            if ((name.size() + 1) & 1)
                adtl.push_back(0);
        }
        if (cues[i].length > 0) {
            PutId(adtl, "ltxt");
            Put32(adtl, kLtxtFixedBytes);
            Put32(adtl, i + 1);
            Put32(adtl, cues[i].length);
            PutId(adtl, "rgn ");
            for (int k = 0; k < 4; ++k)
                Put16(adtl, 0);  // country, language, dialect, code page
        }
    }
    PutId(out, "LIST");
    Put32(out, static_cast<uint32_t>(adtl.size()));
    out.insert(out.end(), adtl.begin(), adtl.end());

    // The chunks start on an even offset: a form of odd size gets its pad byte first.
    const int64_t start = int64_t{riffSize} + 8;
    std::vector<uint8_t> pad;
    if (start & 1)
        pad.push_back(0);
    const int64_t newSize = int64_t{riffSize} + static_cast<int64_t>(pad.size() + out.size());
    if (start > file.Size()) {
        LTrace("AppendWaveCues RIFF size beyond the file");
        return false;
    }
    if (newSize > 0xFFFFFFFFll) {
        LTrace("AppendWaveCues file too large for more chunks");
        return false;
    }
    std::vector<uint8_t> sizeField;
    Put32(sizeField, static_cast<uint32_t>(newSize));
    if (!file.Seek(start) || (!pad.empty() && !file.Write(pad.data(), 1)) ||
        !file.Write(out.data(), static_cast<int64_t>(out.size())) || !file.Truncate() ||
        !file.Seek(4) || !file.Write(sizeField.data(), 4)) {
        LTrace("AppendWaveCues write failed");
        return false;
    }
    return true;
}

}  // namespace osmera
