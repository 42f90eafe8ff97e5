#include "FormatsCommand.h"

#include <cstdio>
#include <string>
#include <vector>

#include "FrameConverter.h"
#include "PixelFormatNames.h"
#include "ToolSupport.h"

int FormatsCommand::Run(IKVImgManager* manager)
{
    FrameConverter converter(manager);
    if (!converter.ready()) {
        std::fprintf(stderr, "frameconv: the plug-in created no image objects\n");
        return 1;
    }
    std::printf("%-15s %-10s %4s %4s  %s\n", "FORMAT", "CODE", "EFF", "BPP", "DESTINATIONS (as the plug-in lists them)");
    for (const PixelFormatInfo& info : PixelFormatNames::All()) {
        int eff = 0, bpp = 0;
        converter.Depth(info.code, eff, bpp);
        std::vector<uint32_t> offered;
        const int rc = converter.Destinations(info.code, offered);
        std::string list;
        if (rc != RESULT_OK) {
            list = std::string("(") + ToolSupport::ResultName(rc) + ")";
        } else {
            for (size_t i = 0; i < offered.size(); ++i)
                list += (i != 0 ? ", " : "") + PixelFormatNames::NameOf(offered[i]);
        }
        if (!info.hasConverter)
            list += "  [no converter]";
        std::printf("%-15s 0x%08X %4d %4d  %s\n", info.name, static_cast<unsigned>(info.code), eff, bpp, list.c_str());
    }
    std::printf("\nEFF is getBppEff, BPP getBpp (the bits field of the code) of an object set to the format.\n");
    return 0;
}
