#pragma once
// The cut tank's folder for one run of a command that builds cut lists (`run`, `batch`,
// `image`): a locked folder of its own inside `workDir` (the temporary folder when none is
// given), so that runs sharing a folder never touch each other's cuts nor the user's files
// there. It goes, with every cut file of the run, when this goes (after every list that
// names a cut), also after Ctrl+C or SIGTERM. Main thread; one at a time.

#include <string>

namespace osmera::cli {

class LRunFolder {
  public:
    explicit LRunFolder(const std::string& workDir);
    ~LRunFolder();
    LRunFolder(const LRunFolder&) = delete;
    LRunFolder& operator=(const LRunFolder&) = delete;

    bool IsReady() const { return ready_; }
    const std::string& Message() const { return message_; }

  private:
    bool ready_ = false;
    std::string message_;
};

}  // namespace osmera::cli
