// Row functions of the demosaic methods. Each takes one explicit record and
// touches nothing else; the converter picks one set per frame by the
// instruction level. The portable functions are the reference: the faster
// variants compute the interior of a row and hand the rest to them.
#ifndef DEMOSAIC_ROWS_H
#define DEMOSAIC_ROWS_H

#include <cstddef>
#include <cstdint>

#include "KvCpu.h"
#include "PixelTypes.h"

// The low bytes of the first 256 entries of the three tone tables, and which
// of them are the identity. Filled per frame for 8-bit sources, whose
// indices never exceed 255.
struct DemosaicByteTables {
    uint8_t bytes[3][256];  // red, green, blue
    bool identity[3];
    bool valid;             // false: the fast paths use the 16-bit tables
    // A gain table: entry i is min(255, (i * gain) >> gainShift), less 1
    // where bit i of `fixes` is set, for every i up to 255, as verified entry
    // by entry; it can be computed in 16-bit lanes instead of looked up.
    // gainShift lies in 8..16. (Gains that are not a binary fraction round
    // differently from entry to entry: the bits take that up.)
    bool gained[3];
    bool fixed[3];  // some bit of `fixes` is set
    uint16_t gain[3];
    uint32_t gainShift[3];
    uint8_t fixes[3][32];
    // The bytes the gain fields above were found for: a frame whose table
    // is unchanged keeps them instead of searching again.
    bool gainFound[3] = {false, false, false};
    uint8_t gainFor[3][256];
    // Deep sources: a table that is a rounded rescale, entry i being
    // (i * mul + add) >> shift for every i up to `limit`, as verified entry by
    // entry, can be computed instead of looked up. Indices above `limit` are
    // always looked up.
    bool rescale[3];
    uint32_t mul[3];
    uint32_t add[3];
    uint32_t shift[3];
    uint32_t limit[3];
    // The same tables, when they rescale to 8 bits, in 16-bit lanes: entry i
    // is (((i * mul16) >> 16) + add16) >> shift16 for every i up to `limit`.
    bool narrow[3];
    uint16_t mul16, add16, shift16;
    // Every table the identity up to `limit` (a deep source into its own depth).
    bool same;
};

struct DemosaicRowArgs {
    // Source rows as the method reads them: nearest neighbour: the red row
    // and the blue row; bilinear: above, centre, below; 5x5: the window.
    const unsigned char* rows[5];
    // Packed pixels: out[0]. Planes: red, green, blue.
    unsigned char* out[3];
    std::ptrdiff_t step;  // pixel step, in packed pixels or plane samples
    uint32_t count;       // pairs of columns (nearest, bilinear) or pixels
    // Values carried into the first pair. Nearest: the blue table entry and
    // the raw green sample. Bilinear: the samples left of the three rows.
    uint32_t carry[3];
    int32_t phase;  // bilinear: 1 for a centre row of red and green; 5x5: row phase & 1
    int32_t shift;  // 5x5: right shift after the division
    const uint16_t* lut[3];  // red, green, blue
    const DemosaicByteTables* bytes;
};

typedef void (*DemosaicRowFn)(const DemosaicRowArgs& args);
// Two consecutive rows of one walk, `second` one row below `first`: the
// bytes of the two calls of the one-row function, first then second.
typedef void (*DemosaicTwoRowFn)(const DemosaicRowArgs& first, const DemosaicRowArgs& second);

// Sums of the usable 2 by 2 cells of one pair of 8-bit mosaic rows, for the
// colour balance: a cell counts if its red, green (mean of two, shifted) and
// blue all lie in 21..249.
struct DemosaicBalanceSums {
    uint64_t red;
    uint64_t green;
    uint64_t blue;
    uint64_t count;
};
typedef void (*DemosaicBalanceFn)(const unsigned char* top, const unsigned char* bottom, uint32_t cells,
                                  DemosaicBalanceSums* sums);
// Where a cell's sites lie: red in the top row's even column and blue in
// the bottom row's odd one (RG), red and blue in the other columns (GR), or
// red below and blue above, green on the main diagonal (GB, and BG read as
// GB).
enum DemosaicCellLayout { kCellRG = 0, kCellGR = 1, kCellGB = 2 };

