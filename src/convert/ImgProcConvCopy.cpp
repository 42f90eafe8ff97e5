#include "ImgProcConvCopy.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ImgProc.h"
#include "KvMath.h"
#include "MemoryAccess.h"
#include "SampleIO.h"

namespace {

// Moves `count` elements of one row; a wider source keeps its low bits.
// The destination advances `stepX` elements per source element. The odd
// remainder goes first so that the main loop runs in branch-free blocks of
// eight.
template <typename S, typename D, int SD>
void CopyRow(const unsigned char* src, unsigned char* dst, int32_t count, int32_t stepX)
{
    const std::ptrdiff_t dstStep = static_cast<std::ptrdiff_t>(stepX) * SD;
    int32_t rest = count % 8;
    for (; rest > 0; --rest) {
        SampleIO::Store(reinterpret_cast<D*>(dst), SampleIO::Load(reinterpret_cast<const S*>(src)));
        src += sizeof(S);
        dst += dstStep;
    }
    for (int32_t blocks = count / 8; blocks > 0; --blocks) {
        for (int k = 0; k < 8; ++k) {
            SampleIO::Store(reinterpret_cast<D*>(dst), SampleIO::Load(reinterpret_cast<const S*>(src)));
            src += sizeof(S);
            dst += dstStep;
        }
    }
}

// Equal element widths and a step of one make the row one block copy.
template <int SD>
void CopyWhole(const unsigned char* src, unsigned char* dst, int32_t count, int32_t /*stepX*/)
{
    std::memcpy(dst, src, static_cast<size_t>(count) * SD);
}

}  // namespace

CopyRowFunction PickCopyRow(double srcBytePerPixel, int32_t srcBpp, int32_t stepX, KvCpuLevel level)
{
    // Only the source's element width decides; the format code is not looked
    // at, so multi-byte pixels are copied one short element each.
    const bool vector = stepX == 1 && level != KvCpuLevel::Baseline;
    if (srcBytePerPixel == 1.0)
        return vector ? CopyWhole<1> : CopyRow<uint8_t, uint8_t, 1>;
    if (static_cast<double>(srcBpp) <= 8.0)
        return CopyRow<uint16_t, uint8_t, 1>;
    return vector ? CopyWhole<2> : CopyRow<uint16_t, uint16_t, 2>;
}

CImgProcConvCopy::CImgProcConvCopy() {}

CImgProcConvCopy::~CImgProcConvCopy() {}

bool CImgProcConvCopy::OnConvert()
{
    mpImgProc->createLookUpTables(1.0, 1.0, 1.0, 1.0);

    const CopyRowFunction copyRow = PickCopyRow(mpMemSrc->mdBytePerPixel, mpMemSrc->miBppEff, miStepX, KvCpuActive());

    // Element count per row: the width times the samples per element, in
    // 32 bits as everywhere in the addressing. It is the same for every row,
    // so an empty row means nothing at all to copy.
    const int32_t count =
        KvWrap32(static_cast<uint32_t>(mRectDst.Width()) * static_cast<uint32_t>(mpMemDst->miCanals));
    if (count < 1)
        return true;

    const bool byteSource = mpMemSrc->mdBytePerPixel == 1.0;
    mRowGuard.Begin(*mpMemSrc, *mpMemDst, CRowGuard::Span(count, 1, byteSource ? 1 : 2),
                    CRowGuard::Span(count, miStepX, byteSource || mpMemSrc->miBppEff <= 8 ? 1 : 2));
    const uint32_t top = static_cast<uint32_t>(mRectSrc.top);
    const uint32_t bottom = static_cast<uint32_t>(mRectSrc.bottom);
    const sEvenRows even = CRowGuard::EvenRows(*mpMemSrc, 0, mRectSrc.top, mRectSrc.bottom, *mpMemDst, miDstStartX,
                                               KvWrap32(static_cast<uint32_t>(miStepY) * top +
                                                        static_cast<uint32_t>(miDstStartY)),
                                               miStepY);
    for (uint32_t y = top; y < bottom; ++y) {
        const unsigned char* src = even.on ? even.Src(y - top) : mpMemSrc->GetImagePointer(0, KvWrap32(y), 0);
        const int32_t dstY = KvWrap32(static_cast<uint32_t>(miStepY) * y + static_cast<uint32_t>(miDstStartY));
        unsigned char* dst = even.on ? even.Dst(y - top) : mpMemDst->GetImagePointer(miDstStartX, dstY, 0);
        // Equal regions make a missing row impossible after Convert's checks;
        // should one turn up anyway it is left alone rather than written
        // through null.
        if (src == nullptr || dst == nullptr)
            continue;
        copyRow(mRowGuard.Read(src, 0), mRowGuard.Write(dst, 0), count, miStepX);
        mRowGuard.Flush();
    }
    return true;
}
