// The commands of frameconv: convert, formats, stats and demo.
#ifndef FRAMECONV_FRAMECONV_APP_H
#define FRAMECONV_FRAMECONV_APP_H

#include <string>
#include <vector>

#include "FrameConverter.h"
#include "InputFrame.h"

class IKVImgManager;

struct CommandLine {
    std::string command;                // empty: demo
    std::vector<std::string> files;
    InputOptions input;
    std::string to;
    std::string method = "nearest";
    bool hasBalance = false;
    Balance balance;
    bool autoBalance = false;
    std::string out;
    bool raw = false;
    bool hasRegion = false;
    int region[4] = {0, 0, 0, 0};
    std::string plugin;
    bool help = false;
};

class FrameconvApp {
public:
    // Returns false with a message for a malformed command line.
    static bool Parse(const std::vector<std::string>& args, CommandLine& line, std::string& error);
    static void PrintUsage();
    static const char* ResultName(int code);

    explicit FrameconvApp(IKVImgManager* manager) : mManager(manager) {}
    // Exit status: 0 done, 1 a frame could not be converted or written,
    // 2 bad use.
    int Run(const CommandLine& line);

private:
    int RunConvert(const CommandLine& line);
    int RunFormats();
    int RunStats(const CommandLine& line);
    int RunDemo(const CommandLine& line);

    IKVImgManager* mManager;
};

#endif
