#include "DemoCommand.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "KorvaPixelFormats.h"
#include "OutputPicture.h"
#include "PhaseAlign.h"
#include "PixelFormatNames.h"
#include "QuirkNotes.h"
#include "TestChart.h"
#include "ToolSupport.h"

namespace fs = std::filesystem;

namespace {

struct DemoRun {
    const char* method;
    KORVA_Demosaic type;
    uint32_t destination;
};

// One picture of the page: what was converted and what came out.
struct Shot {
    std::string file;  // empty: not written
    int code = RESULT_FAIL;
    double mps = 0.0;
};

struct Entry {
    std::string source, destination, method;
    std::vector<Quirk> quirks;
    Shot exact;
    bool hasAligned = false;
    std::string alignedSource;
    Shot aligned;
};

std::string Html(const std::string& text)
{
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        default: out += c;
        }
    }
    return out;
}

std::string Figure(const Shot& shot, const std::string& label)
{
    char speed[64];
    std::snprintf(speed, sizeof speed, "%s, %.1f MP/s", ToolSupport::ResultName(shot.code), shot.mps);
    if (shot.file.empty())
        return "<td class=\"none\">" + Html(label) + ": result " + speed + ", nothing written</td>";
    return "<td><figure><img src=\"" + Html(shot.file) + "\" alt=\"" + Html(label) + "\"><figcaption>" +
           Html(label) + ": result " + speed + "</figcaption></figure></td>";
}

bool WritePage(const std::string& path, int width, int height, const std::vector<Entry>& entries,
               std::string& error)
{
    std::string page =
        "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
        "<title>frameconv demo</title>\n<style>\n"
        "body{font-family:sans-serif;margin:1.5em;background:#f4f4f4;color:#222}\n"
        "table{border-collapse:collapse}td,th{border:1px solid #bbb;padding:6px;vertical-align:top;"
        "background:#fff}\n"
        "th{background:#e4e4e4;text-align:left}img{width:320px;display:block;image-rendering:pixelated}\n"
        "figure{margin:0}figcaption{font-size:80%;color:#444}.quirk{display:inline-block;background:#fde7b0;"
        "border-radius:3px;padding:1px 5px;margin:2px 2px 0 0;font-size:85%}\n"
        ".quirk-text{font-size:80%;color:#555;max-width:28em}.none{color:#888;font-style:italic;width:320px}\n"
        "</style></head><body>\n<h1>frameconv demo</h1>\n"
        "<p>A " +
        std::to_string(width) + " &times; " + std::to_string(height) +
        " test chart laid as a Bayer mosaic in the four phases at 8 and 12 bits and converted by the plug-in. "
        "The left picture is the plug-in's exact output. For GR and BG mosaics to colour formats the right one "
        "is the phase-aligned conversion (<code>--align-phase</code>: first column dropped, the mosaic declared "
        "RG or GB), one column narrower, in true colour. Yellow tags name the plug-in's deliberate quirks "
        "that the picture shows.</p>\n"
        "<p><img src=\"reference.png\" alt=\"reference chart\"> The chart as drawn (reference.png).</p>\n"
        "<table>\n<tr><th>Conversion</th><th>Exact output</th><th>Phase-aligned</th></tr>\n";
    for (const Entry& e : entries) {
        page += "<tr><td><b>" + Html(e.source) + " &rarr; " + Html(e.destination) + "</b><br>method " +
                Html(e.method) + "<br>";
        for (const Quirk& q : e.quirks)
            page += "<span class=\"quirk\">" + Html(q.tag) + "</span>";
        for (const Quirk& q : e.quirks)
            page += "<div class=\"quirk-text\">" + Html(q.text) + "</div>";
        page += "</td>" + Figure(e.exact, e.source);
        if (e.hasAligned)
            page += Figure(e.aligned, e.alignedSource + ", one column narrower");
        else
            page += "<td class=\"none\">nothing to align</td>";
        page += "</tr>\n";
    }
    page += "</table>\n</body></html>\n";
    return ImageFile::WriteRaw(path, reinterpret_cast<const uint8_t*>(page.data()), page.size(), error);
}

// Converts the loaded frame and writes its picture; the shot says how it went.
bool Convert(FrameConverter& converter, const Frame& frame, const DemoRun& run, const std::string& dir,
             const std::string& name, Shot& shot, std::string& error)
{
    const Balance neutral;
    const ConversionResult result = converter.Convert(run.destination, run.type, &neutral);
    shot.code = result.code;
    shot.mps = ToolSupport::MegapixelsPerSecond(frame.width, frame.height, result.seconds);
    if (result.code != RESULT_OK)
        return true;
    SampleImage picture;
    if (!OutputPicture::Make(frame.code, run.destination, frame.width, frame.height, result.buffer.data(),
                             static_cast<size_t>(result.imageBytes), false, picture, error) ||
        !OutputPicture::Write((fs::path(dir) / name).string(), picture, error))
        return false;
    shot.file = name;
    return true;
}

}  // namespace

