// frameconv demo: the test chart through every demosaic path, written as
// PNGs and laid out in index.html, exact output beside the phase-aligned one.
#ifndef FRAMECONV_DEMO_COMMAND_H
#define FRAMECONV_DEMO_COMMAND_H

#include "CommandLine.h"

class IKVImgManager;

class DemoCommand {
public:
    static int Run(IKVImgManager* manager, const CommandLine& line);
};

#endif
