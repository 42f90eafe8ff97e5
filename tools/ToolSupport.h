// Small facts that every frameconv command prints the same way.
#ifndef FRAMECONV_TOOL_SUPPORT_H
#define FRAMECONV_TOOL_SUPPORT_H

#include <cstdint>
#include <string>

#include "KorvaTypes.h"

class ToolSupport {
public:
    static const char* ResultName(int code);
    static double MegapixelsPerSecond(int width, int height, double seconds);
    static bool IsBayer(uint32_t code);
    static bool IsMono(uint32_t code);
    static KORVA_Demosaic MethodOf(const std::string& name);
    // The method that really runs: a mono destination makes the demosaic
    // converter switch to Bayer-to-mono on its own; "-" for other sources.
    static std::string MethodLabel(uint32_t source, uint32_t destination, const std::string& method);
    // Creates the folder and its parents; false with a message otherwise.
    static bool EnsureDirectory(const std::string& dir, std::string& error);
    static std::string JsonString(const std::string& text);
};

#endif
