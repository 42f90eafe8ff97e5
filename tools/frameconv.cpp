// frameconv: uses the image-processing plug-in outside a camera
// application. It loads img_proc.so.17 exactly as the host library does
// (dlopen, version handshake, image manager) and then speaks to image
// objects only through IKVImage.
#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "IKVImgManager.h"
#include "ImgProcPlugin.h"
#include "KorvaTypes.h"
#include "ikvimage.h"

namespace {

class PluginLoader {
public:
    explicit PluginLoader(const std::string& path)
    {
        mHandle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (mHandle == nullptr) {
            mError = dlerror();
            return;
        }
        auto version = reinterpret_cast<PFN_DllGetKORVAPluginAPIVersion>(dlsym(mHandle, "DllGetKORVAPluginAPIVersion"));
        auto object = reinterpret_cast<PFN_DllGetImgObject>(dlsym(mHandle, "DllGetImgObject"));
        if (version == nullptr || object == nullptr) {
            mError = "the library does not export the plug-in entry points";
            return;
        }
        char text[16] = {};
        char* p = text;
        if (version(&p, sizeof text) != RESULT_OK) {
            mError = "the version handshake failed";
            return;
        }
        mVersion = text;
        void* manager = nullptr;
        object(&manager);
        mManager = static_cast<IKVImgManager*>(manager);
        if (mManager == nullptr)
            mError = "the plug-in handed out no image manager";
    }
    ~PluginLoader()
    {
        if (mHandle != nullptr)
            dlclose(mHandle);
    }

    IKVImgManager* manager() const { return mManager; }
    const std::string& version() const { return mVersion; }
    const std::string& error() const { return mError; }

private:
    void* mHandle = nullptr;
    IKVImgManager* mManager = nullptr;
    std::string mVersion;
    std::string mError;
};

// Prints what an image object holds.
void ShowFrame(const char* title, IKVImage* image)
{
    int width = 0, height = 0, format = 0, first = 0, second = 0, headerLength = 0;
    unsigned char* pixels = nullptr;
    unsigned char* header = nullptr;
    KORVA_ImageStatus state = KORVA_IMAGESTATE_NOT_SET;
    image->getSize(&width, &height);
    image->getPixelFormat(&format);
    std::printf("%s: %d x %d, format 0x%08X\n", title, width, height, static_cast<unsigned>(format));
    if (image->getHeader(&header) == RESULT_OK && image->getHeaderLength(&headerLength) == RESULT_OK)
        std::printf("  header     \"%.*s\" (%d bytes)\n", headerLength, reinterpret_cast<char*>(header), headerLength);
    if (image->getNumber(&first, &second) == RESULT_OK)
        std::printf("  number     %d %d\n", first, second);
    if (image->getTimeStamp(&first, &second) == RESULT_OK)
        std::printf("  time stamp %d %d\n", first, second);
    if (image->getState(&state) == RESULT_OK)
        std::printf("  status     %d\n", static_cast<int>(state));
    if (image->get(&pixels) == RESULT_OK) {
        std::printf("  pixels    ");
        for (int i = 0; i < 8; ++i)
            std::printf(" %3d", pixels[i]);
        std::printf(" ...\n");
    }
}

// Lays a small MONO8 frame with a header chunk into one image object and
// transforms it into another, as a camera stream does frame by frame.
int RunDemo(IKVImgManager* manager)
{
    const int width = 16, height = 4, headerLength = 8;
    IKVImage* source = nullptr;
    IKVImage* target = nullptr;
    if (manager->create(&source) != RESULT_OK || manager->create(&target) != RESULT_OK) {
        std::fprintf(stderr, "frameconv: could not create the image objects\n");
        return 1;
    }
    source->setSize(width, height);
    source->setPixelFormat(KORVA_PIXTYPE_MONO8);
    source->allocateBuffer(headerLength + width * height);
    unsigned char* buffer = nullptr;
    source->getBuffer(&buffer);
    std::memcpy(buffer, "FRAMEHDR", headerLength);
    for (int i = 0; i < width * height; ++i)
        buffer[headerLength + i] = static_cast<unsigned char>(i * 4);
    source->setHeader(buffer, headerLength);
    source->setChunkOfData(KORVA_CHUNK_IMAGE, buffer + headerLength, width * height, 0, width * height);
    source->setNumber(42, 0);
    source->setTimeStamp(1000, 1);
    source->setState(KORVA_IMAGESTATE_OK);
    ShowFrame("source", source);

    const int rc = source->doTransformImageObject(target);
    std::printf("doTransformImageObject -> %d\n", rc);
    ShowFrame("target", target);

    unsigned char* pixels = nullptr;
    unsigned char* header = nullptr;
    target->get(&pixels);
    target->getHeader(&header);
    const bool ok = rc == RESULT_OK && pixels != nullptr && header != nullptr &&
                    std::memcmp(pixels, buffer + headerLength, width * height) == 0 &&
                    std::memcmp(header, buffer, headerLength) == 0;
    manager->destroy(source);
    manager->destroy(target);
    std::printf("%s\n", ok ? "frame arrived complete" : "frame did NOT arrive complete");
    return ok ? 0 : 1;
}

void Usage()
{
    std::printf(
        "usage: frameconv [--plugin PATH] demo\n"
        "  demo   transform a built-in frame with a header from one image object into another\n");
}

}  // namespace

int main(int argc, char** argv)
{
    std::string plugin = IMGPROC_DEFAULT_PLUGIN;
    std::vector<std::string> args;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--plugin" && i + 1 < argc)
            plugin = argv[++i];
        else if (arg == "-h" || arg == "--help") {
            Usage();
            return 0;
        } else
            args.push_back(arg);
    }
    const std::string command = args.empty() ? "demo" : args[0];

    PluginLoader loader(plugin);
    if (loader.manager() == nullptr) {
        std::fprintf(stderr, "frameconv: %s: %s\n", plugin.c_str(), loader.error().c_str());
        return 1;
    }
    std::printf("plug-in %s, interface version %s\n", plugin.c_str(), loader.version().c_str());
    if (command == "demo")
        return RunDemo(loader.manager());
    Usage();
    return 2;
}