int DemoCommand::Run(IKVImgManager* manager, const CommandLine& line)
{
    const std::string dir = line.out.empty() ? "frameconv-demo" : line.out;
    std::string error;
    if (!ToolSupport::EnsureDirectory(dir, error)) {
        std::fprintf(stderr, "frameconv: %s\n", error.c_str());
        return 1;
    }
    const int width = 640, height = 480;
    const RgbImage chart = TestChart::Generate(width, height);
    SampleImage reference;
    reference.width = width;
    reference.height = height;
    reference.channels = 3;
    reference.maxValue = 255;
    reference.samples.assign(chart.rgb.begin(), chart.rgb.end());
    const std::string referencePath = (fs::path(dir) / "reference.png").string();
    if (!ImageFile::WritePng(referencePath, reference, error)) {
        std::fprintf(stderr, "frameconv: %s\n", error.c_str());
        return 1;
    }
    std::printf("test chart %d x %d written to %s\n", width, height, referencePath.c_str());

    FrameConverter converter(manager);
    if (!converter.ready()) {
        std::fprintf(stderr, "frameconv: the plug-in created no image objects\n");
        return 1;
    }
    const DemoRun runs[] = {{"nearest", KORVA_DEMOSAIC_NEAREST, KORVA_PIXTYPE_RGB8_PACKED},
                        {"bilinear", KORVA_DEMOSAIC_BILINEAR, KORVA_PIXTYPE_RGB8_PACKED},
                        {"bilinear", KORVA_DEMOSAIC_BILINEAR, KORVA_PIXTYPE_RGB8_PLANAR},
                        {"nearest", KORVA_DEMOSAIC_NEAREST, KORVA_PIXTYPE_MONO8}};
    std::vector<Entry> entries;
    int failed = 0;
    for (int bits : {8, 12}) {
        for (BayerPhase phase : {BayerPhase::RG, BayerPhase::GR, BayerPhase::GB, BayerPhase::BG}) {
            Frame frame;
            frame.code = TestChart::BayerCode(phase, bits);
            frame.width = width;
            frame.height = height;
            frame.data = TestChart::Mosaic(chart, phase, bits);
            Frame aligned;
            const bool canAlign = PhaseAlign::Align(frame, aligned);
            for (const DemoRun& run : runs) {
                Entry e;
                e.source = PixelFormatNames::NameOf(frame.code);
                e.destination = PixelFormatNames::NameOf(run.destination);
                e.method = ToolSupport::MethodLabel(frame.code, run.destination, run.method);
                e.quirks = QuirkNotes::ForPair(frame.code, run.destination, run.type);
                const std::string stem = e.source + "_" + e.method + "_" + e.destination;
                std::printf("%-7s -> %-11s %-13s ", e.source.c_str(), e.destination.c_str(), e.method.c_str());
                const int loaded = converter.Load(frame);
                if (loaded != RESULT_OK) {
                    e.exact.code = loaded;
                } else if (!Convert(converter, frame, run, dir, stem + ".png", e.exact, error)) {
                    std::printf("\n");
                    std::fprintf(stderr, "frameconv: %s\n", error.c_str());
                    return 1;
                }
                std::printf("result %2d %-13s %8.1f MP/s", e.exact.code, ToolSupport::ResultName(e.exact.code),
                            e.exact.mps);
                if (e.exact.code != RESULT_OK)
                    ++failed;
                if (canAlign && PhaseAlign::Applies(frame.code, run.destination)) {
                    e.hasAligned = true;
                    e.alignedSource = PixelFormatNames::NameOf(aligned.code) + " (aligned)";
                    if (converter.Load(aligned) == RESULT_OK &&
                        !Convert(converter, aligned, run, dir, stem + "_aligned.png", e.aligned, error)) {
                        std::printf("\n");
                        std::fprintf(stderr, "frameconv: %s\n", error.c_str());
                        return 1;
                    }
                }
                std::printf("  %s%s\n", e.exact.file.empty() ? "(not written)" : e.exact.file.c_str(),
                            e.hasAligned ? " (+ aligned)" : "");
                for (const Quirk& q : e.quirks)
                    if (q.tag != "shifted one column" && q.tag != "Bayer-to-mono")
                        std::printf("%40snote: %s\n", "", q.tag.c_str());
                entries.push_back(std::move(e));
            }
        }
    }
    const std::string page = (fs::path(dir) / "index.html").string();
    if (!WritePage(page, width, height, entries, error)) {
        std::fprintf(stderr, "frameconv: %s\n", error.c_str());
        return 1;
    }
    std::printf("\nopen %s to see every conversion beside its phase-aligned one.\n"
                "The quirks noted are the plug-in's defined behaviour; 'frameconv convert --help' tells how\n"
                "the tool gets the other view.\n",
                page.c_str());
    if (failed != 0)
        std::printf("%d conversion(s) did not return OK; the codes above are the plug-in's answers.\n", failed);
    return 0;
}
