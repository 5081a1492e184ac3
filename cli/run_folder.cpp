#include "cli/run_folder.h"

#include <filesystem>
#include <system_error>

#include "edit/audio_cut_tank.h"

namespace osmera::cli {

LRunFolder::LRunFolder(const std::string& workDir) {
    std::string parent = workDir;
    if (parent.empty()) {
        std::error_code ec;
        parent = std::filesystem::temp_directory_path(ec).string();
        if (parent.empty())
            parent = "/tmp";
    }
    ready_ = LAudioCutTank::Instance().OpenFolderIn(parent, &message_);
}

LRunFolder::~LRunFolder() {
    LAudioCutTank::Instance().Reset();
}

}  // namespace osmera::cli
