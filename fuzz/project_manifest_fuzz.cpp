// Fuzz target for project manifests (".omp"): any bytes are read as a manifest, and a
// manifest that reads must survive being written and read again exactly (the escapes of
// paths and tags, the numbers and their ranges). Refusals must come with a message.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "edit/project_manifest.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    osmera::LProject first;
    std::string message;
    if (!osmera::ReadProjectManifest(text, first, &message)) {
        if (message.empty())
            std::abort();  // a refusal the user would not understand
        return 0;
    }
    osmera::LProject second;
    if (!osmera::ReadProjectManifest(osmera::WriteProjectManifest(first), second, &message) ||
        !(second == first))
        std::abort();  // what was read does not write back as it was
    return 0;
}
