#pragma once
// Writing a file so that a failure never leaves half a file in place of the user's:
// write to a temporary sibling, then rename it over the target in one step.
//
//   LSafeReplace out(target);
//   ... write everything to out.TempPath() ...
//   if (allGood) ok = out.Commit();   // otherwise the destructor removes the temporary
//
// The temporary lies in the target's folder, so the rename never crosses file systems.

#include <string>

namespace osmera {

class LSafeReplace {
public:
    explicit LSafeReplace(std::string target);
    ~LSafeReplace();
    LSafeReplace(const LSafeReplace&) = delete;
    LSafeReplace& operator=(const LSafeReplace&) = delete;

    const std::string& TempPath() const { return temp_; }
    const std::string& Target() const { return target_; }
    // Moves the temporary over the target. False (and the temporary removed, the target
    // untouched) when the rename fails.
    bool Commit();

private:
    std::string target_;
    std::string temp_;
    bool committed_ = false;
};

}  // namespace osmera
