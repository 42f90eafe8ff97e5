// Sequences of image-interface calls on three objects with arbitrary
// arguments, as a careless host might make them. Host buffers are allocated
// at exactly the length handed over, so AddressSanitizer sees every byte
// outside. Left out: a transform of an object into itself, pairs on which
// the plug-in stops by design, and nulls where no null check exists.
#include "FuzzInput.h"

#include <climits>
#include <cstdint>
#include <memory>
#include <vector>

#include "ImgProc.h"
#include "KorvaPixelFormats.h"
#include "MemoryAccess.h"

extern "C" const char* __asan_default_options()
{
    // allocateBuffer of a huge size must fail as the host would see it.
    return "allocator_may_return_null=1";
}

namespace {

const int kMethods[] = {0, 1, 2, 3, 100, 101, 102, -1, 7};

// Every code of the plug-in's own catalogue, 0 and codes without a record.
std::vector<int> FormatCodes()
{
    CImgProc catalogue;
    std::vector<int> codes = {0, 0x02100032, 0x02300033, 0x7FFFFFFF};
    for (const auto& entry : catalogue.mPixelFormatMap)
        codes.push_back(static_cast<int>(entry.first));
    return codes;
}

// The planar converter serves only RGB8_PLANAR and the YUV converter a few
// destinations; both assert on any other. Asked of the source's own record,
// for its wish (0: its own format).
bool StopsByDesign(CImgProc& source, uint32_t wish)
{
    const uint32_t from = source.mMemSrc.miPixelFormat, destination = wish == 0 ? from : wish;
    const auto found = source.mPixelFormatMap.find(from);
    if (found == source.mPixelFormatMap.end())
        return false;
    const CImgProcConv* converter = found->second.mpFormatConverter;
    if (converter == &source.mConvRGBPlanar)
        return destination != static_cast<uint32_t>(KORVA_PIXTYPE_RGB8_PLANAR);
    if (converter != &source.mConvYUV)
        return false;
    for (int served : {KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_BGR8_PACKED, KORVA_PIXTYPE_RGBA8_PACKED,
                       KORVA_PIXTYPE_BGRA8_PACKED, KORVA_PIXTYPE_MONO8, KORVA_PIXTYPE_YUV411_PACKED,
                       KORVA_PIXTYPE_YUV422_PACKED, KORVA_PIXTYPE_YUV444_PACKED})
        if (destination == static_cast<uint32_t>(served))
            return false;
    return true;
}

struct Host {
    CFuzzInput& in;
    std::unique_ptr<CImgProc> objects[3];
    std::vector<std::unique_ptr<unsigned char[]>> buffers;  // alive until the end
    std::vector<unsigned char*> abandoned;

    explicit Host(CFuzzInput& provider) : in(provider) {}

    ~Host()
    {
        for (auto& o : objects)
            o.reset();
        for (unsigned char* p : abandoned)
            KvReleaseGuarded(p);
    }

    CImgProc& Pick() { return *objects[in.Range(0, 2)]; }

    int Size() { return in.Range(-2, 200); }

    int Length()
    {
        const int kind = in.Range(0, 7);
        return kind == 0 ? INT_MIN : kind == 1 ? -1 : in.Range(0, 65535);
    }

    // A host buffer of exactly `length` bytes (one byte when the length is
    // not positive), filled with a pattern the input chooses.
    unsigned char* Buffer(int length)
    {
        const size_t n = length > 0 ? static_cast<size_t>(length) : 1;
        buffers.emplace_back(new unsigned char[n]);
        unsigned char* p = buffers.back().get();
        const uint32_t start = in.Bits(1), step = in.Bits(1);
        for (size_t i = 0; i < n; ++i)
            p[i] = static_cast<unsigned char>(start + step * i + (i >> 8));
        return p;
    }

    int Format()
    {
        static const std::vector<int> codes = FormatCodes();
        return codes[static_cast<size_t>(in.Range(0, static_cast<int>(codes.size()) - 1))];
    }

    // An address in or next to the object's buffer, for chunks.
    unsigned char* Near(CImgProc& o, int& length)
    {
        unsigned char* base = nullptr;
        int maximum = 0, minimum = 0;
        o.getBuffer(&base);
        o.getBufferLength(&maximum, &minimum, &length);
        if (base == nullptr)
            return nullptr;
        const int offset = in.Range(-4, length + 4);
        return reinterpret_cast<unsigned char*>(reinterpret_cast<uintptr_t>(base) + static_cast<intptr_t>(offset));
    }

