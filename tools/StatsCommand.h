// frameconv stats: the plug-in's brightness figure of a region and, for
// mosaics, the colour balance it measures; as text or as JSON.
#ifndef FRAMECONV_STATS_COMMAND_H
#define FRAMECONV_STATS_COMMAND_H

#include "CommandLine.h"

class IKVImgManager;

class StatsCommand {
public:
    static int Run(IKVImgManager* manager, const CommandLine& line);
};

#endif
