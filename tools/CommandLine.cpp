#include "CommandLine.h"

#include <cmath>
#include <cstdlib>
#include <map>
#include <set>

#include "PixelFormatNames.h"
#include "TestChart.h"

namespace {

bool ParseInt(const std::string& text, int& value)
{
    char* end = nullptr;
    const long v = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || v < -0x7FFFFFFFL || v > 0x7FFFFFFFL)
        return false;
    value = static_cast<int>(v);
    return true;
}

bool ParseDouble(const std::string& text, double& value)
{
    char* end = nullptr;
    value = std::strtod(text.c_str(), &end);
    return !text.empty() && *end == '\0' && std::isfinite(value);
}

// The options each command takes; --help, --version and --plugin go with all.
const std::map<std::string, std::set<std::string>>& OptionsOf()
{
    static const std::map<std::string, std::set<std::string>> options = {
        {"demo", {"--out"}},
        {"formats", {}},
        {"convert",
         {"--width", "--height", "--format", "--bayer", "--bits", "--to", "--method", "--balance", "--auto-balance",
          "--out", "--raw", "--keep-alpha", "--align-phase"}},
        {"stats", {"--width", "--height", "--format", "--bayer", "--bits", "--region", "--json"}},
    };
    return options;
}

const char* const kInputHelp =
    "input:\n"
    "  raw files             --width N --height N --format FORMAT (names as 'formats' shows;\n"
    "                        the KORVA_PIXTYPE_ prefix may be left out)\n"
    "  .pgm/.ppm (P5/P6)     P5 8-bit -> MONO8, P5 16-bit -> MONO16 (MONO10/12/14 with --bits),\n"
    "                        P6 8-bit -> RGB8_PACKED, P6 16-bit -> RGB10_PACKED up to maxval\n"
    "                        1023, else RGB12_PACKED (samples above 12 bits scaled down)\n"
    "  --bayer RG|GR|GB|BG   the PGM is a Bayer mosaic of that phase\n"
    "  --bits 8|10|12|14|16  its depth (default from maxval)\n";

}  // namespace

