// Host buffers that end (or start) exactly at a page boundary with the
// neighbouring page inaccessible: a converter or a measurement that reads or
// writes one byte outside the buffer faults. Every result inside the buffer
// must equal the one made in a roomy buffer whose slack is zero.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <vector>

#include "ImgProc.h"
#include "KorvaPixelFormats.h"
#include "PixelFormatNode.h"

namespace {

// `size` usable bytes between two inaccessible pages, placed against the
// upper one or, with atStart, against the lower one.
class GuardedBuffer {
public:
    GuardedBuffer(size_t size, bool atStart) : mSize(size)
    {
        const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t inner = (size + page - 1) / page * page;
        mLength = inner + 2 * page;
        void* m = mmap(nullptr, mLength, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(MAP_FAILED, m);
        mMap = static_cast<unsigned char*>(m);
        mprotect(mMap, page, PROT_NONE);
        mprotect(mMap + page + inner, page, PROT_NONE);
        mData = atStart ? mMap + page : mMap + page + inner - size;
    }
    ~GuardedBuffer() { munmap(mMap, mLength); }
    unsigned char* data() const { return mData; }
    int size() const { return static_cast<int>(mSize); }

private:
    size_t mSize;
    size_t mLength;
    unsigned char* mMap;
    unsigned char* mData;
};

// A frame of the given format at the start of `buffer`, its image chunk
// `length` bytes.
void Lay(CImgProc& image, int format, int w, int h, unsigned char* buffer, int bufferLength, int length)
{
    ASSERT_EQ(RESULT_OK, image.setBuffer(buffer, bufferLength));
    image.setSize(w, h);
    image.setPixelFormat(format);
    ASSERT_EQ(RESULT_OK, image.setChunkOfData(KORVA_CHUNK_IMAGE, buffer, length, 0, length));
    image.setState(KORVA_IMAGESTATE_OK);
}

struct Outcome {
    int transform;
    std::vector<unsigned char> bytes;
    int handOver;
    std::vector<unsigned char> received;
    int average;
    double value;
};

// One source format into one destination format and a measurement. The
// roomy run hands over longer buffers, the source's slack zeroed, so that
// nothing is clipped there: it is the reference for the bytes inside.
Outcome Run(int source, int destination, int demosaic, int w, int h, bool guarded, bool atStart, bool halfChunk)
{
    CImgProc probe;
    probe.setSize(w, h);
    probe.setPixelFormat(source);
    int imageLength = 0;
    probe.getImageLength(&imageLength);
    // A chunk (and buffer) shorter than the image leaves rows that start
    // inside and end outside.
    const int wanted = halfChunk ? imageLength / 2 + 1 : imageLength;
    const int sourceLength = wanted > 0 ? wanted : 1;

    std::vector<unsigned char> pattern(static_cast<size_t>(sourceLength));
    for (int i = 0; i < sourceLength; ++i)
        pattern[static_cast<size_t>(i)] = static_cast<unsigned char>(i * 37 + 11 + (i >> 7));

    GuardedBuffer guardedSource(static_cast<size_t>(sourceLength), atStart);
    std::vector<unsigned char> roomySource(static_cast<size_t>(sourceLength) + 4096, 0);
    unsigned char* in = guarded ? guardedSource.data() : roomySource.data();
    std::memcpy(in, pattern.data(), pattern.size());

    CImgProc image;
    const int slack = guarded ? 0 : 4096;
    Lay(image, source, w, h, in, sourceLength + slack, sourceLength);
    image.setDemosaic(static_cast<KORVA_Demosaic>(demosaic));
    image.setDestinationPixelFormat(destination);
    Outcome o;
    int need = 0;
    image.getTransformBufferLength(&need);
    GuardedBuffer guardedTarget(static_cast<size_t>(need > 0 ? need : 1), atStart);
    std::vector<unsigned char> roomyTarget(static_cast<size_t>(need) + 4096, 0);
    unsigned char* out = guarded ? guardedTarget.data() : roomyTarget.data();
    std::memset(out, 0, static_cast<size_t>(need));
    o.transform = image.doTransform(out, need + slack);
    o.bytes.assign(out, out + need);

    // The same into an object whose buffer is the host's, of that length.
    GuardedBuffer guardedReceiver(static_cast<size_t>(need > 0 ? need : 1), atStart);
    std::vector<unsigned char> roomyReceiver(static_cast<size_t>(need) + 4096, 0);
    unsigned char* at = guarded ? guardedReceiver.data() : roomyReceiver.data();
    std::memset(at, 0, static_cast<size_t>(need));
    CImgProc receiver;
    receiver.setBuffer(at, need + slack);
    receiver.setDestinationPixelFormat(destination);
    o.handOver = image.doTransformImageObject(&receiver);
    o.received.assign(at, at + need);

    o.value = -1.0;
    o.average = image.getAverage(&o.value, 0, 0, w, h);
    return o;
}

void Expect(int source, int destination, int demosaic, int w, int h, bool halfChunk = false)
{
    const Outcome roomy = Run(source, destination, demosaic, w, h, false, false, halfChunk);
    for (bool atStart : {false, true}) {
        const Outcome guarded = Run(source, destination, demosaic, w, h, true, atStart, halfChunk);
        SCOPED_TRACE(testing::Message() << std::hex << source << " -> " << destination << std::dec << " method "
                                        << demosaic << " size " << w << "x" << h << (atStart ? " start" : " end")
                                        << (halfChunk ? " half chunk" : ""));
        EXPECT_EQ(roomy.transform, guarded.transform);
        EXPECT_TRUE(roomy.bytes == guarded.bytes);
        EXPECT_EQ(roomy.handOver, guarded.handOver);
        EXPECT_TRUE(roomy.received == guarded.received);
        EXPECT_EQ(roomy.average, guarded.average);
        EXPECT_EQ(roomy.value, guarded.value);
    }
}

// The planar converter stops the process on any destination but one.
bool StopsByDesign(int source, uint32_t destination)
{
    const bool planar = source == KORVA_PIXTYPE_RGB8_PLANAR || source == KORVA_PIXTYPE_RGB10_PLANAR ||
                        source == KORVA_PIXTYPE_RGB12_PLANAR;
    return planar && destination != static_cast<uint32_t>(KORVA_PIXTYPE_RGB8_PLANAR);
}

const int kSources[] = {
    KORVA_PIXTYPE_MONO8,         KORVA_PIXTYPE_MONO10,        KORVA_PIXTYPE_MONO12_PACKED,
    KORVA_PIXTYPE_MONO10_PACKED, KORVA_PIXTYPE_MONO16,        KORVA_PIXTYPE_BAYGR8,
    KORVA_PIXTYPE_BAYBG12,       KORVA_PIXTYPE_RGB8_PACKED,   KORVA_PIXTYPE_BGRA8_PACKED,
    KORVA_PIXTYPE_RGB12_PACKED,  KORVA_PIXTYPE_RGB8_PLANAR,   KORVA_PIXTYPE_RGB10_PLANAR,
    KORVA_PIXTYPE_YUV411_PACKED, KORVA_PIXTYPE_YUV422_PACKED, KORVA_PIXTYPE_YUV444_PACKED,
};

// Widths of every residue mod 8 (and so mod 4), heights 1 to 3 and larger.
const int kWidths[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 14, 23};
const int kHeights[] = {1, 2, 3, 6};

TEST(GuardedBuffer, EveryDestinationOfEverySourceFamily)
{
    CImgProc catalogue;
    for (int source : kSources) {
        const bool bayer = (static_cast<uint32_t>(source) & 0xFFFF) >= 0x0008 &&
                           (static_cast<uint32_t>(source) & 0xFFFF) <= 0x0013;
        const std::vector<int> methods =
            bayer ? std::vector<int>{KORVA_DEMOSAIC_NEAREST, KORVA_DEMOSAIC_BILINEAR, KORVA_DEMOSAIC_MONO}
                  : std::vector<int>{KORVA_DEMOSAIC_NEAREST};
        for (uint32_t destination : catalogue.mPixelFormatMap[static_cast<uint32_t>(source)].mlDestinationFormats)
            for (int method : StopsByDesign(source, destination) ? std::vector<int>{} : methods)
                for (int w : kWidths)
                    for (int h : kHeights)
                        Expect(source, static_cast<int>(destination), method, w, h);
    }
}

// The pairs a host reaches because the bare-buffer transform checks no
// destination list: deep or packed mono into the packed layouts, YUV into
// another YUV layout.
TEST(GuardedBuffer, PairsOutsideTheDestinationLists)
{
    const int pairs[][2] = {
        {KORVA_PIXTYPE_MONO12, KORVA_PIXTYPE_MONO12_PACKED},
        {KORVA_PIXTYPE_MONO16, KORVA_PIXTYPE_MONO10_PACKED},
        {KORVA_PIXTYPE_MONO10_PACKED, KORVA_PIXTYPE_MONO12_PACKED},
        {KORVA_PIXTYPE_YUV444_PACKED, KORVA_PIXTYPE_YUV422_PACKED},
        {KORVA_PIXTYPE_YUV422_PACKED, KORVA_PIXTYPE_YUV411_PACKED},
        {KORVA_PIXTYPE_YUV411_PACKED, KORVA_PIXTYPE_YUV444_PACKED},
        {KORVA_PIXTYPE_RGB12_PACKED, KORVA_PIXTYPE_RGB8_PLANAR},
    };
    for (const auto& pair : pairs)
        for (int w : kWidths)
            for (int h : kHeights)
                Expect(pair[0], pair[1], KORVA_DEMOSAIC_NEAREST, w, h);
}

// Frames cut short by the host: the source ends inside a row, also for the
// converters that walk the whole frame from one pointer.
TEST(GuardedBuffer, SourceChunkShorterThanTheImage)
{
    const int pairs[][3] = {
        {KORVA_PIXTYPE_MONO12_PACKED, KORVA_PIXTYPE_MONO8, KORVA_DEMOSAIC_NEAREST},
        {KORVA_PIXTYPE_BAYRG8, KORVA_PIXTYPE_MONO8, KORVA_DEMOSAIC_NEAREST},
        {KORVA_PIXTYPE_BAYGB12, KORVA_PIXTYPE_BGR8_PACKED, KORVA_DEMOSAIC_BILINEAR},
        {KORVA_PIXTYPE_BAYBG8, KORVA_PIXTYPE_RGB8_PACKED, KORVA_DEMOSAIC_NEAREST},
        {KORVA_PIXTYPE_RGB12_PACKED, KORVA_PIXTYPE_RGB8_PACKED, KORVA_DEMOSAIC_NEAREST},
        {KORVA_PIXTYPE_RGB10_PLANAR, KORVA_PIXTYPE_RGB8_PLANAR, KORVA_DEMOSAIC_NEAREST},
        {KORVA_PIXTYPE_YUV422_PACKED, KORVA_PIXTYPE_BGRA8_PACKED, KORVA_DEMOSAIC_NEAREST},
    };
    for (const auto& pair : pairs)
        for (int w : {5, 6, 7, 8, 13})
            for (int h : {3, 6, 9})
                Expect(pair[0], pair[1], pair[2], w, h, true);
}

// The colour balance reads two mosaic rows per cell row from one pointer.
TEST(GuardedBuffer, BalanceOfAFrameCutShort)
{
    for (int w : {6, 7, 10})
        for (int h : {4, 5, 9}) {
            const int length = w * h / 2 + 1;
            double roomy[3] = {0, 0, 0}, guarded[3] = {0, 0, 0};
            int results[2];
            for (int run = 0; run < 2; ++run) {
                GuardedBuffer page(static_cast<size_t>(length), false);
                std::vector<unsigned char> spacious(static_cast<size_t>(length) + 4096, 0);
                unsigned char* at = run == 0 ? spacious.data() : page.data();
                for (int i = 0; i < length; ++i)
                    at[i] = static_cast<unsigned char>(40 + (i * 29) % 180);
                CImgProc image;
                Lay(image, KORVA_PIXTYPE_BAYRG8, w, h, at, run == 0 ? length + 4096 : length, length);
                double* out = run == 0 ? roomy : guarded;
                results[run] = image.getDemosaicColorBalance(&out[0], &out[1], &out[2]);
            }
            SCOPED_TRACE(testing::Message() << w << "x" << h);
            EXPECT_EQ(results[0], results[1]);
            for (int c = 0; c < 3; ++c)
                EXPECT_EQ(roomy[c], guarded[c]);
        }
}

}  // namespace
