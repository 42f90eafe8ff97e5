#include "ImageFile.h"

#include <png.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <system_error>

#include "KorvaPixelFormats.h"
#include "PixelFormatNames.h"

namespace {

// Reads one decimal header field, skipping white space and # comments.
bool ReadField(const std::vector<uint8_t>& bytes, size_t& pos, long& value)
{
    for (;;) {
        while (pos < bytes.size() && std::isspace(bytes[pos]))
            ++pos;
        if (pos < bytes.size() && bytes[pos] == '#') {
            while (pos < bytes.size() && bytes[pos] != '\n' && bytes[pos] != '\r')
                ++pos;
            continue;
        }
        break;
    }
    if (pos >= bytes.size() || !std::isdigit(bytes[pos]))
        return false;
    value = 0;
    while (pos < bytes.size() && std::isdigit(bytes[pos])) {
        value = value * 10 + (bytes[pos] - '0');
        if (value > 0x7FFFFFFF)
            return false;
        ++pos;
    }
    return true;
}

uint16_t Le16(const uint8_t* p)
{
    return static_cast<uint16_t>(p[0] | (p[1] << 8));
}

struct PngJob {
    int width, height, depth, colourType;
    int significantBits;  // 0: no sBIT chunk
    png_bytep* rows;
};

// Kept apart from everything with a destructor: libpng reports errors by
// longjmp, which must not jump over C++ objects.
bool EncodePng(FILE* file, const PngJob& job)
{
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    if (png == nullptr)
        return false;
    png_infop info = png_create_info_struct(png);
    if (info == nullptr || setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_init_io(png, file);
    png_set_IHDR(png, info, job.width, job.height, job.depth, job.colourType, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (job.significantBits > 0) {
        png_color_8 bits{};
        bits.red = bits.green = bits.blue = bits.gray = bits.alpha = static_cast<png_byte>(job.significantBits);
        png_set_sBIT(png, info, &bits);
    }
    png_write_info(png, info);
    png_write_image(png, job.rows);
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return true;
}

struct FileCloser {
    void operator()(FILE* f) const
    {
        if (f != nullptr)
            std::fclose(f);
    }
};

// The file being written, beside its final name; renamed into place only
// once complete, removed otherwise.
std::string TemporaryName(const std::string& path)
{
    return path + ".part";
}

bool Commit(const std::string& temporary, const std::string& path, bool written, std::string& error)
{
    std::error_code ec;
    if (written) {
        std::filesystem::rename(temporary, path, ec);
        if (!ec)
            return true;
    }
    std::filesystem::remove(temporary, ec);
    error = "cannot write " + path;
    return false;
}

}  // namespace

bool ImageFile::ReadBytes(const std::string& path, std::vector<uint8_t>& bytes, std::string& error)
{
    std::error_code ec;
    const std::filesystem::file_status status = std::filesystem::status(path, ec);
    if (ec || !std::filesystem::exists(status)) {
        error = "no such file";
        return false;
    }
    if (std::filesystem::is_directory(status)) {
        error = "is a folder, not a frame file";
        return false;
    }
    if (!std::filesystem::is_regular_file(status)) {
        error = "not a regular file";
        return false;
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = "cannot open the file";
        return false;
    }
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    if (in.bad()) {
        error = "cannot read the file";
        return false;
    }
    return true;
}

bool ImageFile::ReadPnm(const std::string& path, SampleImage& image, std::string& error)
{
    std::vector<uint8_t> bytes;
    if (!ReadBytes(path, bytes, error))
        return false;
    if (!ParsePnm(bytes, image, error)) {
        error = path + ": " + error;
        return false;
    }
    return true;
}

bool ImageFile::ParsePnm(const std::vector<uint8_t>& bytes, SampleImage& image, std::string& error)
{
    if (bytes.size() < 2 || bytes[0] != 'P' || (bytes[1] != '5' && bytes[1] != '6')) {
        error = "not a binary PGM (P5) or PPM (P6) file";
        return false;
    }
    const int channels = bytes[1] == '5' ? 1 : 3;
    size_t pos = 2;
    long width = 0, height = 0, maxValue = 0;
    if (!ReadField(bytes, pos, width) || !ReadField(bytes, pos, height) || !ReadField(bytes, pos, maxValue)) {
        error = "malformed header";
        return false;
    }
    if (width <= 0 || height <= 0 || width > 65535 || height > 65535) {
        error = "unusable size " + std::to_string(width) + " x " + std::to_string(height);
        return false;
    }
    if (maxValue < 1 || maxValue > 65535) {
        error = "maxval " + std::to_string(maxValue) + " outside 1..65535";
        return false;
    }
    // Exactly one white space character separates the header from the data.
    if (pos >= bytes.size() || !std::isspace(bytes[pos])) {
        error = "malformed header";
        return false;
    }
    ++pos;
    const size_t bytesPerSample = maxValue > 255 ? 2 : 1;
    const size_t count = static_cast<size_t>(width) * static_cast<size_t>(height) * channels;
    if (bytes.size() - pos < count * bytesPerSample) {
        error = "truncated pixel data";
        return false;
    }
    image.width = static_cast<int>(width);
    image.height = static_cast<int>(height);
    image.channels = channels;
    image.maxValue = static_cast<int>(maxValue);
    image.samples.resize(count);
    const uint8_t* p = bytes.data() + pos;
    for (size_t i = 0; i < count; ++i) {
        const uint16_t v = bytesPerSample == 2 ? static_cast<uint16_t>((p[2 * i] << 8) | p[2 * i + 1]) : p[i];
        if (v > maxValue) {
            error = "sample above maxval";
            return false;
        }
        image.samples[i] = v;
    }
    return true;
}

bool ImageFile::WritePng(const std::string& path, const SampleImage& image, std::string& error)
{
    int colourType = 0;
    switch (image.channels) {
    case 1: colourType = PNG_COLOR_TYPE_GRAY; break;
    case 3: colourType = PNG_COLOR_TYPE_RGB; break;
    case 4: colourType = PNG_COLOR_TYPE_RGB_ALPHA; break;
    default: error = "PNG needs 1, 3 or 4 channels"; return false;
    }
    const size_t count = static_cast<size_t>(image.width) * image.height * image.channels;
    if (image.width <= 0 || image.height <= 0 || image.samples.size() < count) {
        error = "no image to write";
        return false;
    }
    const bool deep = image.maxValue > 255;
    // Fewer significant bits than the container: left-aligned, the PNG way.
    const int shift = deep && image.significantBits > 8 && image.significantBits < 16 ? 16 - image.significantBits : 0;
    const size_t rowBytes = static_cast<size_t>(image.width) * image.channels * (deep ? 2 : 1);
    std::vector<uint8_t> rows(rowBytes * image.height);
    for (size_t i = 0; i < count; ++i) {
        const uint16_t v = static_cast<uint16_t>(image.samples[i] << shift);
        if (deep) {
            // PNG wants its 16-bit samples most significant byte first.
            rows[2 * i] = static_cast<uint8_t>(v >> 8);
            rows[2 * i + 1] = static_cast<uint8_t>(v & 0xFF);
        } else {
            rows[i] = static_cast<uint8_t>(v);
        }
    }

    std::vector<png_bytep> rowPointers(image.height);
    for (int y = 0; y < image.height; ++y)
        rowPointers[y] = rows.data() + rowBytes * y;
    const std::string temporary = TemporaryName(path);
    std::unique_ptr<FILE, FileCloser> file(std::fopen(temporary.c_str(), "wb"));
    if (!file) {
        error = "cannot create " + path;
        return false;
    }
    const PngJob job{image.width, image.height, deep ? 16 : 8, colourType, shift != 0 ? image.significantBits : 0,
                     rowPointers.data()};
    bool written = EncodePng(file.get(), job) && std::fflush(file.get()) == 0 && !std::ferror(file.get());
    written = std::fclose(file.release()) == 0 && written;
    return Commit(temporary, path, written, error);
}

bool ImageFile::WritePnm(const std::string& path, const SampleImage& image, std::string& error)
{
    if (image.channels != 1 && image.channels != 3) {
        error = "a PGM holds grey and a PPM holds RGB; this picture has " + std::to_string(image.channels) +
                " channels";
        return false;
    }
    const size_t count = static_cast<size_t>(image.width) * image.height * image.channels;
    if (image.width <= 0 || image.height <= 0 || image.samples.size() < count) {
        error = "no image to write";
        return false;
    }
    const int maxValue = image.significantBits > 0 && image.significantBits < 16 && image.maxValue > 255
                             ? (1 << image.significantBits) - 1
                             : image.maxValue;
    const bool wide = maxValue > 255;
    std::string data = std::string(image.channels == 1 ? "P5" : "P6") + "\n" + std::to_string(image.width) + " " +
                       std::to_string(image.height) + "\n" + std::to_string(maxValue) + "\n";
    const size_t header = data.size();
    data.resize(header + count * (wide ? 2 : 1));
    for (size_t i = 0; i < count; ++i) {
        const uint16_t v = image.samples[i];
        if (wide) {
            data[header + 2 * i] = static_cast<char>(v >> 8);
            data[header + 2 * i + 1] = static_cast<char>(v & 0xFF);
        } else {
            data[header + i] = static_cast<char>(v);
        }
    }
    return WriteRaw(path, reinterpret_cast<const uint8_t*>(data.data()), data.size(), error);
}

bool ImageFile::WriteRaw(const std::string& path, const uint8_t* data, size_t length, std::string& error)
{
    const std::string temporary = TemporaryName(path);
    bool written = false;
    {
        std::ofstream out(temporary, std::ios::binary);
        if (out)
            out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(length));
        out.close();
        written = static_cast<bool>(out);
    }
    return Commit(temporary, path, written, error);
}

bool ImageFile::FrameToSamples(uint32_t code, int width, int height, const uint8_t* data, size_t length,
                               SampleImage& image, std::string& error)
{
    const PixelFormatInfo* info = PixelFormatNames::FindByCode(code);
    if (info == nullptr) {
        error = "unknown pixel format";
        return false;
    }
    if (info->family == FormatFamily::Yuv || info->family == FormatFamily::Other) {
        error = std::string("no PNG view of ") + info->name + "; write it with --raw";
        return false;
    }
    if (width <= 0 || height <= 0 || length < static_cast<size_t>(PixelFormatNames::FrameBytes(code, width, height))) {
        error = "frame data shorter than the image";
        return false;
    }
    const bool deep = info->effectiveBits > 8;
    const size_t pixels = static_cast<size_t>(width) * height;
    image.width = width;
    image.height = height;
    image.maxValue = deep ? 65535 : 255;
    image.significantBits = deep ? info->effectiveBits : 0;

    switch (info->family) {
    case FormatFamily::Mono:
    case FormatFamily::Bayer:
        image.channels = 1;
        image.samples.resize(pixels);
        for (size_t i = 0; i < pixels; ++i)
            image.samples[i] = deep ? Le16(data + 2 * i) : data[i];
        return true;
    case FormatFamily::MonoPacked: {
        // Two pixels in three bytes: high bits of each in the outer bytes,
        // the low bits of both in the middle one (first pixel's low nibble).
        image.channels = 1;
        image.samples.resize(pixels);
        const int shift = info->effectiveBits - 8;
        const unsigned mask = (1u << shift) - 1;
        // Rows lie width * 1.5 bytes apart, truncated as the plug-in counts;
        // the half group of an odd width may end past the data.
        const size_t rowBytes = static_cast<size_t>(width * 1.5);
        auto at = [&](size_t i) -> unsigned { return i < length ? data[i] : 0u; };
        for (int y = 0; y < height; ++y) {
            const size_t row = rowBytes * y;
            for (int x = 0; x < width; ++x) {
                const size_t g = row + 3 * static_cast<size_t>(x / 2);
                const unsigned v = (x & 1) == 0 ? (at(g) << shift) | (at(g + 1) & mask)
                                                : (at(g + 2) << shift) | ((at(g + 1) >> 4) & mask);
                image.samples[static_cast<size_t>(y) * width + x] = static_cast<uint16_t>(v);
            }
        }
        return true;
    }
    case FormatFamily::PackedRgb: {
        const bool four = info->storedBits == 32;
        image.channels = four ? 4 : 3;
        image.samples.resize(pixels * image.channels);
        const size_t step = four ? 4 : (deep ? 6 : 3);
        for (size_t i = 0; i < pixels; ++i) {
            const uint8_t* p = data + step * i;
            uint16_t c[4];
            for (int k = 0; k < image.channels; ++k)
                c[k] = deep ? Le16(p + 2 * k) : p[k];
            if (!info->redFirst)
                std::swap(c[0], c[2]);
            for (int k = 0; k < image.channels; ++k)
                image.samples[i * image.channels + k] = c[k];
        }
        return true;
    }
    case FormatFamily::Planar: {
        image.channels = 3;
        image.samples.resize(pixels * 3);
        for (int k = 0; k < 3; ++k) {
            const uint8_t* plane = data + (deep ? 2 : 1) * pixels * k;
            for (size_t i = 0; i < pixels; ++i)
                image.samples[i * 3 + k] = deep ? Le16(plane + 2 * i) : plane[i];
        }
        return true;
    }
    default:
        break;
    }
    error = "no PNG view of this format";
    return false;
}
