#include "cli/source_description.h"

#include "formats/src_pcm_file_base.h"
#include "formats/src_snd_file.h"

namespace osmera::cli {

LSourceDescription DescribeSource(LSoundSourceBase& source) {
    if (auto* pcm = dynamic_cast<LSRCPCMFileBase*>(&source)) {
        return {"wav-pcm", pcm->GetBytesPerSample() * 8};
    }
    return {"decoded", 16};
}

}  // namespace osmera::cli
