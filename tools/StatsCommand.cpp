#include "StatsCommand.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "PixelFormatNames.h"
#include "ToolSupport.h"

namespace {

struct Figures {
    std::string path;
    Frame frame;
    int region[4] = {0, 0, 0, 0};
    int averageCode = RESULT_FAIL;
    double brightness = 0.0;
    bool bayer = false;
    int balanceCode = RESULT_FAIL;
    Balance balance;
};

std::string Number(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.4f", value);
    return text;
}

void PrintText(const Figures& f)
{
    std::printf("%s: %d x %d %s\n", f.path.c_str(), f.frame.width, f.frame.height,
                PixelFormatNames::NameOf(f.frame.code).c_str());
    const int* r = f.region;
    if (f.averageCode == RESULT_OK)
        std::printf("  brightness figure (getAverage, the plug-in's measure, not the pixel mean) over %d %d %d %d: "
                    "%.3f\n",
                    r[0], r[1], r[2], r[3], f.brightness);
    else
        std::printf("  brightness figure over %d %d %d %d: getAverage answered %d (%s)\n", r[0], r[1], r[2], r[3],
                    f.averageCode, ToolSupport::ResultName(f.averageCode));
    if (!f.bayer)
        return;
    if (f.balanceCode == RESULT_OK)
        std::printf("  colour balance (getDemosaicColorBalance) R %.4f G %.4f B %.4f\n", f.balance.red,
                    f.balance.green, f.balance.blue);
    else
        std::printf("  colour balance: getDemosaicColorBalance answered %d (%s); it measures 8-bit mosaics with "
                    "usable cells only\n",
                    f.balanceCode, ToolSupport::ResultName(f.balanceCode));
}

std::string Json(const Figures& f)
{
    const int* r = f.region;
    std::string text = "{\"file\": " + ToolSupport::JsonString(f.path) +
                       ", \"width\": " + std::to_string(f.frame.width) +
                       ", \"height\": " + std::to_string(f.frame.height) +
                       ", \"format\": " + ToolSupport::JsonString(PixelFormatNames::NameOf(f.frame.code)) +
                       ", \"region\": [" + std::to_string(r[0]) + ", " + std::to_string(r[1]) + ", " +
                       std::to_string(r[2]) + ", " + std::to_string(r[3]) + "]" +
                       ", \"brightness_figure\": " + (f.averageCode == RESULT_OK ? Number(f.brightness) : "null") +
                       ", \"brightness_result\": " + ToolSupport::JsonString(ToolSupport::ResultName(f.averageCode));
    if (f.bayer && f.balanceCode == RESULT_OK)
        text += ", \"balance\": {\"red\": " + Number(f.balance.red) + ", \"green\": " + Number(f.balance.green) +
                ", \"blue\": " + Number(f.balance.blue) + "}";
    else
        text += ", \"balance\": null";
    if (f.bayer)
        text += ", \"balance_result\": " + ToolSupport::JsonString(ToolSupport::ResultName(f.balanceCode));
    return text + "}";
}

}  // namespace

int StatsCommand::Run(IKVImgManager* manager, const CommandLine& line)
{
    // Inputs and regions are checked before anything is measured.
    for (const std::string& path : line.files) {
        Frame frame;
        std::vector<std::string> notes;
        std::string error;
        if (!InputFrame::Load(path, line.input, frame, notes, error)) {
            std::fprintf(stderr, "frameconv: %s\n", error.c_str());
            return 1;
        }
        if (line.hasRegion && (line.region[2] > frame.width || line.region[3] > frame.height)) {
            std::fprintf(stderr, "frameconv: %s: the region reaches past the %d x %d frame\n", path.c_str(),
                         frame.width, frame.height);
            return 1;
        }
    }
    FrameConverter converter(manager);
    if (!converter.ready()) {
        std::fprintf(stderr, "frameconv: the plug-in created no image objects\n");
        return 1;
    }
    int status = 0;
    std::string json;
    for (const std::string& path : line.files) {
        Figures f;
        f.path = path;
        std::vector<std::string> notes;
        std::string error;
        if (!InputFrame::Load(path, line.input, f.frame, notes, error)) {
            std::fprintf(stderr, "frameconv: %s\n", error.c_str());
            status = 1;
            continue;
        }
        const int rc = converter.Load(f.frame);
        if (rc != RESULT_OK) {
            std::fprintf(stderr, "frameconv: %s: the image object refused the frame (%s)\n", path.c_str(),
                         ToolSupport::ResultName(rc));
            status = 1;
            continue;
        }
        if (line.hasRegion)
            std::copy(line.region, line.region + 4, f.region);
        else {
            f.region[2] = f.frame.width;
            f.region[3] = f.frame.height;
        }
        f.averageCode = converter.SourceAverage(f.brightness, f.region[0], f.region[1], f.region[2], f.region[3]);
        if (f.averageCode != RESULT_OK)
            status = 1;
        f.bayer = ToolSupport::IsBayer(f.frame.code);
        if (f.bayer)
            f.balanceCode = converter.MeasureBalance(f.balance);
        if (line.json) {
            json += (json.empty() ? "[\n  " : ",\n  ") + Json(f);
        } else {
            PrintText(f);
            for (const std::string& note : notes)
                std::printf("  note: %s\n", note.c_str());
        }
    }
    if (line.json)
        std::printf("%s\n", json.empty() ? "[]" : (json + "\n]").c_str());
    return status;
}
