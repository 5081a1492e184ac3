#include "cli/device_choice.h"

#include <unistd.h>

#include <charconv>
#include <cstdio>

namespace osmera::cli {
namespace {

bool gStatusShown = false;

}  // namespace

LDeviceChoice ParseDeviceChoice(const std::string& value, bool allowFile) {
    LDeviceChoice c;
    if (value.rfind("file:", 0) == 0) {
        if (!allowFile)
            c.error = "--device file:PATH is only for play (record uses --input-file)";
        else if (value.size() == 5)
            c.error = "--device file: needs a file name";
        else
            c.file = value.substr(5);
        return c;
    }
    unsigned long n = 0;
    auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), n);
    if (ec != std::errc() || end != value.data() + value.size() || n > 1000000)
        c.error = "--device must be a device number from 0 to 1000000 (see osmera-cli devices)" +
                  std::string(allowFile ? " or file:PATH" : "") + ", not '" + value + "'";
    else
        c.number = static_cast<uint32_t>(n);
    return c;
}

void ShowStatus(const std::string& text) {
    if (::isatty(STDERR_FILENO) != 1)
        return;
    std::fprintf(stderr, "\r%s\033[K", text.c_str());
    std::fflush(stderr);
    gStatusShown = true;
}

void EndStatus() {
    if (!gStatusShown)
        return;
    std::fputs("\n", stderr);
    gStatusShown = false;
}

}  // namespace osmera::cli
