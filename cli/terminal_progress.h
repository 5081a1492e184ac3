#pragma once
// Progress of a command on the terminal: a bar on stderr when stderr is a terminal,
// nothing otherwise. Ctrl+C (SIGINT), SIGTERM and SIGHUP (the terminal closed, or the
// session that started the program ended) become a cancel request that jobs see through
// IsCancelled(), so they stop between blocks and clean up after themselves.

#include <string>

#include "core/progress.h"

namespace osmera::cli {

// Installs the SIGINT/SIGTERM/SIGHUP handlers that set the cancel flag. Call once at
// start, on the main thread.
void InstallCancelHandlers();
// True once Ctrl+C (or SIGTERM or SIGHUP) has arrived. Any thread.
bool CancelRequested();

class LTerminalProgress : public LProgress {
  public:
    LTerminalProgress();
    ~LTerminalProgress() override;

    void SetLine(int line, const std::string& text) override;
    void SetFraction(double fraction) override;
    bool IsCancelled() override { return CancelRequested(); }
    // Clears the bar line.
    void Done();

  private:
    void Draw();

    bool visible_;
    bool drawn_ = false;
    std::string title_;
    int lastPercent_ = -1;
    double fraction_ = 0.0;
};

}  // namespace osmera::cli
