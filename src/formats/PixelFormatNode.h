// One record of the pixel-format catalogue.
#ifndef PIXEL_FORMAT_NODE_H
#define PIXEL_FORMAT_NODE_H

#include <cstdint>
#include <list>

class CImgProcConv;

struct sPixelFormatNode {
    // An unknown code looked up by subscript gets this empty record: no
    // name, no destinations, all numbers 0, no converter.
    sPixelFormatNode();

    char msFormatName[64];
    std::list<uint32_t> mlDestinationFormats;  // own code first, order as the host sees it
    int32_t miFormatBppEff;
    int32_t miFormatBpp;
    double mdFormatBytePerPixel;
    CImgProcConv* mpFormatConverter;  // a converter member of the owning image object
};

#endif
