// The host-side way to true colours from a GR or BG mosaic: the plug-in
// reads those phases with the red and blue sites of RG and GB (its defined
// behaviour), so the tool drops the first column, which turns GR into RG and
// BG into GB, and declares the code of the same depth. The picture comes out
// one column narrower.
#ifndef FRAMECONV_PHASE_ALIGN_H
#define FRAMECONV_PHASE_ALIGN_H

#include <cstdint>

#include "InputFrame.h"

class PhaseAlign {
public:
    // True for a GR or BG source and a colour destination (packed or planar
    // RGB/BGR): the pairs whose picture the plug-in's phase reading changes.
    static bool Applies(uint32_t source, uint32_t destination);
    // The RG or GB code of the same depth that a GR or BG code becomes; 0
    // for any other code.
    static uint32_t AlignedCode(uint32_t source);
    // The frame without its first column, declared with the aligned code.
    // False (frame untouched) where nothing is to be aligned or the frame is
    // too narrow.
    static bool Align(const Frame& frame, Frame& aligned);
};

#endif
