// frameconv as a whole: parses the command line, answers --help and
// --version, loads the plug-in and hands over to the command.
#ifndef FRAMECONV_FRAMECONV_APP_H
#define FRAMECONV_FRAMECONV_APP_H

#include <string>
#include <vector>

class FrameconvApp {
public:
    // `builtPlugin` is the plug-in of the build that made the tool, used
    // when none is installed beside it and --plugin names none.
    static int Main(const std::vector<std::string>& args, const std::string& builtPlugin);
    // <dir of the executable>/../lib/img_proc.so.17 if it exists, else builtPlugin.
    static std::string DefaultPlugin(const std::string& builtPlugin);
};

#endif
