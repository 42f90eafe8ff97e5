// Sample loads and stores of the pixel loops, and the address of a
// destination row. Shared by the converters so that every loop reads and
// writes samples the same way.
#ifndef SAMPLE_IO_H
#define SAMPLE_IO_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "KvMath.h"
#include "MemoryAccess.h"

class SampleIO {
public:
    // 16-bit rows and planes carry no alignment guarantee (a chunk may start
    // at any byte), so samples go through memcpy; it compiles to plain moves.
    template <typename T>
    static uint32_t Load(const T* p)
    {
        T v;
        std::memcpy(&v, p, sizeof v);
        return v;
    }

    // Keeps the low bits that fit T: an 8-bit sample takes a table entry's
    // low byte.
    template <typename T>
    static void Store(T* p, uint32_t value)
    {
        const T v = static_cast<T>(value);
        std::memcpy(p, &v, sizeof v);
    }

    // Packed pixels are byte-aligned records, so member stores are safe.
    template <typename P>
    static void Put(P& pixel, uint32_t red, uint32_t green, uint32_t blue)
    {
        pixel.red = static_cast<decltype(pixel.red)>(red);
        pixel.green = static_cast<decltype(pixel.green)>(green);
        pixel.blue = static_cast<decltype(pixel.blue)>(blue);
    }

    // Byte address of destination pixel (x, y) of a region: the column and
    // row arithmetic wraps at 32 bits like the rest of the addressing. Null
    // when the view has no such row.
    static unsigned char* RowAddress(CMemoryAccess* view, uint32_t x, uint32_t y)
    {
        return view->GetImagePointer(KvWrap32(x), KvWrap32(y), 0);
    }

    // The three planes of a planar destination, red first, from the address
    // of the red sample: green lies one plane above it, blue two. The plane
    // distance is 32-bit and may wrap.
    static void Planes(unsigned char* red, int32_t planeSize, unsigned char* (&planes)[3])
    {
        const std::ptrdiff_t s = planeSize;
        planes[0] = red;
        planes[1] = red + s;
        planes[2] = red + 2 * s;
    }
};

#endif
