// Turns a conversion result into the picture a viewer shows right: planes in
// their real colour order, the demosaic's odd layouts read as written, a
// fourth byte dropped unless asked for, and deep samples marked with their
// significant bits. `--raw` output bypasses all of this.
#ifndef FRAMECONV_OUTPUT_PICTURE_H
#define FRAMECONV_OUTPUT_PICTURE_H

#include <cstdint>
#include <string>

#include "ImageFile.h"

class OutputPicture {
public:
    enum class Kind { Png, Ppm, Pgm, Raw, Unknown };

    // By the file name's extension (case-insensitive).
    static Kind KindOf(const std::string& path);
    // Channels of the picture a destination gives (1 or 3, 4 with alpha kept);
    // 0 where there is no picture (YUV and the RGB10V formats).
    static int Channels(uint32_t destination, bool keepAlpha);

    static bool Make(uint32_t source, uint32_t destination, int width, int height, const uint8_t* data,
                     size_t length, bool keepAlpha, SampleImage& image, std::string& error);
    // Writes a picture of the kind that the name says.
    static bool Write(const std::string& path, const SampleImage& image, std::string& error);
};

#endif
