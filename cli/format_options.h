#pragma once
// The format options shared by `convert` and `info`: the writer's --format, --bits,
// --quality, --bitrate and --compression, and the description of headerless input and
// output (--rate, --channels, --encoding, --endian) and of multichannel input (--pair).

#include <set>
#include <string>

#include "cli/args.h"
#include "formats/audio_format.h"
#include "formats/open_audio_source.h"

namespace osmera::cli {

// The option names these functions read.
const std::set<std::string>& WriteOptionNames();
const std::set<std::string>& OpenOptionNames();

// Fills `options` from `args`; false (with `error` set) on a bad value.
bool ParseWriteOptions(LArgs& args, LWriteOptions& options, std::string& error);
// Fills `options` from `args` for opening `path`: --rate/--channels/--encoding/--endian
// describe a headerless input, --pair N picks channels 2N-1 and 2N of a multichannel one
// (counted from 1; default a downmix to stereo). False (with `error` set) on a bad value.
bool ParseOpenOptions(LArgs& args, LOpenOptions& options, std::string& error);

// True when `path` is read as headerless audio (raw, VOX, GSM by its extension).
bool IsHeaderlessInput(const std::string& path);

}  // namespace osmera::cli
