// Bilinear demosaic: three source rows make one destination row, in plain
// power-of-two sums, with the tone table applied to the interpolated value.
// The result lies one column to the right of the mosaic.
// Included by ImgProcConvDemosaic.cpp.
#ifndef IMGPROCCONVDEMOSAIC_BL_INL
#define IMGPROCCONVDEMOSAIC_BL_INL

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ImgProcConvDemosaic.h"
#include "MemoryAccess.h"
#include "PixelTypes.h"

namespace bllut {

// 16-bit rows and planes carry no alignment guarantee (a chunk may start at
// any byte), so samples go through memcpy; it compiles to plain moves.
template <typename T>
inline uint32_t Load(const T* p)
{
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <typename T>
inline void Store(T* p, uint32_t value)
{
    const T v = static_cast<T>(value);
    std::memcpy(p, &v, sizeof v);
}

// The sample just before a row in memory: the last of the row above, or a
// header byte in front of the image. Before the buffer's first byte there is
// nothing that belongs to us; 0 stands in there, which is also what the zero
// guard zone in front of the object's own buffers holds, so both kinds of
// buffer give the same first pixel.
template <typename S>
inline uint32_t SampleBefore(const S* row, const unsigned char* bufferStart)
{
    const uintptr_t at = reinterpret_cast<uintptr_t>(row);
    const uintptr_t start = reinterpret_cast<uintptr_t>(bufferStart);
    if (bufferStart != nullptr && at >= start && at - start >= sizeof(S))
        return Load(row - 1);
    return 0;
}

// Packed pixels are byte-aligned records, so member stores are safe. An
// 8-bit sample keeps the table entry's low byte.
template <typename D>
struct PackedOut {
    D* pixels;
    std::ptrdiff_t step;
    void operator()(std::ptrdiff_t k, uint32_t red, uint32_t green, uint32_t blue) const
    {
        D& pixel = pixels[k * step];
        pixel.red = static_cast<decltype(pixel.red)>(red);
        pixel.green = static_cast<decltype(pixel.green)>(green);
        pixel.blue = static_cast<decltype(pixel.blue)>(blue);
    }
};

template <typename D>
struct PlanarOut {
    D* red;
    D* green;
    D* blue;
    std::ptrdiff_t step;
    void operator()(std::ptrdiff_t k, uint32_t r, uint32_t g, uint32_t b) const
    {
        Store(red + k * step, r);
        Store(green + k * step, g);
        Store(blue + k * step, b);
    }
};

struct Tables {
    const uint16_t* red;
    const uint16_t* green;
    const uint16_t* blue;
};

// One row of pairs. a, b, c are the rows above, at and below the centre;
// the column left of each pair is carried from the pair before, the first
// one is given. kRedRow: the centre row holds red at even and green at odd
// columns, else green at even and blue at odd columns.
template <bool kRedRow, typename S, typename Out>
void Row(const S* a, const S* b, const S* c, uint32_t aLeft, uint32_t bLeft, uint32_t cLeft, uint32_t pairs,
         const Tables& t, const Out& out)
{
    for (uint32_t p = 0; p < pairs; ++p) {
        const std::ptrdiff_t i = 2 * static_cast<std::ptrdiff_t>(p);
        const uint32_t a0 = Load(a + i), a1 = Load(a + i + 1), a2 = Load(a + i + 2);
        const uint32_t b0 = Load(b + i), b1 = Load(b + i + 1), b2 = Load(b + i + 2);
        const uint32_t c0 = Load(c + i), c1 = Load(c + i + 1), c2 = Load(c + i + 2);
        if (kRedRow) {
            out(i, t.red[b0], t.green[(bLeft + b1 + a0 + c0) >> 2], t.blue[(aLeft + a1 + cLeft + c1) >> 2]);
            out(i + 1, t.red[(b0 + b2) >> 1], t.green[(a0 + a2 + c0 + c2 + 4 * b1) >> 3], t.blue[(a1 + c1) >> 1]);
        } else {
            out(i, t.red[(a0 + c0) >> 1], t.green[(aLeft + a1 + cLeft + c1 + 4 * b0) >> 3], t.blue[(bLeft + b1) >> 1]);
            out(i + 1, t.red[(a0 + a2 + c0 + c2) >> 2], t.green[(b0 + b2 + a1 + c1) >> 2], t.blue[b1]);
        }
        aLeft = a1;
        bLeft = b1;
        cLeft = c1;
    }
}

template <typename S, typename Out>
void Rows(int rowPhase, uint32_t pairs, S** rows, const unsigned char* bufferStart, const Tables& t, const Out& out)
{
    const S* const a = rows[0];
    const S* const b = rows[1];
    const S* const c = rows[2];
    const uint32_t aLeft = SampleBefore(a, bufferStart);
    const uint32_t bLeft = SampleBefore(b, bufferStart);
    const uint32_t cLeft = SampleBefore(c, bufferStart);
    if (rowPhase & 1)
        Row<true>(a, b, c, aLeft, bLeft, cLeft, pairs, t, out);
    else
        Row<false>(a, b, c, aLeft, bLeft, cLeft, pairs, t, out);
}

// Pairs in a row of `columns` (the destination width minus 1); 0 when the
// row is too short for one. Pairs centred on columns 0 to columns - 3.
inline uint32_t Pairs(int columns)
{
    if (columns - 1 < 2)
        return 0;
    return (static_cast<uint32_t>(columns - 3) >> 1) + 1;
}

}  // namespace bllut

// Returns `columns` if nothing was written, else miMatrixSize, like the other
// neighbourhood methods; the caller does not look at it.
template <typename S, typename D, typename SD>
int CImgProcConvDemosaic::DemosaicTemplate_BLLUT(int rowPhase, int columns, S** rows, D* destination, SD, int step)
{
    const uint32_t pairs = bllut::Pairs(columns);
    if (pairs == 0)
        return columns;
    const bllut::Tables tables = {mpLUTRed, mpLUTGreen, mpLUTBlue};
    const bllut::PackedOut<D> out = {destination, step};
    // The red phase flag is not looked at: GR and BG sources are read with
    // the sites of RG and GB.
    bllut::Rows(rowPhase, pairs, rows, mpMemSrc->mpBasePointer, tables, out);
    return miMatrixSize;
}

template <typename S, typename D, typename SD>
int CImgProcConvDemosaic::DemosaicTemplate_BLLUT(int rowPhase, int columns, S** rows, D** destination, SD, int step,
                                                 int redAtOdd)
{
    const uint32_t pairs = bllut::Pairs(columns);
    // Planes are only made for sources with red in an even column; GR and BG
    // leave the interior as it was.
    if (pairs == 0 || redAtOdd != 0)
        return columns;
    const bllut::Tables tables = {mpLUTRed, mpLUTGreen, mpLUTBlue};
    // Planes come in the order blue, green, red.
    const bllut::PlanarOut<D> out = {destination[2], destination[1], destination[0], step};
    bllut::Rows(rowPhase, pairs, rows, mpMemSrc->mpBasePointer, tables, out);
    return miMatrixSize;
}

#endif
