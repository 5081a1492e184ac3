#pragma once
// The effect commands of batch scripts and the settings commands `set` and `get`. Every
// effect command runs through the effect driver (effects/effect_driver.h), so it validates
// with the effect table's messages, remembers its parameters in the script's settings
// store and records its undo step like the editor's command.
//
// The settings store is the one the caller set (the command-line program: the file of
// `run --settings FILE`; the editor: its own settings); without one the commands use a
// temporary store in memory for the life of the program. Script thread only: the store
// set and the noise profile `noise-profile` takes belong to the calling thread, so
// scripts running at once on several threads (the batch converter) never share them.

#include "core/settings_store.h"
#include "effects/script_commands.h"

namespace osmera {

// amplify, normalize, fade-in, fade-out, fade-out-trim, envelope, dc-offset, auto-trim,
// insert-silence-start, insert-silence-current, insert-silence-end, repeat, reverse,
// click-repair, click-repair-manual, high-pass, equalizer, echo, reverb, compressor, agc,
// pan, noise-profile, noise-reduction, speed-pitch, tempo, pitch, cross-fade, paste-mix,
// mix-file, loudness, set, get, and the plug-in commands lv2 and ladspa. Replaces earlier
// commands of those names.
void RegisterEffectScriptCommands(LScriptCommandTable& table);

// The store the effect and settings commands use on this thread (borrowed; null for the
// temporary one). Setting it starts a fresh script: the thread's noise profile is dropped.
void SetScriptSettings(LSettingsStore* store);
LSettingsStore& ScriptSettings();

}  // namespace osmera
