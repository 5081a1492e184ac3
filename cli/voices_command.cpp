// osmera-cli voices
//
// Lists the installed speech voices one a line as key=value pairs: name, language,
// identifier and gender (male, female or -). Any of name, identifier or language goes to
// speak --voice.

#include <cstdio>

#include "cli/args.h"
#include "cli/commands.h"
#include "effects/speech_synth.h"

namespace osmera::cli {

int RunVoices(int argc, char** argv) {
    LArgs args(argc, argv, {});
    if (!args.Error().empty() || !args.Positional().empty()) {
        PrintError(args.Error().empty() ? "voices takes no arguments" : args.Error());
        return kExitUsage;
    }
    std::string message;
    const std::vector<LSpeechVoice> voices = LSpeechSynth::ListVoices(&message);
    if (voices.empty()) {
        PrintError(message.empty() ? "no speech voices are installed" : message);
        return kExitFailed;
    }
    for (const LSpeechVoice& voice : voices)
        std::printf("name=%s language=%s identifier=%s gender=%s\n", QuoteValue(voice.name).c_str(),
                    QuoteValue(voice.language).c_str(), QuoteValue(voice.identifier).c_str(),
                    SpeechGenderText(voice.gender));
    return kExitOk;
}

}  // namespace osmera::cli
