#include "ToolSupport.h"

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "KorvaPixelFormats.h"
#include "PixelFormatNames.h"

const char* ToolSupport::ResultName(int code)
{
    switch (code) {
    case RESULT_OK: return "OK";
    case RESULT_FAIL: return "FAIL";
    case RESULT_ERROR: return "ERROR";
    case RESULT_BAD_PARAM: return "BAD_PARAM";
    case RESULT_NOT_SUPPORTED: return "NOT_SUPPORTED";
    default: return "?";
    }
}

double ToolSupport::MegapixelsPerSecond(int width, int height, double seconds)
{
    return seconds > 0.0 ? width * static_cast<double>(height) / 1e6 / seconds : 0.0;
}

bool ToolSupport::IsBayer(uint32_t code)
{
    const PixelFormatInfo* info = PixelFormatNames::FindByCode(code);
    return info != nullptr && info->family == FormatFamily::Bayer;
}

bool ToolSupport::IsMono(uint32_t code)
{
    return code == KORVA_PIXTYPE_MONO8 || code == KORVA_PIXTYPE_MONO10 || code == KORVA_PIXTYPE_MONO12 ||
           code == KORVA_PIXTYPE_MONO16;
}

KORVA_Demosaic ToolSupport::MethodOf(const std::string& name)
{
    return name == "bilinear" ? KORVA_DEMOSAIC_BILINEAR : KORVA_DEMOSAIC_NEAREST;
}

std::string ToolSupport::MethodLabel(uint32_t source, uint32_t destination, const std::string& method)
{
    if (!IsBayer(source))
        return "-";
    if (IsMono(destination))
        return "bayer-to-mono";
    return method;
}

bool ToolSupport::EnsureDirectory(const std::string& dir, std::string& error)
{
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    if (ec || !std::filesystem::is_directory(dir, ec)) {
        error = "cannot create the folder " + dir;
        return false;
    }
    return true;
}

std::string ToolSupport::JsonString(const std::string& text)
{
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
            out += escaped;
        } else {
            out += c;
        }
    }
    return out + "\"";
}