std::string CommandLine::Help(const std::string& command)
{
    if (command == "demo")
        return "usage: frameconv demo [--out DIR]\n"
               "\n"
               "Draws a test chart, lays it as a Bayer mosaic in the phases RG, GR, GB and BG at\n"
               "8 and 12 bits, converts each with nearest neighbour and bilinear to RGB8_PACKED,\n"
               "with bilinear to RGB8_PLANAR and once to MONO8, and writes into DIR (default\n"
               "./frameconv-demo) reference.png, one PNG per conversion, for GR and BG colour\n"
               "conversions also the phase-aligned PNG, and index.html, a page that lays out\n"
               "every conversion with its caption. Prints one line per conversion with its\n"
               "result code and speed. Exits 0 whatever the plug-in answers; 1 if the plug-in\n"
               "cannot be loaded or files cannot be written.\n";
    if (command == "formats")
        return "usage: frameconv formats\n"
               "\n"
               "Lists every pixel format with its code, effective and stored bits as the plug-in\n"
               "reports them, and the destinations the plug-in offers for it.\n";
    if (command == "convert")
        return std::string(
                   "usage: frameconv convert FILE... --to FORMAT [OPTIONS]\n"
                   "\n"
                   "Converts frames through the plug-in's doTransform. Several files reuse the same\n"
                   "image objects, as a camera stream does; every input is checked before anything\n"
                   "is written, and a failed file leaves nothing behind.\n"
                   "\n") +
               kInputHelp +
               "\n"
               "options:\n"
               "  --to FORMAT           destination format\n"
               "  --method nearest|bilinear   demosaic method (default nearest), set before every\n"
               "                        frame; a mono destination of a mosaic always gets the\n"
               "                        plug-in's Bayer-to-mono method\n"
               "  --balance R G B       colour balance of Bayer sources, factors above 0 up to 16\n"
               "  --auto-balance        measure each mosaic's balance (8-bit only) and apply it\n"
               "  --align-phase         true colours from GR and BG mosaics: drop the first column\n"
               "                        so the plug-in sees an RG or GB mosaic; one column narrower\n"
               "  --out FILE            one input: .png, .ppm or .pgm by the extension\n"
               "  --out DIR/            several inputs (or one): INPUT.FORMAT.png in DIR (default .)\n"
               "  --raw                 write the result's bytes as the plug-in left them (.raw)\n"
               "  --keep-alpha          keep the fourth byte of RGBA/BGRA results as alpha\n"
               "\n"
               "Pictures: planes are assembled in their real colour order, BGR becomes RGB,\n"
               "samples deeper than 8 bits go left-aligned into 16-bit PNG samples with an sBIT\n"
               "chunk (into PGM/PPM with the matching maxval). Where the plug-in's defined\n"
               "behaviour makes a picture misleading, a note line says what and why.\n"
               "Pairs on which the plug-in would stop the process, and sources without a\n"
               "converter, are refused before the plug-in is called.\n"
               "\n"
               "Exit status: 0 done, 1 a file could not be read, converted or written, 2 bad use.\n";
    if (command == "stats")
        return std::string(
                   "usage: frameconv stats FILE... [--region L T R B] [--json]\n"
                   "\n"
                   "Prints the plug-in's brightness figure (getAverage) over the region, default the\n"
                   "whole frame, and for Bayer frames the colour balance it measures. The brightness\n"
                   "figure is the plug-in's own measure (neighbourhood maxima gathered into\n"
                   "histograms per block, then averaged over blocks): not the mean of the pixels,\n"
                   "and higher than it on detailed pictures. --json prints one JSON array instead.\n"
                   "\n") +
               kInputHelp;
    return "usage: frameconv [--plugin PATH] [COMMAND] [OPTIONS]\n"
           "       frameconv COMMAND --help | --version\n"
           "\n"
           "Loads img_proc.so.17 as the camera host does and drives its image objects.\n"
           "\n"
           "commands:\n"
           "  demo                  (the default) convert a test chart in every Bayer phase and\n"
           "                        write the PNGs and an index.html that shows them\n"
           "  convert FILE... --to FORMAT   convert frames\n"
           "  formats               list the pixel formats and their destinations\n"
           "  stats FILE...         brightness figure and colour balance\n"
           "\n"
           "  --plugin PATH         the plug-in to load (default: the one installed beside\n"
           "                        frameconv, else the one of the build)\n"
           "\n"
           "'frameconv COMMAND --help' tells more. Exit status: 0 done, 1 failed, 2 bad use.\n";
}