    void Step()
    {
        CImgProc& o = Pick();
        switch (in.Range(0, 27)) {
        case 0: {
            const int length = Length();
            const bool null = in.Bool();
            o.setBuffer(null ? nullptr : Buffer(length), null ? 0 : length);
            break;
        }
        case 1: {
            const int length = Length();
            o.setSystemBuffer(Buffer(length), length);
            break;
        }
        case 2:
            o.allocateBuffer(Length());
            break;
        case 3:
            o.freeBuffer();
            break;
        case 4: {
            // A buffer of its own that the object is told to treat as foreign
            // is abandoned by design; the host side releases it at the end.
            unsigned char* own = nullptr;
            if (o.miBufferType == KORVA_BUFFER_INTERNAL)
                o.getBuffer(&own);
            o.useExternalBuffer(in.Bool());
            if (own != nullptr && o.miBufferType == KORVA_BUFFER_EXTERNAL)
                abandoned.push_back(own);
            break;
        }
        case 5: {
            const int w = Size();
            o.setSize(w, Size());
            break;
        }
        case 6:
            o.setPixelFormat(Format());
            break;
        case 7:
            o.setDestinationPixelFormat(Format());
            break;
        case 8:
        case 9: {
            int length = 0;
            unsigned char* at = Near(o, length);
            const int chunk = in.Range(-1, length + 2);
            const int id = in.Pick({1, 1, 2, 3, 9});
            const int dataOffset = in.Range(-8, 64);
            const int dataLength = in.Range(-1, chunk + 8);
            if (at != nullptr)
                o.setChunkOfData(static_cast<KORVA_ChunkId>(id), at, chunk, dataOffset, dataLength);
            break;
        }
        case 10: {
            int length = 0;
            unsigned char* at = Near(o, length);
            if (at != nullptr)
                o.setHeader(at, in.Range(0, 64));
            break;
        }
        case 11:
            o.freeChunkOfData();
            break;
        case 12:
            o.setState(static_cast<KORVA_ImageStatus>(in.Pick({0, 0, 0, 4, 5, -1, 9})));
            break;
        case 13: {
            const int left = in.Range(-2, 40), top = in.Range(-2, 40), right = Size();
            o.setDestinationRange(left, top, right, Size());
            break;
        }
        case 14:
            o.setDataOffset(in.Range(-16, 256));
            break;
        case 15:
            o.setDemosaic(static_cast<KORVA_Demosaic>(in.Pick(kMethods)));
            break;
        case 16: {
            const double red = in.Real(-1.0, 8.0), green = in.Real(-1.0, 8.0);
            o.setDemosaicColorBalance(red, green, in.Real(-1.0, 8.0));
            break;
        }
        case 17: {
            double r = 0, g = 0, b = 0;
            o.getDemosaicColorBalance(&r, &g, &b);
            break;
        }
        case 18:
        case 19: {
            // Into a bare buffer, most often of exactly the reported length.
            int need = 0;
            o.getTransformBufferLength(&need);
            const int length = in.Bool() ? need : Length();
            if (!StopsByDesign(o, o.mMemDst.miPixelFormat))
                o.doTransform(Buffer(length), length);
            break;
        }
        case 20:
        case 21: {
            CImgProc& d = Pick();
            if (&d != &o && !StopsByDesign(o, d.mMemDst.miPixelFormat))
                o.doTransformImageObject(&d);
            break;
        }
        case 22: {
            double average = 0;
            const int left = in.Range(-2, 40), top = in.Range(-2, 40), right = Size();
            o.getAverage(&average, left, top, right, Size());
            break;
        }
        case 23: {
            const int length = Length();
            o.doCopy(Buffer(length), length);
            break;
        }
        case 24:
            o.resetTransformSettings();
            break;
        case 25:
            for (auto& slot : objects)
                if (slot.get() == &o)
                    slot.reset(new CImgProc);
            break;
        case 26: {
            unsigned char* p = nullptr;
            int n = 0, w = 0, h = 0;
            o.get(&p);
            o.getHeader(&p);
            o.getHeaderLength(&n);
            o.getChunkOfData(static_cast<KORVA_ChunkId>(in.Pick({1, 2, 3})), &p, &n);
            o.getImageLength(&n);
            o.getSize(&w, &h);
            KORVA_FeatureState state;
            KORVAX_TypeListINT list{};
            o.getDestinationPixelFormat(Format(), &state, &list);
            o.getDemosaic(&state, &list);
            break;
        }
        default:
            const int first = in.Int();
            o.setNumber(first, in.Int());
            o.setMaxBufferLength(in.Int());
            break;
        }
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CFuzzInput in(data, size);
    Host host(in);
    for (auto& o : host.objects)
        o.reset(new CImgProc);
    for (int steps = 0; steps < 64 && !in.Empty(); ++steps)
        host.Step();
    return 0;
}
