// frameconv: uses the image-processing plug-in outside a camera
// application. It loads img_proc.so.17 exactly as the host library does
// (dlopen, version handshake, image manager) and then speaks to image
// objects only through IKVImage.
#include <cstdio>
#include <string>
#include <vector>

#include "FrameconvApp.h"
#include "PluginLoader.h"

int main(int argc, char** argv)
{
    CommandLine line;
    std::string error;
    if (!FrameconvApp::Parse(std::vector<std::string>(argv + 1, argv + argc), line, error)) {
        std::fprintf(stderr, "frameconv: %s (try --help)\n", error.c_str());
        return 2;
    }
    if (line.help) {
        FrameconvApp::PrintUsage();
        return 0;
    }
    const std::string plugin = line.plugin.empty() ? IMGPROC_DEFAULT_PLUGIN : line.plugin;
    PluginLoader loader(plugin);
    if (loader.manager() == nullptr) {
        std::fprintf(stderr, "frameconv: %s: %s\n", plugin.c_str(), loader.error().c_str());
        return 1;
    }
    std::printf("plug-in %s, interface version %s\n", plugin.c_str(), loader.version().c_str());
    FrameconvApp app(loader.manager());
    return app.Run(line);
}
