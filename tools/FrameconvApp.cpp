#include "FrameconvApp.h"

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "CommandLine.h"
#include "ConvertCommand.h"
#include "DemoCommand.h"
#include "FormatsCommand.h"
#include "PluginLoader.h"
#include "StatsCommand.h"

#ifndef KV_TOOL_VERSION
#define KV_TOOL_VERSION "unknown"
#endif

std::string FrameconvApp::DefaultPlugin(const std::string& builtPlugin)
{
    std::error_code ec;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (!ec) {
        const std::filesystem::path installed = self.parent_path().parent_path() / "lib" / "img_proc.so.17";
        if (std::filesystem::is_regular_file(installed, ec))
            return installed.string();
    }
    return builtPlugin;
}

int FrameconvApp::Main(const std::vector<std::string>& args, const std::string& builtPlugin)
{
    CommandLine line;
    std::string error;
    if (!CommandLine::Parse(args, line, error)) {
        std::fprintf(stderr, "frameconv: %s (try --help)\n", error.c_str());
        return 2;
    }
    if (line.help) {
        std::fputs(CommandLine::Help(line.command).c_str(), stdout);
        return 0;
    }
    const std::string plugin = line.plugin.empty() ? DefaultPlugin(builtPlugin) : line.plugin;
    if (line.version) {
        std::printf("frameconv %s\n", KV_TOOL_VERSION);
        PluginLoader loader(plugin);
        if (loader.manager() != nullptr)
            std::printf("plug-in %s, interface version %s\n", plugin.c_str(), loader.version().c_str());
        else
            std::printf("plug-in %s not loaded: %s\n", plugin.c_str(), loader.error().c_str());
        return 0;
    }
    PluginLoader loader(plugin);
    if (loader.manager() == nullptr) {
        std::fprintf(stderr, "frameconv: cannot load the plug-in %s: %s\n", plugin.c_str(), loader.error().c_str());
        return 1;
    }
    if (line.command == "convert")
        return ConvertCommand::Run(loader.manager(), line);
    if (line.command == "stats")
        return StatsCommand::Run(loader.manager(), line);
    if (line.command == "formats")
        return FormatsCommand::Run(loader.manager());
    std::printf("plug-in %s, interface version %s\n", plugin.c_str(), loader.version().c_str());
    return DemoCommand::Run(loader.manager(), line);
}
