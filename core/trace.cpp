#include "core/trace.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace osmera {
namespace {

std::mutex& TraceMutex() {
    static std::mutex m;
    return m;
}

std::vector<LTraceCapture*>& Captures() {
    static std::vector<LTraceCapture*> c;
    return c;
}

bool ToStderr() {
    static const bool on = [] {
        const char* v = std::getenv("OSMERA_TRACE");
        return v != nullptr && *v != '\0' && std::strcmp(v, "0") != 0;
    }();
    return on;
}

}  // namespace

void LTrace(std::string_view words) {
    std::lock_guard<std::mutex> lock(TraceMutex());
    for (LTraceCapture* c : Captures())
        c->Add(words);
    if (ToStderr())
        std::fprintf(stderr, "%.*s\n", static_cast<int>(words.size()), words.data());
}

void LTracef(const char* format, ...) {
    char buffer[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    LTrace(buffer);
}

LTraceCapture::LTraceCapture() {
    std::lock_guard<std::mutex> lock(TraceMutex());
    Captures().push_back(this);
}

LTraceCapture::~LTraceCapture() {
    std::lock_guard<std::mutex> lock(TraceMutex());
    auto& c = Captures();
    c.erase(std::remove(c.begin(), c.end(), this), c.end());
}

std::vector<std::string> LTraceCapture::Lines() const {
    std::lock_guard<std::mutex> lock(TraceMutex());
    return lines_;
}

bool LTraceCapture::Contains(std::string_view words) const {
    std::lock_guard<std::mutex> lock(TraceMutex());
    return std::any_of(lines_.begin(), lines_.end(),
                       [&](const std::string& l) { return l.find(words) != std::string::npos; });
}

void LTraceCapture::Clear() {
    std::lock_guard<std::mutex> lock(TraceMutex());
    lines_.clear();
}

void LTraceCapture::Add(std::string_view words) {
    lines_.emplace_back(words);
}

}  // namespace osmera
