// Keeps a converter's row functions inside the two buffers of a run.
//
// A row function reads and writes a fixed byte range around its row pointers
// and knows nothing of buffer ends. Before each row the walk asks the guard
// for the pointers to hand over: the row's own when its range lies inside the
// buffer (the ordinary case, two compares per row), otherwise a scratch row.
// A source scratch row holds the buffer's bytes and 0 for every byte outside
// it; a destination scratch row starts with the buffer's current bytes and
// only its part inside the buffer is copied back by Flush. So the bytes
// inside come out exactly as the row function makes them, and nothing
// outside is read or written. The scratch grows to the largest row seen and
// is kept, so a stream of frames allocates once.
#ifndef ROW_GUARD_H
#define ROW_GUARD_H

#include <cstddef>
#include <cstdint>
#include <vector>

class CMemoryAccess;

// Row addresses of a run worked out once: source rows top, top + 1, ...,
// destination rows dstTop, dstTop + dstStep, ... (32-bit row numbers, as the
// walks compute them). `on` is false where either view must be asked row by
// row (CMemoryAccess::EvenRows).
struct sEvenRows {
    bool on;
    unsigned char* src;
    unsigned char* dst;
    std::ptrdiff_t srcPitch;
    std::ptrdiff_t dstPitch;
    const unsigned char* Src(int64_t k) const { return src + k * srcPitch; }
    unsigned char* Dst(int64_t k) const { return dst + k * dstPitch; }
};

// Bytes [lo, hi) around a row pointer that one row function call touches.
struct sRowSpan {
    std::ptrdiff_t lo;
    std::ptrdiff_t hi;
};

class CRowGuard {
public:
    static const int kReadSlots = 6;
    static const int kWriteSlots = 3;

    CRowGuard();

    // Span of `count` elements of `bytes` bytes, `step` elements apart.
    static sRowSpan Span(int64_t count, int64_t step, int64_t bytes);

    // Rows top .. bottom - 1 of plane 0 of both views; off for an empty or
    // negative range.
    static sEvenRows EvenRows(CMemoryAccess& source, int32_t srcX, int32_t top, int32_t bottom,
                              CMemoryAccess& destination, int32_t dstX, int32_t dstTop, int32_t dstStep);

    // Fixes the buffers, spans and number of slots of one run. Reads are
    // checked against the source view's buffer, writes against the
    // destination view's.
    void Begin(const CMemoryAccess& source, const CMemoryAccess& destination, sRowSpan read, sRowSpan write,
               int readSlots = kReadSlots, int writeSlots = kWriteSlots);

    // Inline: walks ask for every row, and a call costs as much as the check.
    bool ReadInside(const void* row) const { return Inside(mSrcBegin, mSrcEnd, row, mReadSpan); }
    bool WriteInside(const void* row) const { return Inside(mDstBegin, mDstEnd, row, mWriteSpan); }

    // The row itself if its read span is inside, else a zero-padded copy.
    const unsigned char* Read(const unsigned char* row, int slot)
    {
        return ReadInside(row) ? row : ReadCopy(row, slot);
    }
    // Always the copy; for walks that hand several rows over together.
    const unsigned char* ReadCopy(const unsigned char* row, int slot);
    // Start of the read scratch: every copied row lies at least 64 bytes
    // after it, and the bytes in front of a row's span are 0.
    const unsigned char* ReadBase() const { return mRead.data(); }

    // The row itself if its write span is inside, else a scratch row whose
    // in-buffer part Flush copies back.
    unsigned char* Write(unsigned char* row, int slot) { return WriteInside(row) ? row : WriteCopy(row, slot); }
    unsigned char* WriteCopy(unsigned char* row, int slot);
    // Distance between two write slots, for row functions that take one
    // pointer and find further planes at a fixed distance.
    std::ptrdiff_t WriteStride() const { return mWriteStride; }

    // How many of the rows (at most `rows`) one call of a row function may
    // take as a single row of that many times `width` pixels: where both
    // views' rows follow each other without a gap, every row's span is just
    // its own bytes, all of them lie inside the buffers and the two ranges
    // do not overlap. 1 where they cannot be joined. Only for row functions
    // whose every pixel depends on its own source pixel alone.
    int64_t JoinableRows(const sEvenRows& even, int64_t rows, int64_t width) const;

    // Copies back the in-buffer bytes of every scratch row written since the
    // last Flush.
    void Flush()
    {
        if (mAnyPending)
            FlushPending();
    }

private:
    // Addresses as signed 64-bit numbers: user space addresses fit, and spans
    // around a pointer near either end of a buffer form without wrapping.
    static bool Inside(uintptr_t begin, uintptr_t end, const void* row, sRowSpan span)
    {
        const int64_t at = static_cast<int64_t>(reinterpret_cast<uintptr_t>(row));
        return begin != 0 && at + span.lo >= static_cast<int64_t>(begin) && at + span.hi <= static_cast<int64_t>(end);
    }
    void FlushPending();

    CRowGuard(const CRowGuard&) = delete;
    CRowGuard& operator=(const CRowGuard&) = delete;

    uintptr_t mSrcBegin, mSrcEnd;
    uintptr_t mDstBegin, mDstEnd;
    sRowSpan mReadSpan, mWriteSpan;
    std::ptrdiff_t mReadStride, mWriteStride;
    int mReadSlots, mWriteSlots;
    std::vector<unsigned char> mRead;   // grow-only
    std::vector<unsigned char> mWrite;  // grow-only
    uintptr_t mPending[kWriteSlots];    // targets of the written slots, 0 if none
    bool mAnyPending;
};

#endif
