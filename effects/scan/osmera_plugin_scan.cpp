// osmera-plugin-scan: the child process that the plug-in scan runs (effects/plugin_scan.h),
// so that a plug-in that crashes while it is loaded takes down only this process.

#include "effects/plugin_scan.h"

int main(int argc, char** argv) {
    return osmera::RunPluginScanChild(argc, argv);
}
