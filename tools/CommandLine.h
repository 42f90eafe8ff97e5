// frameconv's command line: what each command takes, parsed and checked
// before the plug-in is loaded, so that bad use never reaches a frame.
#ifndef FRAMECONV_COMMAND_LINE_H
#define FRAMECONV_COMMAND_LINE_H

#include <string>
#include <vector>

#include "FrameConverter.h"
#include "InputFrame.h"

struct CommandLine {
    std::string command;  // demo, convert, formats or stats
    std::vector<std::string> files;
    InputOptions input;
    std::string to;
    std::string method = "nearest";
    bool hasBalance = false;
    Balance balance;
    bool autoBalance = false;
    std::string out;
    bool raw = false;
    bool keepAlpha = false;
    bool alignPhase = false;
    bool json = false;
    bool hasRegion = false;
    int region[4] = {0, 0, 0, 0};
    std::string plugin;
    bool help = false;
    bool version = false;

    // Returns false with a one-line message for a malformed command line.
    static bool Parse(const std::vector<std::string>& args, CommandLine& line, std::string& error);
    // The general help, or a command's own.
    static std::string Help(const std::string& command);
};

#endif
