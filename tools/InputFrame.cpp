#include "InputFrame.h"

#include <cctype>

#include "KorvaPixelFormats.h"
#include "PixelFormatNames.h"
#include "TestChart.h"

namespace {

void PutLe16(std::vector<uint8_t>& out, size_t i, unsigned v)
{
    out[2 * i] = static_cast<uint8_t>(v & 0xFF);
    out[2 * i + 1] = static_cast<uint8_t>(v >> 8);
}

bool LooksLikePnm(const std::string& path, const std::vector<uint8_t>& bytes)
{
    auto endsWith = [&](const char* ext) {
        const std::string e = ext;
        if (path.size() < e.size())
            return false;
        std::string tail = path.substr(path.size() - e.size());
        for (char& c : tail)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        return tail == e;
    };
    if (endsWith(".pgm") || endsWith(".ppm") || endsWith(".pnm"))
        return true;
    return bytes.size() > 2 && bytes[0] == 'P' && (bytes[1] == '5' || bytes[1] == '6') &&
           (bytes[2] == ' ' || bytes[2] == '\n' || bytes[2] == '\r' || bytes[2] == '\t' || bytes[2] == '#');
}

}  // namespace

bool InputFrame::Load(const std::string& path, const InputOptions& options, Frame& frame,
                      std::vector<std::string>& notes, std::string& error)
{
    std::vector<uint8_t> bytes;
    if (!ImageFile::ReadBytes(path, bytes, error)) {
        error = path + ": " + error;
        return false;
    }
    // A raw file with a format given is raw, whatever its first bytes are.
    const bool pnm = options.format.empty() && LooksLikePnm(path, bytes);
    bool ok = false;
    if (pnm) {
        SampleImage image;
        ok = ImageFile::ParsePnm(bytes, image, error) && FromPnm(image, options, frame, notes, error);
    } else {
        ok = FromRaw(bytes, options, frame, notes, error);
    }
    if (!ok)
        error = path + ": " + error;
    return ok;
}

bool InputFrame::FromRaw(const std::vector<uint8_t>& bytes, const InputOptions& options, Frame& frame,
                         std::vector<std::string>& notes, std::string& error)
{
    if (options.format.empty() || options.width <= 0 || options.height <= 0) {
        error = "a raw frame needs --width, --height and --format";
        return false;
    }
    const PixelFormatInfo* info = PixelFormatNames::FindByName(options.format);
    if (info == nullptr) {
        error = "unknown pixel format '" + options.format + "' (see 'frameconv formats')";
        return false;
    }
    const long long need = PixelFormatNames::FrameBytes(info->code, options.width, options.height);
    if (static_cast<long long>(bytes.size()) < need) {
        error = "holds " + std::to_string(bytes.size()) + " bytes, a " + std::to_string(options.width) + " x " +
                std::to_string(options.height) + " " + info->name + " frame needs " + std::to_string(need);
        return false;
    }
    if (static_cast<long long>(bytes.size()) > need)
        notes.push_back("the file is " + std::to_string(bytes.size() - need) +
                        " bytes longer than the frame; the rest is ignored");
    frame.code = info->code;
    frame.width = options.width;
    frame.height = options.height;
    frame.data.assign(bytes.begin(), bytes.begin() + need);
    return true;
}

bool InputFrame::FromPnm(const SampleImage& image, const InputOptions& options, Frame& frame,
                         std::vector<std::string>& notes, std::string& error)
{
    const size_t pixels = static_cast<size_t>(image.width) * image.height;
    frame.width = image.width;
    frame.height = image.height;

    if (image.channels == 3) {
        if (!options.bayer.empty()) {
            error = "--bayer needs a PGM (P5) file, this is a PPM";
            return false;
        }
        if (image.maxValue <= 255) {
            frame.code = KORVA_PIXTYPE_RGB8_PACKED;
            frame.data.assign(image.samples.begin(), image.samples.end());
            return true;
        }
        // No 16-bit packed colour format has a converter: 12 bits is the
        // deepest that does, 10 bits where the file fits.
        const bool ten = image.maxValue <= 1023;
        frame.code = ten ? KORVA_PIXTYPE_RGB10_PACKED : KORVA_PIXTYPE_RGB12_PACKED;
        const bool scale = image.maxValue > 4095;
        if (scale)
            notes.push_back("maxval " + std::to_string(image.maxValue) +
                            " is deeper than RGB12_PACKED: samples scaled to 0..4095");
        frame.data.assign(pixels * 6, 0);
        for (size_t i = 0; i < pixels * 3; ++i) {
            unsigned v = image.samples[i];
            if (scale)
                v = static_cast<unsigned>((v * 4095ull + image.maxValue / 2) / image.maxValue);
            PutLe16(frame.data, i, v);
        }
        return true;
    }

    int bits = options.bits;
    if (!options.bayer.empty()) {
        BayerPhase phase;
        if (!TestChart::ParsePhase(options.bayer, phase)) {
            error = "--bayer takes RG, GR, GB or BG";
            return false;
        }
        if (bits == 0)
            bits = image.maxValue <= 255 ? 8 : image.maxValue <= 1023 ? 10 : 12;
        if (bits != 8 && bits != 10 && bits != 12) {
            error = "a Bayer mosaic has 8, 10 or 12 bits";
            return false;
        }
        frame.code = TestChart::BayerCode(phase, bits);
    } else {
        if (bits == 0)
            bits = image.maxValue <= 255 ? 8 : 16;
        switch (bits) {
        case 8: frame.code = KORVA_PIXTYPE_MONO8; break;
        case 10: frame.code = KORVA_PIXTYPE_MONO10; break;
        case 12: frame.code = KORVA_PIXTYPE_MONO12; break;
        case 14: frame.code = KORVA_PIXTYPE_MONO14; break;
        case 16: frame.code = KORVA_PIXTYPE_MONO16; break;
        default: error = "a mono PGM has 8, 10, 12, 14 or 16 bits"; return false;
        }
    }
    if (image.maxValue > (1 << bits) - 1) {
        error = "maxval " + std::to_string(image.maxValue) + " does not fit " + std::to_string(bits) + " bits";
        return false;
    }
    if (bits == 8) {
        frame.data.assign(image.samples.begin(), image.samples.end());
    } else {
        frame.data.assign(pixels * 2, 0);
        for (size_t i = 0; i < pixels; ++i)
            PutLe16(frame.data, i, image.samples[i]);
    }
    return true;
}
