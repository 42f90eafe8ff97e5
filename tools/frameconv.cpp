// frameconv: uses the image-processing plug-in outside a camera
// application. It loads img_proc.so.17 exactly as the host library does
// (dlopen, version handshake, image manager) and then speaks to image
// objects only through IKVImage.
#include <string>
#include <vector>

#include "FrameconvApp.h"

int main(int argc, char** argv)
{
    return FrameconvApp::Main(std::vector<std::string>(argv + 1, argv + argc), IMGPROC_DEFAULT_PLUGIN);
}