// Destination layouts and sample widths, the two indices of a path.
enum DemosaicLayout { kLayoutRGB = 0, kLayoutBGR = 1, kLayoutPlanar = 2 };
enum DemosaicWidth { kWidthByteToByte = 0, kWidthWordToByte = 1, kWidthWordToWord = 2 };

// The path of a source sample S and a destination pixel or plane sample D.
template <typename S, typename D>
struct PixelPath;
template <> struct PixelPath<BYTE, tRGBPIXEL> { enum { kLayout = kLayoutRGB, kWidth = kWidthByteToByte }; };
template <> struct PixelPath<WORD, tRGBPIXEL> { enum { kLayout = kLayoutRGB, kWidth = kWidthWordToByte }; };
template <> struct PixelPath<WORD, tRGBPIXEL16> { enum { kLayout = kLayoutRGB, kWidth = kWidthWordToWord }; };
template <> struct PixelPath<BYTE, tBGRPIXEL> { enum { kLayout = kLayoutBGR, kWidth = kWidthByteToByte }; };
template <> struct PixelPath<WORD, tBGRPIXEL> { enum { kLayout = kLayoutBGR, kWidth = kWidthWordToByte }; };
template <> struct PixelPath<WORD, tBGRPIXEL16> { enum { kLayout = kLayoutBGR, kWidth = kWidthWordToWord }; };
template <> struct PixelPath<BYTE, BYTE> { enum { kLayout = kLayoutPlanar, kWidth = kWidthByteToByte }; };
template <> struct PixelPath<WORD, BYTE> { enum { kLayout = kLayoutPlanar, kWidth = kWidthWordToByte }; };
template <> struct PixelPath<WORD, WORD> { enum { kLayout = kLayoutPlanar, kWidth = kWidthWordToWord }; };

// Copies a finished row out with streaming stores; the bytes are those of a
// plain copy.
typedef void (*DemosaicStreamFn)(unsigned char* to, const unsigned char* from, size_t count);

struct DemosaicRowSet {
    DemosaicRowFn nearest[3][3];   // [layout][width]
    DemosaicRowFn bilinear[3][3];  // [layout][width]
    DemosaicRowFn hq[3][3];        // [layout][width]
    DemosaicRowFn raw[3];          // [width]: the mosaic through the red table
    DemosaicRowFn mono[3];         // [width]: one row of the 5x5 brightness
    DemosaicBalanceFn balance[3];  // [DemosaicCellLayout]
    // [kLayoutRGB or kLayoutBGR]: 8-bit bilinear, two rows a call; null
    // where a level has none (the walk then goes row by row).
    DemosaicTwoRowFn bilinearTwo[2];
    DemosaicStreamFn stream;
};

class DemosaicRows {
public:
    // The portable set: the reference of every other.
    static const DemosaicRowSet& Portable();
    // The set of `level`, falling back to the portable functions where a
    // level has no variant of its own.
    static const DemosaicRowSet& For(KvCpuLevel level);
    // Low bytes and identity flags of three tables of at least 256 entries.
    static void FillByteTables(const uint16_t* red, const uint16_t* green, const uint16_t* blue,
                               DemosaicByteTables* out);
    // The rescale from `srcMax` to `dstMax` (largest values of the two
    // depths), for each table that follows it exactly up to srcMax.
    // True when the ten 5x5 kernels and their divisors have the shapes the
    // fast rows compute from sums shared between kernels; they then replace
    // the table-driven loop.
    static bool HqKernelsShared();
    static void FillRescale(const uint16_t* red, const uint16_t* green, const uint16_t* blue, uint32_t srcMax,
                            uint32_t dstMax, DemosaicByteTables* out);
};

// Filled by the per-level files; entries they leave null fall back to the
// portable functions.
void DemosaicRowsAvx2(DemosaicRowSet* set);
void DemosaicRowsAvx512(DemosaicRowSet* set);
// The 5x5 rows of each level, in files of their own.
void DemosaicHqRowsAvx2(DemosaicRowSet* set);
void DemosaicHqRowsAvx512(DemosaicRowSet* set);

#endif
