// Vector bodies of the converters' row loops, one set per instruction level.
//
// Each body does the leading part of a row that it can do in whole vectors
// and returns how many pixels (or samples, groups) it did; the converter's
// portable loop does the rest and stays the reference for every byte. A body
// never reads or writes a byte outside what the portable loop reads or writes
// for the same row. Bodies are only picked where the tables have the shape
// they compute in registers; the shape is found entry by entry when the
// tables are built (ConvLutShapeOf) and only read when a frame picks its rows.
//
// The ISA files include this header for its records alone: it holds no
// inline code, so nothing here is compiled twice with different flags.
#ifndef IMGPROC_CONV_ROWS_H
#define IMGPROC_CONV_ROWS_H

#include <cstdint>

#include "KvCpu.h"

// A table that is a rounded rescale to 8 bits, in registers:
// entry(x) = (((x * mul) >> 16) + add) >> shift for every x up to max.
struct sConvRescale {
    uint16_t mul;
    uint16_t add;
    uint16_t shift;
    uint16_t max;
};

typedef int32_t (*ConvBytesBody)(const unsigned char* src, unsigned char* dst, int32_t width);
// 16-bit words to bytes through a rescale; a vector holding a word above max
// is looked up in lut instead, as the portable loop does, or with a null lut
// ends the body there.
typedef int32_t (*ConvWordsBody)(const unsigned char* src, unsigned char* dst, int32_t count, const sConvRescale& r,
                                 const uint16_t* lut);
// Deep colour, three words a pixel, to 8-bit colour through a rescale;
// returns pixels done, ending at the first vector holding a word above max.
typedef int32_t (*ConvDeepBody)(const unsigned char* src, unsigned char* dst, int32_t width, const sConvRescale& r);
// Packed mono groups of 3 bytes to two bytes each; returns groups done.
typedef int32_t (*ConvUnpackBody)(const unsigned char* src, unsigned char* dst, int32_t groups,
                                  const sConvRescale& r);

struct sConvRowBodies {
    // Bytes unchanged.
    ConvBytesBody copy;
    // 8-bit colour to grey with identity tables: (30 r + 60 g + 10 b) / 100
    // by memory position. Index: four-byte source.
    ConvBytesBody grey[2];
    // 8-bit colour reorders with identity tables. Index: four-byte source,
    // four-byte destination, reversed order.
    ConvBytesBody reorder[2][2][2];
    ConvWordsBody words8;
    // Deep colour to bytes with the samples reversed or an opaque fourth
    // byte. Index: reversed, four bytes; the kept three-byte order is words8.
    ConvDeepBody deep[2][2];
    // Index: 0 for the 10-bit layout, 1 for the 12-bit one.
    ConvUnpackBody unpack8[2];
    // The same groups to two 16-bit samples each, through an identity table
    // (the rescale argument is unused).
    ConvUnpackBody unpack16[2];
    // 4:2:2 (U Y V Y) to colour with an identity table. Index: red first,
    // four bytes. Returns pixels done, a multiple of four.
    ConvBytesBody yuv422[2][2];
    // 4:4:4 (U Y V) and 4:1:1 (U Y Y V Y Y) likewise; 4:1:1 returns a
    // multiple of four.
    ConvBytesBody yuv444[2][2];
    ConvBytesBody yuv411[2][2];
    // YUV to grey with an identity table: the luma bytes. Index: 4:1:1,
    // 4:2:2, 4:4:4; the subsampled ones return a multiple of four.
    ConvBytesBody yuvGrey[3];
};

// The bodies of one level; every entry of the baseline set is null, and a
// null entry of a higher level means the portable loop serves that path.
const sConvRowBodies& ConvRowBodies(KvCpuLevel level);


// What each of the three tone tables is, found when they are built.
struct sConvLutShape {
    int32_t srcMax;        // entries 0..srcMax were built
    bool identity8[3];     // entries 0..255 are 0..255
    bool identity[3];      // entries 0..srcMax are 0..srcMax
    bool rescale8[3];      // entries 0..srcMax are `rescale`
    sConvRescale rescale;  // register form of the rescale to 8 bits from srcMax
    // Table k is the rescale to 8 bits from `max` (the depth a converter
    // reads).
    bool Rescales(int k, int32_t max) const { return rescale8[k] && srcMax == max; }
    // Table k is the identity up to `max`.
    bool Identity(int k, int32_t max) const { return identity[k] && srcMax == max; }
};

// The register form of the rounded rescale to 8 bits from `srcMax`, if it
// has one (the depths 10, 12, 14 and 16).
bool ConvRescaleOf(int32_t srcMax, sConvRescale* r);

// Checks the tables entry by entry against the identity and against the
// rounded rescale to 8 bits from srcMax (what the builder gives with gain 1
// and gamma 1, for depths that have a register form).
sConvLutShape ConvLutShapeOf(const uint16_t* const lut[3], int32_t srcMax);

// The ISA files' sets, filled in where they are compiled.
void ConvRowBodiesAvx2(sConvRowBodies* bodies);
void ConvRowBodiesAvx512(sConvRowBodies* bodies);

#endif
