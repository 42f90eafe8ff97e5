// Files that frameconv reads and writes: binary PGM/PPM in, PNG and raw
// bytes out, and the step between a frame in a pixel format and the sample
// layout a PNG file wants.
#ifndef FRAMECONV_IMAGE_FILE_H
#define FRAMECONV_IMAGE_FILE_H

#include <cstdint>
#include <string>
#include <vector>

// Samples as a file holds them: row by row, channel by channel.
struct SampleImage {
    int width = 0;
    int height = 0;
    int channels = 0;       // 1 grey, 3 RGB, 4 RGBA
    int maxValue = 0;       // PNM maxval; for PNG 255 or 65535
    // Bits of each 16-bit sample that carry the value (its low bits); 0 or
    // 16 means all. A PNG gets them left-aligned with an sBIT chunk, a PNM
    // gets them as they are with the matching maxval.
    int significantBits = 0;
    std::vector<uint16_t> samples;
};

class ImageFile {
public:
    // Binary P5/P6 with maxval 1..65535; 16-bit samples are big-endian.
    // Returns false with a reason on any malformed or truncated file.
    static bool ReadPnm(const std::string& path, SampleImage& image, std::string& error);
    static bool ParsePnm(const std::vector<uint8_t>& bytes, SampleImage& image, std::string& error);

    // 8-bit PNG if maxValue is at most 255, else 16-bit. Every writer goes
    // through a temporary file beside the target, so a failed write leaves
    // no partial file behind.
    static bool WritePng(const std::string& path, const SampleImage& image, std::string& error);
    // Binary P5 (one channel) or P6 (three).
    static bool WritePnm(const std::string& path, const SampleImage& image, std::string& error);
    static bool WriteRaw(const std::string& path, const uint8_t* data, size_t length, std::string& error);
    // Refuses folders and anything that is not a readable regular file.
    static bool ReadBytes(const std::string& path, std::vector<uint8_t>& bytes, std::string& error);

    // Turns a frame of the given pixel format into PNG samples: packed and
    // planar colour become RGB (RGBA for the four-byte formats), mono and
    // Bayer stay grey, 10/12-bit packed mono is unpacked. Sample values are
    // kept; any format with more than 8 effective bits gives a 16-bit image
    // whose significantBits are the format's effective bits.
    // YUV and the RGB10V formats have no such view: false with a reason.
    static bool FrameToSamples(uint32_t code, int width, int height, const uint8_t* data, size_t length,
                               SampleImage& image, std::string& error);
};

#endif
