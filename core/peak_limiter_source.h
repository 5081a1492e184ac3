#pragma once
// A source that keeps every sample of another within +-limit. The pump puts one in
// front of any source that may deliver more than the 16-bit range, so that nothing a
// file writer takes can wrap.

#include "core/sound_source_base.h"

namespace osmera {

// Hard clipping: a sample beyond the limit becomes the limit, with its sign. Reports the
// limit as its peak; rate, channels, position and length are the inner source's.
class LSRCPeakLimiter : public LSRCWrapBase {
  public:
    LSRCPeakLimiter(LSourceRef inner, int32_t limit);
    void Read(int32_t* buffer, int32_t frames) override;

  private:
    int32_t limit_;
};

}  // namespace osmera
