#include "PhaseAlign.h"

#include <algorithm>

#include "KorvaPixelFormats.h"
#include "PixelFormatNames.h"

uint32_t PhaseAlign::AlignedCode(uint32_t source)
{
    switch (source) {
    case KORVA_PIXTYPE_BAYGR8: return KORVA_PIXTYPE_BAYRG8;
    case KORVA_PIXTYPE_BAYGR10: return KORVA_PIXTYPE_BAYRG10;
    case KORVA_PIXTYPE_BAYGR12: return KORVA_PIXTYPE_BAYRG12;
    case KORVA_PIXTYPE_BAYBG8: return KORVA_PIXTYPE_BAYGB8;
    case KORVA_PIXTYPE_BAYBG10: return KORVA_PIXTYPE_BAYGB10;
    case KORVA_PIXTYPE_BAYBG12: return KORVA_PIXTYPE_BAYGB12;
    default: return 0;
    }
}

bool PhaseAlign::Applies(uint32_t source, uint32_t destination)
{
    const PixelFormatInfo* d = PixelFormatNames::FindByCode(destination);
    if (AlignedCode(source) == 0 || d == nullptr)
        return false;
    return d->family == FormatFamily::PackedRgb || d->family == FormatFamily::Planar;
}

bool PhaseAlign::Align(const Frame& frame, Frame& aligned)
{
    const uint32_t code = AlignedCode(frame.code);
    if (code == 0 || frame.width < 2 || frame.height < 1)
        return false;
    const size_t sample = PixelFormatNames::FindByCode(frame.code)->effectiveBits > 8 ? 2 : 1;
    const size_t rowIn = sample * frame.width;
    const size_t rowOut = rowIn - sample;
    if (frame.data.size() < rowIn * frame.height)
        return false;
    aligned.code = code;
    aligned.width = frame.width - 1;
    aligned.height = frame.height;
    aligned.data.resize(rowOut * frame.height);
    for (int y = 0; y < frame.height; ++y) {
        const uint8_t* from = frame.data.data() + rowIn * y + sample;
        std::copy(from, from + rowOut, aligned.data.begin() + rowOut * y);
    }
    return true;
}
