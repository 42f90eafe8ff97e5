// frameconv formats: every pixel format as the plug-in reports it.
#ifndef FRAMECONV_FORMATS_COMMAND_H
#define FRAMECONV_FORMATS_COMMAND_H

class IKVImgManager;

class FormatsCommand {
public:
    static int Run(IKVImgManager* manager);
};

#endif
