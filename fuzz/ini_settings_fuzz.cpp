// Fuzz target for the settings file of `osmera-cli run --settings`: any bytes are read
// as a settings file, and what was read must survive being written and read again
// exactly (the escapes of names and values), and integer reads must not misbehave.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "cli/ini_settings_store.h"
#include "fuzz/fuzz_input_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using osmera::cli::LIniSettingsStore;
    osmera::fuzz::LFuzzInputFile& file = osmera::fuzz::FuzzInputFile();
    LIniSettingsStore first(file.Hold(data, size));
    const auto values = first.Values();
    for (const auto& [section, keys] : values) {
        for (const auto& [key, value] : keys) {
            first.GetInt(section, key, 0);
            if (first.GetText(section, key, "") != value)
                std::abort();
        }
    }
    const std::string text = first.Text();
    LIniSettingsStore second(file.Hold(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
    if (!second.IsGood() || second.Values() != values)
        std::abort();  // a value that does not read back as it was written
    return 0;
}
