#pragma once
// "Create ISO Image...": an ISO 9660 data-disc image of files and folders, with Joliet
// (long names for Windows) and Rock Ridge (long names, permissions and links for Unix)
// records, written through libisofs. Each file or folder given lands in the image's root
// under its own name; folders are added with everything in them.
//
// Written to a temporary beside `path` and moved over it only when whole (core/
// safe_replace.h): a failure or a cancel leaves `path` as it was. Runs on the calling
// thread and honours `progress` (may be null) between blocks. Returns kJobDone,
// kJobCancelled or kJobFailed (core/progress.h), with a sentence for the user in `message`
// on anything but kJobDone.

#include <string>
#include <vector>

#include "core/progress.h"

namespace osmera {

struct LIsoRequest {
    std::vector<std::string> paths;  // files and folders
    std::string volumeId;            // empty: "OSMERA"
};

int WriteIsoImage(const LIsoRequest& request, const std::string& path, LProgress* progress,
                  std::string* message = nullptr);

}  // namespace osmera
