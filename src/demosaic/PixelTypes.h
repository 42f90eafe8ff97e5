// Sample and packed pixel types written by the demosaic templates.
#ifndef PIXEL_TYPES_H
#define PIXEL_TYPES_H

#include <cstdint>

typedef uint8_t BYTE;
typedef uint16_t WORD;

// Packed so that a row of pixels is a plain array of 3 or 6 bytes per pixel,
// as the destination formats lay them out.
#pragma pack(push, 1)
struct tRGBPIXEL {
    BYTE red;
    BYTE green;
    BYTE blue;
};

struct tBGRPIXEL {
    BYTE blue;
    BYTE green;
    BYTE red;
};

struct tRGBPIXEL16 {
    WORD red;
    WORD green;
    WORD blue;
};

struct tBGRPIXEL16 {
    WORD blue;
    WORD green;
    WORD red;
};
#pragma pack(pop)

static_assert(sizeof(tRGBPIXEL) == 3 && sizeof(tBGRPIXEL) == 3, "8-bit packed pixels are 3 bytes");
static_assert(sizeof(tRGBPIXEL16) == 6 && sizeof(tBGRPIXEL16) == 6, "16-bit packed pixels are 6 bytes");

#endif
