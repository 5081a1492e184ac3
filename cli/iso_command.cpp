// osmera-cli iso OUT.iso FILE... [--volume NAME]
//
// Writes an ISO 9660 data-disc image (Joliet and Rock Ridge) holding the files and folders
// given, each in the image's root under its own name. OUT.iso is replaced only when the
// whole image was written.

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/terminal_progress.h"
#include "devices/iso_image_writer.h"

namespace osmera::cli {

int RunIso(int argc, char** argv) {
    LArgs args(argc, argv, {"volume"});
    if (!args.Error().empty() || args.Positional().size() < 2) {
        PrintError(args.Error().empty()
                       ? "iso needs an output image and the files to put in it (see osmera-cli "
                         "iso --help)"
                       : args.Error());
        return kExitUsage;
    }
    LIsoRequest request;
    request.paths.assign(args.Positional().begin() + 1, args.Positional().end());
    request.volumeId = args.Value("volume").value_or("");
    const std::string& out = args.Positional()[0];
    LTerminalProgress progress;
    std::string message;
    const int result = WriteIsoImage(request, out, &progress, &message);
    progress.Done();
    return JobExitCode(result, out, message);
}

}  // namespace osmera::cli
