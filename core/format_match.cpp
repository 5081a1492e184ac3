#include "core/format_match.h"

#include "core/sp_conv_channels.h"
#include "core/src_convert_rate.h"

namespace osmera {
namespace {

bool Usable(const LSourceRef& source) {
    return source && source->GetError() == kSourceOk;
}

}  // namespace

LSourceRef ConvertRate(LSourceRef source, int32_t rate) {
    if (!Usable(source) || source->GetSampleRate() == rate)
        return source;
    if (rate >= 1 && rate < source->GetSampleRate() / 4) {
        LSourceRef half(new LSRCConvertRate(std::move(source), rate * 2, true));
        return LSourceRef(new LSRCConvertRate(std::move(half), rate));
    }
    return LSourceRef(new LSRCConvertRate(std::move(source), rate));
}

LSourceRef ConvertChannels(LSourceRef source, uint8_t channels) {
    if (!Usable(source) || channels == 0)
        return source;
    const uint8_t have = source->GetChannels();
    if (have == 2 && channels == 1)
        return LSourceRef(new LSPConvChannels2To1(std::move(source)));
    if (have == 1 && channels == 2)
        return LSourceRef(new LSPConvChannels1To2(std::move(source)));
    return source;
}

LSourceRef MatchFormat(LSourceRef source, int32_t rate, uint8_t channels) {
    if (!Usable(source))
        return source;
    if (source->GetChannels() > channels)
        source = ConvertChannels(std::move(source), channels);
    if (source->GetSampleRate() != rate)
        source = ConvertRate(std::move(source), rate);
    if (source->GetChannels() != channels)
        source = ConvertChannels(std::move(source), channels);
    return source;
}

}  // namespace osmera
