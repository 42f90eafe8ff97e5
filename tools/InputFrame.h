// A camera frame as the tool holds it before it goes into an image object,
// and how one is made from a raw file or a PGM/PPM file.
#ifndef FRAMECONV_INPUT_FRAME_H
#define FRAMECONV_INPUT_FRAME_H

#include <cstdint>
#include <string>
#include <vector>

#include "ImageFile.h"

struct Frame {
    uint32_t code = 0;
    int width = 0;
    int height = 0;
    std::vector<uint8_t> data;  // exactly the frame's bytes, 16-bit samples little-endian
};

// What the command line says about the inputs.
struct InputOptions {
    int width = 0;           // raw files
    int height = 0;
    std::string format;      // raw files: format name
    std::string bayer;       // PGM files: RG, GR, GB or BG
    int bits = 0;            // PGM files: 8, 10, 12 (Bayer) or 10, 12, 14, 16 (mono); 0: from maxval
};

class InputFrame {
public:
    // .pgm/.ppm/.pnm by name or by the P5/P6 signature are PNM files, all
    // else raw. Notes tell the user about choices the tool made.
    static bool Load(const std::string& path, const InputOptions& options, Frame& frame,
                     std::vector<std::string>& notes, std::string& error);
    static bool FromRaw(const std::vector<uint8_t>& bytes, const InputOptions& options, Frame& frame,
                        std::vector<std::string>& notes, std::string& error);
    // P5 8-bit -> MONO8, P5 16-bit -> MONO16 (or MONO10/12/14 by --bits),
    // a P5 declared Bayer -> BAYxx8/10/12, P6 8-bit -> RGB8_PACKED,
    // P6 16-bit -> RGB10_PACKED up to maxval 1023, else RGB12_PACKED, with
    // samples above 12 bits scaled down to 4095.
    static bool FromPnm(const SampleImage& image, const InputOptions& options, Frame& frame,
                        std::vector<std::string>& notes, std::string& error);
};

#endif
