#include "tests/support/test_support.h"

#include <stdlib.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace osmera::testing {

void CollectSink::Write(const int32_t* buffer, int32_t frames) {
    writes.push_back(frames);
    if (frames > 0)
        samples.insert(samples.end(), buffer, buffer + static_cast<size_t>(frames) * channels);
    position += frames;
}

void RecordingProgress::SetLine(int line, const std::string& text) {
    if (line == 0 || line == 1)
        lines[line] = text;
}

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "osmera-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

std::string ReadText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace osmera::testing
