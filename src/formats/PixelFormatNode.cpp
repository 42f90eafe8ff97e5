#include "PixelFormatNode.h"

sPixelFormatNode::sPixelFormatNode()
    : msFormatName{}, miFormatBppEff(0), miFormatBpp(0), mdFormatBytePerPixel(0.0), mpFormatConverter(nullptr)
{
}
