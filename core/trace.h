#pragma once
// The debug trace. Every internal check writes its trace words here, one line each.
// Silent by default; OSMERA_TRACE=1 in the environment copies every line to stderr.
// Tests capture lines with LTraceCapture to assert that a check fired.
//
// Thread-safety: every function here may be called from any thread.

#include <string>
#include <string_view>
#include <vector>

namespace osmera {

// Writes one line of trace words.
void LTrace(std::string_view words);

// printf-style form, for trace words that carry a value (a file name, a size).
void LTracef(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Collects every trace line written, from any thread, while it is alive. Captures may
// nest; each sees every line written during its own lifetime.
class LTraceCapture {
  public:
    LTraceCapture();
    ~LTraceCapture();
    LTraceCapture(const LTraceCapture&) = delete;
    LTraceCapture& operator=(const LTraceCapture&) = delete;

    std::vector<std::string> Lines() const;
    // True when some captured line contains `words`.
    bool Contains(std::string_view words) const;
    void Clear();

  private:
    friend void LTrace(std::string_view);
    void Add(std::string_view words);
    std::vector<std::string> lines_;
};

}  // namespace osmera
