// Pixel addresses of one view, the same as CMemoryAccess::GetImagePointer
// gives for plane 0, for loops that need one per row or per border pixel.
// Taken once per run: the view's geometry, format and image chunk must not
// change while it is in use. Where the view's byte factor is a whole number
// (every demosaic source and destination) the address is formed in integers,
// which gives the same bits as the view's double arithmetic: the product of
// a 32-bit index and a small whole factor is exact in a double, and its low
// 32 bits are the 32-bit product. Other factors go to the view.
#ifndef IMAGE_ADDRESS_H
#define IMAGE_ADDRESS_H

#include <cstdint>

#include "KorvaTypes.h"
#include "KvMath.h"
#include "MemoryAccess.h"

class CImageAddress {
public:
    explicit CImageAddress(CMemoryAccess* view) : mView(view)
    {
        const sKORVAP_ChunkData& image = view->mChunkData[KORVA_CHUNK_IMAGE];
        mAbsent = image.mpChunkBase == nullptr && image.miChunkLength == 0;
        mBase = reinterpret_cast<uintptr_t>(image.mpChunkBase) +
                static_cast<uintptr_t>(static_cast<intptr_t>(image.miChunkDataOffset));
        // Bytes behind the data offset that an offset may reach.
        mRoom = static_cast<int64_t>(image.miChunkLength) - view->miDataOffset;
        mLeft = KvU32(view->miRoiLeft);
        mTop = KvU32(view->miRoiTop);
        mWidth = KvU32(view->miWidth);
        const double factor = view->_GetBytePerPixel();
        mWhole = factor >= 1.0 && factor <= 16.0 && factor == static_cast<double>(static_cast<int>(factor));
        mFactor = mWhole ? static_cast<int64_t>(factor) : 0;
    }

    unsigned char* At(int32_t x, int32_t y) const
    {
        if (!mWhole)
            return mView->GetImagePointer(x, y, 0);
        if (mAbsent)
            return nullptr;
        const int32_t index = KvWrap32(KvU32(x) + mLeft + (KvU32(y) + mTop) * mWidth);
        const int64_t offset = static_cast<int64_t>(index) * mFactor;
        if (offset > mRoom)
            return nullptr;
        return reinterpret_cast<unsigned char*>(mBase + static_cast<uint32_t>(offset));
    }

    // True where every pixel of columns 0 to columns - 1 and rows 0 to
    // rows - 1 lies at At(0, 0) + y * pitch + x * step, none of them null or
    // wrapped; pitch and step are then set (both at least 0).
    bool Affine(int32_t columns, int32_t rows, int64_t* pitch, int64_t* step) const
    {
        if (!mWhole || mAbsent || columns <= 0 || rows <= 0)
            return false;
        // The largest index, formed without wrapping: every other one is
        // smaller, so none wraps if it stays below 2^31.
        const uint64_t down = static_cast<uint64_t>(rows - 1) + mTop;
        if (mWidth != 0 && down > static_cast<uint64_t>(INT32_MAX) / mWidth)
            return false;
        const uint64_t last = static_cast<uint64_t>(columns - 1) + mLeft + down * mWidth;
        if (last > static_cast<uint64_t>(INT32_MAX))
            return false;
        const int64_t offset = static_cast<int64_t>(last) * mFactor;
        if (offset > mRoom || offset > static_cast<int64_t>(UINT32_MAX))
            return false;
        *pitch = static_cast<int64_t>(mWidth) * mFactor;
        *step = mFactor;
        return true;
    }

private:
    CMemoryAccess* mView;
    uintptr_t mBase;
    int64_t mRoom;
    int64_t mFactor;
    uint32_t mLeft, mTop, mWidth;
    bool mAbsent;
    bool mWhole;
};

#endif
