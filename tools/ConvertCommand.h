// frameconv convert: checks every input and the output plan first, then
// converts frame by frame through the same two image objects.
#ifndef FRAMECONV_CONVERT_COMMAND_H
#define FRAMECONV_CONVERT_COMMAND_H

#include "CommandLine.h"

class IKVImgManager;

class ConvertCommand {
public:
    // Exit status: 0 done, 1 an input could not be read, converted or
    // written, 2 the options do not fit together.
    static int Run(IKVImgManager* manager, const CommandLine& line);
};

#endif
