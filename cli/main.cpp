// osmera-cli: the command-line program. Each command lives in its own file and
// registers itself in the table below.

#include <cstdio>
#include <cstring>
#include <string>

namespace {

constexpr const char* kUsage =
    "Usage: osmera-cli COMMAND [ARGS...]\n"
    "\n"
    "Osmera's engine from the command line.\n"
    "\n"
    "Options:\n"
    "  --help      show this help and exit\n"
    "  --version   show the version and exit\n";

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0) {
        std::fputs(kUsage, argc < 2 ? stderr : stdout);
        return argc < 2 ? 2 : 0;
    }
    if (std::strcmp(argv[1], "--version") == 0) {
        std::printf("osmera-cli %s\n", OSMERA_VERSION);
        return 0;
    }
    std::fprintf(stderr, "osmera-cli: unknown command '%s' (see osmera-cli --help)\n", argv[1]);
    return 2;
}
