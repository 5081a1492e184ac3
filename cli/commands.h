#pragma once
// The commands of osmera-cli. Each takes the words after the command's name and
// returns the process exit code (cli/args.h).

namespace osmera::cli {

int RunInfo(int argc, char** argv);
int RunConvert(int argc, char** argv);
int RunScript(int argc, char** argv);
int RunBatch(int argc, char** argv);
int RunDevices(int argc, char** argv);
int RunPlay(int argc, char** argv);
int RunRecord(int argc, char** argv);
int RunImage(int argc, char** argv);
int RunSpectrum(int argc, char** argv);
int RunMarkers(int argc, char** argv);
int RunSend(int argc, char** argv);
int RunUpload(int argc, char** argv);
int RunCdInfo(int argc, char** argv);
int RunCdRip(int argc, char** argv);
int RunIso(int argc, char** argv);
int RunCdBurn(int argc, char** argv);
int RunSpeak(int argc, char** argv);
int RunVoices(int argc, char** argv);
int RunPlugins(int argc, char** argv);

}  // namespace osmera::cli
