#include "effects/key_macro_file.h"

#include <algorithm>

#include "core/file.h"
#include "core/safe_replace.h"
#include "core/trace.h"

namespace osmera {

const char* const kKeysWrongVersionMessage =
    "This file does not have the same version with the current Osmera version or it is "
    "corrupted.";
const char* const kKeysCannotCreateMessage =
    "Osmera cannot open this file. The file does not exist or may be corrupted.";

namespace {

void Put32(std::string& out, uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8)
        out.push_back(static_cast<char>((value >> shift) & 0xff));
}

uint32_t Get32(const unsigned char* p) {
    return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}

}  // namespace

std::string KeysFilePath(const std::string& currentFolder) {
    if (currentFolder.empty() || currentFolder.back() == '/')
        return currentFolder + kKeysFileName;
    return currentFolder + "/" + kKeysFileName;
}

LKeysLoad LoadKeyMacros(const std::string& path, LKeyMacroList& macros) {
    macros.clear();
    LFile file;
    if (!file.Open(path, LFile::Mode::kRead))
        return LKeysLoad::kMissing;
    // The file is small; read it whole and parse from memory.
    std::string bytes;
    char block[4096];
    for (;;) {
        const int64_t got = file.Read(block, sizeof block);
        if (got <= 0)
            break;
        bytes.append(block, static_cast<size_t>(got));
    }
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const size_t size = bytes.size();
    if (size < 1 || p[0] != 0) {
        LTrace("LoadKeyMacros wrong version");
        return LKeysLoad::kWrongVersion;
    }
    size_t at = 1;
    while (size - at >= 4) {
        LKeyMacro macro;
        macro.key = Get32(p + at);
        at += 4;
        const unsigned count = at < size ? p[at++] : 0u;
        for (unsigned k = 0; k < count && size - at >= 4; ++k, at += 4)
            macro.commands.push_back(Get32(p + at));
        macros.push_back(std::move(macro));
    }
    return LKeysLoad::kLoaded;
}

bool SaveKeyMacros(const std::string& path, const LKeyMacroList& macros) {
    std::string out(1, '\0');
    for (const LKeyMacro& macro : macros) {
        Put32(out, macro.key);
        out.push_back(static_cast<char>(std::min<size_t>(macro.commands.size(), 255)));
        for (uint32_t id : macro.commands)
            Put32(out, id);
    }
    LSafeReplace replace(path);
    if (replace.Failed()) {
        LTracef("SaveKeyMacros cannot create: %s", replace.ErrorText().c_str());
        return false;
    }
    LFile file;
    if (!file.Open(replace.TempPath(), LFile::Mode::kCreate) ||
        !file.Write(out.data(), static_cast<int64_t>(out.size()))) {
        LTrace("SaveKeyMacros write FAILED");
        return false;
    }
    file.Close();
    if (!replace.Commit()) {
        LTracef("SaveKeyMacros commit: %s", replace.ErrorText().c_str());
        return false;
    }
    return true;
}

const LKeyMacro* FindKeyMacro(const LKeyMacroList& macros, uint32_t key) {
    const auto it = std::find_if(macros.begin(), macros.end(),
                                 [key](const LKeyMacro& m) { return m.key == key; });
    return it == macros.end() ? nullptr : &*it;
}

}  // namespace osmera
