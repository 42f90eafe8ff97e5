#include "RowGuard.h"

#include <cstring>

#include "MemoryAccess.h"

namespace {

// Addresses as signed 64-bit numbers: user space addresses fit, and spans
// around a pointer near either end of a buffer can be formed without wrapping.
int64_t At(const void* p)
{
    return static_cast<int64_t>(reinterpret_cast<uintptr_t>(p));
}

// Room in front of and behind every scratch row.
const std::ptrdiff_t kPad = 64;

void Grow(std::vector<unsigned char>& v, std::ptrdiff_t bytes)
{
    if (static_cast<std::ptrdiff_t>(v.size()) < bytes)
        v.resize(static_cast<size_t>(bytes));
}

}  // namespace

CRowGuard::CRowGuard()
    : mSrcBegin(0),
      mSrcEnd(0),
      mDstBegin(0),
      mDstEnd(0),
      mReadSpan{0, 0},
      mWriteSpan{0, 0},
      mReadStride(0),
      mWriteStride(0),
      mReadSlots(kReadSlots),
      mWriteSlots(kWriteSlots),
      mPending{},
      mAnyPending(false)
{
}

sRowSpan CRowGuard::Span(int64_t count, int64_t step, int64_t bytes)
{
    if (count <= 0 || bytes <= 0)
        return sRowSpan{0, 0};
    const int64_t last = (count - 1) * step * bytes;
    return sRowSpan{last < 0 ? last : 0, (last > 0 ? last : 0) + bytes};
}

sEvenRows CRowGuard::EvenRows(CMemoryAccess& source, int32_t srcX, int32_t top, int32_t bottom,
                             CMemoryAccess& destination, int32_t dstX, int32_t dstTop, int32_t dstStep)
{
    sEvenRows rows = {};
    if (top < 0 || bottom <= top)
        return rows;
    rows.on = source.EvenRows(srcX, top, 1, bottom - top, 0, &rows.src, &rows.srcPitch) &&
              destination.EvenRows(dstX, dstTop, dstStep, bottom - top, 0, &rows.dst, &rows.dstPitch);
    return rows;
}

void CRowGuard::Begin(const CMemoryAccess& source, const CMemoryAccess& destination, sRowSpan read, sRowSpan write,
                      int readSlots, int writeSlots)
{
    mReadSlots = readSlots;
    mWriteSlots = writeSlots;
    mSrcBegin = reinterpret_cast<uintptr_t>(source.mpBasePointer);
    mSrcEnd = mSrcBegin + static_cast<uintptr_t>(source.BoundLength());
    mDstBegin = reinterpret_cast<uintptr_t>(destination.mpBasePointer);
    mDstEnd = mDstBegin + static_cast<uintptr_t>(destination.BoundLength());
    mReadSpan = read;
    mWriteSpan = write;
    mReadStride = (read.hi - read.lo) + 2 * kPad;
    mWriteStride = (write.hi - write.lo) + 2 * kPad;
    for (uintptr_t& p : mPending)
        p = 0;
    mAnyPending = false;
}

const unsigned char* CRowGuard::ReadCopy(const unsigned char* row, int slot)
{
    Grow(mRead, mReadStride * mReadSlots);
    unsigned char* scratch = mRead.data() + slot * mReadStride + kPad;
    const std::ptrdiff_t length = mReadSpan.hi - mReadSpan.lo;
    std::memset(scratch - kPad, 0, static_cast<size_t>(mReadStride));
    const int64_t a = At(row) + mReadSpan.lo;
    const int64_t from = a > static_cast<int64_t>(mSrcBegin) ? a : static_cast<int64_t>(mSrcBegin);
    const int64_t endA = a + length;
    const int64_t to = endA < static_cast<int64_t>(mSrcEnd) ? endA : static_cast<int64_t>(mSrcEnd);
    if (mSrcBegin != 0 && from < to)
        std::memcpy(scratch + (from - a), reinterpret_cast<const void*>(static_cast<uintptr_t>(from)),
                    static_cast<size_t>(to - from));
    return scratch - mReadSpan.lo;
}

unsigned char* CRowGuard::WriteCopy(unsigned char* row, int slot)
{
    Grow(mWrite, mWriteStride * mWriteSlots);
    unsigned char* scratch = mWrite.data() + slot * mWriteStride + kPad;
    const std::ptrdiff_t length = mWriteSpan.hi - mWriteSpan.lo;
    const int64_t a = At(row) + mWriteSpan.lo;
    const int64_t from = a > static_cast<int64_t>(mDstBegin) ? a : static_cast<int64_t>(mDstBegin);
    const int64_t endA = a + length;
    const int64_t to = endA < static_cast<int64_t>(mDstEnd) ? endA : static_cast<int64_t>(mDstEnd);
    // Bytes the row function leaves alone must come back as they were.
    if (mDstBegin != 0 && from < to)
        std::memcpy(scratch + (from - a), reinterpret_cast<const void*>(static_cast<uintptr_t>(from)),
                    static_cast<size_t>(to - from));
    mPending[slot] = static_cast<uintptr_t>(a);
    mAnyPending = true;
    return scratch - mWriteSpan.lo;
}

int64_t CRowGuard::JoinableRows(const sEvenRows& even, int64_t rows, int64_t width) const
{
    const std::ptrdiff_t readRow = mReadSpan.hi, writeRow = mWriteSpan.hi;
    if (!even.on || rows < 2 || width <= 0 || mReadSpan.lo != 0 || mWriteSpan.lo != 0 || readRow <= 0 ||
        writeRow <= 0 || even.srcPitch != readRow || even.dstPitch != writeRow || mSrcBegin == 0 || mDstBegin == 0)
        return 1;
    const int64_t src = At(even.src), dst = At(even.dst);
    const int64_t srcEnd = src + rows * readRow, dstEnd = dst + rows * writeRow;
    if (src < static_cast<int64_t>(mSrcBegin) || srcEnd > static_cast<int64_t>(mSrcEnd) ||
        dst < static_cast<int64_t>(mDstBegin) || dstEnd > static_cast<int64_t>(mDstEnd) ||
        (dst < srcEnd && src < dstEnd))
        return 1;
    // Pixel counts stay well inside the row functions' 32-bit widths.
    const int64_t most = (int64_t{1} << 30) / width;
    return most < 1 ? 1 : (most < rows ? most : rows);
}

void CRowGuard::FlushPending()
{
    mAnyPending = false;
    const std::ptrdiff_t length = mWriteSpan.hi - mWriteSpan.lo;
    for (int slot = 0; slot < kWriteSlots; ++slot) {
        if (mPending[slot] == 0)
            continue;
        const int64_t a = static_cast<int64_t>(mPending[slot]);
        mPending[slot] = 0;
        const int64_t from = a > static_cast<int64_t>(mDstBegin) ? a : static_cast<int64_t>(mDstBegin);
        const int64_t endA = a + length;
        const int64_t to = endA < static_cast<int64_t>(mDstEnd) ? endA : static_cast<int64_t>(mDstEnd);
        if (mDstBegin != 0 && from < to)
            std::memcpy(reinterpret_cast<void*>(static_cast<uintptr_t>(from)),
                        mWrite.data() + slot * mWriteStride + kPad + (from - a), static_cast<size_t>(to - from));
    }
}
