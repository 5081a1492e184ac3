// osmera-cli: the command-line program. Dispatches to one command per file.

#include <cstdio>
#include <cstring>

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/terminal_progress.h"

namespace {

struct Command {
    const char* name;
    int (*run)(int argc, char** argv);
    const char* usage;
};

const Command kCommands[] = {
    {"info", osmera::cli::RunInfo,
     "info FILE... [--loudness] [--rate HZ] [--channels N] [--encoding ENC]\n"
     "     [--endian little|big]\n"
     "      One line per file of key=value pairs: file, format, reader, channels, rate,\n"
     "      bits, frames, time, duration and the tags it has (title, artist, album, year,\n"
     "      genre, comment, track); for a file that cannot be read: file, error, message.\n"
     "      --loudness adds loudness (LUFS), loudness-range (LU), true-peak (dBTP).\n"
     "      The other options describe headerless files (.raw, .pcm, .vox, .gsm).\n"},
    {"convert", osmera::cli::RunConvert,
     "convert IN OUT [--rate HZ] [--channels 1|2] [--bits 8|16|24|32] [--format NAME]\n"
     "              [--quality Q] [--bitrate KBPS] [--compression 0-8] [--pair N]\n"
     "              [--encoding s8|u8|s16|s24|s32|float|ulaw|alaw] [--endian little|big]\n"
     "      Converts IN into OUT in the format OUT's extension or --format names (wav,\n"
     "      wav-float, flac, ogg, opus, mp3, aiff, aifc, au, caf, w64, rf64, raw, vox, gsm;\n"
     "      defaults: IN's rate, channels and width). --quality: Ogg 0-10 (10 best), MP3\n"
     "      VBR 0-9 (0 best); --bitrate: MP3 and Opus in kbit/s; --compression: FLAC.\n"
     "      For a .raw/.pcm/.vox/.gsm IN, --rate, --channels, --encoding and --endian\n"
     "      describe IN. More than two channels are mixed to stereo, or --pair N takes\n"
     "      channels 2N-1 and 2N. OUT is replaced only when the whole file was written.\n"},
    {"run", osmera::cli::RunScript,
     "run SCRIPT [--work-dir DIR] [--settings FILE]\n      Runs a script of editing commands "
     "(open, select, cut, paste, effects, undo, save...);\n      --settings keeps effect "
     "parameters and set/get values in an INI-like FILE.\n"},
    {"batch", osmera::cli::RunBatch,
     "batch SCRIPT FILE... --out DIR [--jobs N] [--name PATTERN] [--work-dir DIR]\n"
     "            [--format NAME] [--bits B] [--quality Q] [--bitrate KBPS] [--compression C]\n"
     "      Runs SCRIPT (as run does) on each FILE, opened first, N files at a time\n"
     "      (default: one per core), and saves each result as DIR/PATTERN with the save\n"
     "      options given. PATTERN (default {name}.{ext}): {name} the file's name without\n"
     "      extension, {ext} that of --format (else the file's own), {index} its place\n"
     "      from 1. A script with a save line saves itself: a bare save writes DIR/PATTERN.\n"
     "      Prints IN -> OUT per file written; a file that fails is reported with its\n"
     "      reason and the others go on (exit code 1). Outputs never replace an input.\n"},
    {"devices", osmera::cli::RunDevices,
     "devices\n"
     "      Lists the sound output and input devices with their numbers (0: default).\n"},
    {"plugins", osmera::cli::RunPlugins,
     "plugins [WORD] [--rescan] [--settings FILE]\n"
     "      Lists the installed LV2 and LADSPA plug-ins (URI or label, name, ports), or\n"
     "      those whose URI, label, name or maker holds WORD. Scripts apply them with\n"
     "      lv2 URI [PORT=VALUE...] and ladspa LABEL [PORT=VALUE...]. The scan is cached;\n"
     "      --rescan reads every plug-in again.\n"},
    {"play", osmera::cli::RunPlay,
     "play FILE [--device N|file:OUT.wav] [--from TIME] [--fast]\n"
     "      Plays FILE to its end (Ctrl+C stops). file:OUT.wav writes what would be\n"
     "      heard to OUT.wav; --fast runs that file device as fast as possible.\n"},
    {"record", osmera::cli::RunRecord,
     "record OUT.wav [--seconds N] [--threshold DB] [--device N] [--rate HZ]\n"
     "              [--channels 1|2] [--input-file IN] [--fast]\n"
     "      Records 16-bit PCM into OUT.wav until N seconds, the end of IN, or Ctrl+C.\n"
     "      --threshold waits for sound of DB (full scale is 12); --input-file takes\n"
     "      the sound from IN (in real time, or as fast as possible with --fast).\n"},
    {"image", osmera::cli::RunImage,
     "image IN OUT.png [--spectrogram] [--width W] [--height H] [--from TIME] [--to TIME]\n"
     "              [--fft N] [--work-dir DIR]\n"
     "      Draws IN's waveform (or spectrogram) with a time axis into OUT.png, W x H\n"
     "      pixels (default 1200 x 300).\n"},
    {"spectrum", osmera::cli::RunSpectrum,
     "spectrum IN [--from TIME] [--to TIME] [--fft N] [--window NAME] [--combined]\n"
     "            [--peaks N] [--csv]\n"
     "      The averaged spectrum: frequency and level (dBFS) per bin and channel, or the\n"
     "      N highest peaks with their notes. --window: hann, blackman-harris, flat-top,\n"
     "      rectangular; --fft 256 to 65536 (default 8192).\n"},
    {"markers", osmera::cli::RunMarkers,
     "markers FILE [--export OUT.txt | --import IN.txt --out OUT.wav [--replace]]\n"
     "      Lists the bookmarks and regions FILE keeps as WAV cue points, one a line:\n"
     "      type (bookmark, region), name, start, end (seconds), start-frame, end-frame.\n"
     "      --export writes them to a label file (start TAB end TAB name, seconds, one a\n"
     "      line; a bookmark has start = end). --import adds a label file's markers\n"
     "      (--replace: instead of FILE's) and writes FILE's audio with them to OUT.wav.\n"},
    {"send", osmera::cli::RunSend,
     "send FILE --smtp URL --to ADDR [--cc ADDR] [--from ADDR] [--subject TEXT]\n"
     "           [--message TEXT] [--user U] [--plain] [--format NAME] [--ca-file FILE]\n"
     "           [--timeout S]\n"
     "      Mails FILE as an attachment (encoded as --format NAME when given, with the\n"
     "      writer options of convert). smtp://host:587 uses STARTTLS (--plain: no\n"
     "      encryption), smtps://host:465 TLS; addresses may be comma separated.\n"
     "      The password comes from OSMERA_PASSWORD, else it is asked on the terminal.\n"},
    {"upload", osmera::cli::RunUpload,
     "upload FILE URL [--user U] [--create-dirs] [--resume] [--require-tls] [--name NAME]\n"
     "             [--format NAME] [--ca-file FILE] [--timeout S]\n"
     "      Puts FILE on an ftp://, ftps:// or sftp:// server; a URL ending in '/' names\n"
     "      the folder. --create-dirs makes missing folders, --resume goes on with a\n"
     "      broken upload. The password as for send.\n"},
    {"cd-info", osmera::cli::RunCdInfo,
     "cd-info DEVICE|IMAGE [--lookup [--cddb] [--server URL] [--timeout S]]\n"
     "      The table of contents of an audio CD in a drive (/dev/sr0) or of a disc image\n"
     "      (.cue/.bin, .toc, .nrg): tracks with start, length and CD-TEXT, and the disc's\n"
     "      MusicBrainz and CDDB ids. --lookup asks MusicBrainz (--cddb: a CDDB server)\n"
     "      for the disc and lists the matches; results are cached.\n"},
    {"cd-rip", osmera::cli::RunCdRip,
     "cd-rip DEVICE|IMAGE [--tracks 1,3-5] [--out DIR] [--format NAME] [--fast]\n"
     "      Rips audio tracks (default all) into DIR (default .), one file per track named\n"
     "      \"NN Title\" from the CD-TEXT, in --format (default wav), with paranoia's full\n"
     "      error correction (--fast: read once). Prints each track's read report; a\n"
     "      track with unreadable sectors is written with silence there and exits 1.\n"},
    {"iso", osmera::cli::RunIso,
     "iso OUT.iso FILE... [--volume NAME]\n"
     "      Writes a data-disc image (ISO 9660 with Joliet and Rock Ridge names) holding\n"
     "      the files and folders given, each in the image's root.\n"},
    {"cd-burn", osmera::cli::RunCdBurn,
     "cd-burn [--dev DEVICE|IMAGE.cue] [--simulate] [--speed KBS] [--no-eject]\n"
     "        [--gap SECONDS] [--title TEXT] [--performer TEXT] FILE...\n"
     "      Burns the files as an audio CD's tracks, in order, with --gap seconds of\n"
     "      silence between them (default 2) and their tags' titles as CD-TEXT; other\n"
     "      audio is converted to 44.1 kHz stereo 16-bit (a note says so). --dev: the\n"
     "      writer (default the first found) or a .cue file to write a disc image.\n"},
    {"speak", osmera::cli::RunSpeak,
     "speak \"TEXT\" OUT [--voice V] [--rate WPM] [--pitch P] [--volume V] [--gap G]\n"
     "              [--out-rate HZ] [--work-dir DIR]\n"
     "speak --file TEXT.txt OUT [the same options]\n"
     "      Speaks TEXT (or the file's UTF-8 text) into OUT (format by extension) at\n"
     "      22050 Hz or --out-rate; sentence starts become bookmarks (WAV cue points).\n"
     "      --rate 80-450 words per minute (175), --pitch 0-100 (50), --volume 0-200\n"
     "      (100), --gap 0-100 pause between words in 10 ms, --voice a name, identifier\n"
     "      or language from osmera-cli voices.\n"},
    {"voices", osmera::cli::RunVoices,
     "voices\n"
     "      Lists the installed speech voices: name, language, identifier, gender.\n"},
};

void PrintUsage(FILE* to) {
    std::fputs(
        "Usage: osmera-cli COMMAND [ARGS...]\n\nOsmera's audio engine from the command line.\n\n"
        "Commands:\n",
        to);
    for (const auto& c : kCommands)
        std::fprintf(to, "  %s", c.usage);
    std::fputs(
        "\nOptions:\n  --help      show this help and exit\n"
        "  --version   show the version and exit\n\n"
        "Times are written h:mm:ss.hh (or seconds); exit codes: 0 done, 1 failed,\n"
        "2 bad command line, 130 interrupted.\n",
        to);
}

}  // namespace

int main(int argc, char** argv) {
    using namespace osmera::cli;
    if (argc < 2) {
        PrintUsage(stderr);
        return kExitUsage;
    }
    if (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0 ||
        std::strcmp(argv[1], "help") == 0) {
        PrintUsage(stdout);
        return kExitOk;
    }
    if (std::strcmp(argv[1], "--version") == 0) {
        std::printf("osmera-cli %s\n", OSMERA_VERSION);
        return kExitOk;
    }
    for (const auto& c : kCommands) {
        if (std::strcmp(argv[1], c.name) != 0)
            continue;
        if (argc > 2 && (std::strcmp(argv[2], "--help") == 0 || std::strcmp(argv[2], "-h") == 0)) {
            std::printf("Usage: osmera-cli %s", c.usage);
            return kExitOk;
        }
        InstallCancelHandlers();
        return c.run(argc - 2, argv + 2);
    }
    PrintError(std::string("unknown command '") + argv[1] + "' (see osmera-cli --help)");
    return kExitUsage;
}
