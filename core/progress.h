#pragma once
// What a long job reports to whoever shows its progress (the editor's progress dialog,
// the command-line program's terminal bar) and how it learns that the user cancelled.
//
// A job calls these from the thread it runs on; an implementation that shows them on
// another thread does its own hand-over.

#include <string>

namespace osmera {

// The result of every long job (pump runs, file loads and saves, effects), the same
// three codes whoever runs it.
enum : int {
    kJobDone = 0,       // finished
    kJobCancelled = 1,  // the user cancelled; what the job was changing is left as it was
    kJobFailed = 2,     // source, sink, file or parameters unusable
};

class LProgress {
  public:
    virtual ~LProgress() = default;
    // Line 0 is the task's title, line 1 the detail ("Please wait...").
    virtual void SetLine(int line, const std::string& text) = 0;
    // 0 to 1.
    virtual void SetFraction(double fraction) = 0;
    // True once the user has asked to stop; jobs check between units of work.
    virtual bool IsCancelled() = 0;
};

// Shows nothing and never cancels.
class LNullProgress : public LProgress {
  public:
    void SetLine(int, const std::string&) override {}
    void SetFraction(double) override {}
    bool IsCancelled() override { return false; }
};

}  // namespace osmera