bool CommandLine::Parse(const std::vector<std::string>& args, CommandLine& line, std::string& error)
{
    std::vector<std::string> seen;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        auto value = [&](std::string& out) {
            if (i + 1 >= args.size()) {
                error = a + " needs a value";
                return false;
            }
            out = args[++i];
            return true;
        };
        auto number = [&](int& out) {
            std::string text;
            if (!value(text))
                return false;
            if (!ParseInt(text, out)) {
                error = a + " needs a whole number, not '" + text + "'";
                return false;
            }
            return true;
        };
        auto positive = [&](int& out) {
            if (!number(out))
                return false;
            if (out <= 0) {
                error = a + " needs a number above 0";
                return false;
            }
            return true;
        };
        if (a.size() > 1 && a[0] == '-' && a != "-h" && a != "--help" && a != "--version" && a != "--plugin")
            seen.push_back(a);
        if (a == "-h" || a == "--help") {
            line.help = true;
        } else if (a == "--version") {
            line.version = true;
        } else if (a == "--plugin") {
            if (!value(line.plugin))
                return false;
        } else if (a == "--width") {
            if (!positive(line.input.width))
                return false;
        } else if (a == "--height") {
            if (!positive(line.input.height))
                return false;
        } else if (a == "--format") {
            if (!value(line.input.format))
                return false;
            if (PixelFormatNames::FindByName(line.input.format) == nullptr) {
                error = "unknown pixel format '" + line.input.format + "' (see 'frameconv formats')";
                return false;
            }
        } else if (a == "--bayer") {
            BayerPhase phase;
            if (!value(line.input.bayer))
                return false;
            if (!TestChart::ParsePhase(line.input.bayer, phase)) {
                error = "--bayer takes RG, GR, GB or BG, not '" + line.input.bayer + "'";
                return false;
            }
        } else if (a == "--bits") {
            if (!number(line.input.bits))
                return false;
            if (line.input.bits != 8 && line.input.bits != 10 && line.input.bits != 12 && line.input.bits != 14 &&
                line.input.bits != 16) {
                error = "--bits takes 8, 10, 12, 14 or 16";
                return false;
            }
        } else if (a == "--to") {
            if (!value(line.to))
                return false;
            if (PixelFormatNames::FindByName(line.to) == nullptr) {
                error = "unknown pixel format '" + line.to + "' (see 'frameconv formats')";
                return false;
            }
        } else if (a == "--method") {
            if (!value(line.method))
                return false;
            if (line.method != "nearest" && line.method != "bilinear") {
                error = "--method takes nearest or bilinear";
                return false;
            }
        } else if (a == "--balance") {
            double* f[3] = {&line.balance.red, &line.balance.green, &line.balance.blue};
            for (double* p : f) {
                if (i + 1 >= args.size() || !ParseDouble(args[i + 1], *p)) {
                    error = "--balance needs three numbers R G B";
                    return false;
                }
                if (!(*p > 0.0 && *p <= 16.0)) {
                    error = "--balance factors lie above 0 and at most 16, not '" + args[i + 1] + "'";
                    return false;
                }
                ++i;
            }
            line.hasBalance = true;
        } else if (a == "--auto-balance") {
            line.autoBalance = true;
        } else if (a == "--out") {
            if (!value(line.out))
                return false;
            if (line.out.empty()) {
                error = "--out needs a file or folder name";
                return false;
            }
        } else if (a == "--raw") {
            line.raw = true;
        } else if (a == "--keep-alpha") {
            line.keepAlpha = true;
        } else if (a == "--align-phase") {
            line.alignPhase = true;
        } else if (a == "--json") {
            line.json = true;
        } else if (a == "--region") {
            for (int& r : line.region)
                if (!number(r))
                    return false;
            if (line.region[0] < 0 || line.region[1] < 0 || line.region[2] <= line.region[0] ||
                line.region[3] <= line.region[1]) {
                error = "--region needs L T R B with 0 <= L < R and 0 <= T < B";
                return false;
            }
            line.hasRegion = true;
        } else if (a.size() > 1 && a[0] == '-') {
            error = "unknown option " + a;
            return false;
        } else if (line.command.empty()) {
            line.command = a;
        } else {
            line.files.push_back(a);
        }
    }
    // Help without a command is the general help.
    if (line.command.empty() && !line.help)
        line.command = "demo";
    const auto known = OptionsOf().find(line.command);
    if (!line.command.empty() && known == OptionsOf().end()) {
        error = "unknown command '" + line.command + "' (commands: demo, convert, formats, stats)";
        return false;
    }
    if (line.help || line.version)
        return true;
    for (const std::string& option : seen)
        if (known->second.count(option) == 0) {
            error = line.command + " does not take " + option;
            return false;
        }
    if ((line.command == "convert" || line.command == "stats") && line.files.empty()) {
        error = line.command + " needs at least one input file";
        return false;
    }
    if ((line.command == "demo" || line.command == "formats") && !line.files.empty()) {
        error = line.command + " takes no input files, not '" + line.files.front() + "'";
        return false;
    }
    if (line.command == "convert") {
        if (line.to.empty()) {
            error = "convert needs --to FORMAT";
            return false;
        }
        if (line.hasBalance && line.autoBalance) {
            error = "--balance and --auto-balance exclude each other";
            return false;
        }
        if (line.raw && line.keepAlpha) {
            error = "--keep-alpha concerns pictures; --raw keeps every byte anyway";
            return false;
        }
    }
    const bool rawInput = line.input.width != 0 || line.input.height != 0 || !line.input.format.empty();
    if (rawInput && (line.input.width == 0 || line.input.height == 0 || line.input.format.empty())) {
        error = "raw frames need all of --width, --height and --format";
        return false;
    }
    if (rawInput && !line.input.bayer.empty()) {
        error = "--bayer concerns PGM files; a raw frame's --format already names its phase";
        return false;
    }
    return true;
}
