#include "core/safe_replace.h"

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <filesystem>

#include "core/trace.h"

namespace osmera {

LSafeReplace::LSafeReplace(std::string target) : target_(std::move(target)) {
    static std::atomic<unsigned> counter{0};
    const std::filesystem::path t(target_);
    // Built by appending: GCC 12 at -O3 warns falsely (-Wrestrict) on chained operator+.
    std::string name = ".";
    name.append(t.filename().string());
    name.append(".osmera-");
    name.append(std::to_string(::getpid()));
    name.append("-");
    name.append(std::to_string(counter++));
    name.append(".tmp");
    temp_ = (t.parent_path() / name).string();
}

LSafeReplace::~LSafeReplace() {
    if (!committed_) std::remove(temp_.c_str());
}

bool LSafeReplace::Commit() {
    if (std::rename(temp_.c_str(), target_.c_str()) != 0) {
        LTracef("LSafeReplace::Commit cannot rename %s", temp_.c_str());
        std::remove(temp_.c_str());
        return false;
    }
    committed_ = true;
    return true;
}

}  // namespace osmera
