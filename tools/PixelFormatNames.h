// The tool's own table of the plug-in's 39 pixel formats: the short names a
// user types, the codes, the depths and the size rules that the tool needs to
// lay frames into buffers before it asks the plug-in anything.
#ifndef FRAMECONV_PIXEL_FORMAT_NAMES_H
#define FRAMECONV_PIXEL_FORMAT_NAMES_H

#include <cstdint>
#include <string>
#include <vector>

enum class FormatFamily { Mono, MonoPacked, Bayer, PackedRgb, Yuv, Planar, Other };

struct PixelFormatInfo {
    const char* name;     // without the KORVA_PIXTYPE_ prefix
    uint32_t code;
    int effectiveBits;    // per sample
    int storedBits;       // per pixel
    double bytesPerPixel; // true size of a pixel in a frame
    FormatFamily family;
    bool hasConverter;    // whether a transform away from it can run at all
    bool redFirst;        // colour order of packed colour formats
};

class PixelFormatNames {
public:
    static const std::vector<PixelFormatInfo>& All();
    // Case-insensitive; the prefix KORVA_PIXTYPE_ is accepted and ignored.
    static const PixelFormatInfo* FindByName(const std::string& name);
    static const PixelFormatInfo* FindByCode(uint32_t code);
    // The name, or the code in hex for codes outside the table.
    static std::string NameOf(uint32_t code);

    // Bytes of one frame as it really lies in memory.
    static long long FrameBytes(uint32_t code, int width, int height);
    // Bytes that the plug-in holds a transform target against: its size rule
    // goes by the bits field of the code, so YUV411 counts two bytes a pixel.
    static long long TransformBytes(uint32_t code, int width, int height);
    // A converter may write a little past the image (odd widths, 4:2:2 rows
    // of width 2 mod 4), and read likewise: one row and 16 bytes cover it.
    static long long Slack(uint32_t code, int width);
};

#endif
