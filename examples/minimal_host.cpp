// The smallest host program: loads the plug-in as the host library does,
// lays one 8 x 6 BAYRG8 frame into an image object, converts it to
// RGB8_PACKED into a buffer of its own and prints one pixel.
//
//   minimal_host /path/to/img_proc.so.17
#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "IKVImgManager.h"
#include "ImgProcPlugin.h"
#include "KorvaPixelFormats.h"
#include "KorvaTypes.h"
#include "ikvimage.h"

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: minimal_host PATH/img_proc.so.17\n");
        return 2;
    }
    // 1. Load the plug-in and shake hands: only after the version call does
    //    DllGetImgObject hand out the manager.
    void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        std::fprintf(stderr, "minimal_host: %s\n", dlerror());
        return 1;
    }
    auto getVersion = reinterpret_cast<PFN_DllGetKORVAPluginAPIVersion>(dlsym(library, "DllGetKORVAPluginAPIVersion"));
    auto getObject = reinterpret_cast<PFN_DllGetImgObject>(dlsym(library, "DllGetImgObject"));
    char versionText[16] = {};
    char* version = versionText;
    void* object = nullptr;
    if (getVersion == nullptr || getObject == nullptr || getVersion(&version, sizeof versionText) != RESULT_OK ||
        getObject(&object) != RESULT_OK || object == nullptr) {
        std::fprintf(stderr, "minimal_host: no plug-in handshake\n");
        return 1;
    }
    IKVImgManager* manager = static_cast<IKVImgManager*>(object);
    IKVImage* image = nullptr;
    if (manager->create(&image) != RESULT_OK) {
        std::fprintf(stderr, "minimal_host: no image object\n");
        return 1;
    }

    // 2. The frame: size, format, a buffer of the object's own, the bytes,
    //    the image chunk that says where they lie, and status 0.
    const int width = 8, height = 6, bytes = width * height;
    image->setSize(width, height);
    image->setPixelFormat(KORVA_PIXTYPE_BAYRG8);
    image->allocateBuffer(bytes);
    unsigned char* frame = nullptr;
    image->getBuffer(&frame);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)  // red 200, green 100, blue 50 in the RG pattern
            frame[y * width + x] = (y % 2 == 0) ? (x % 2 == 0 ? 200 : 100) : (x % 2 == 0 ? 100 : 50);
    image->setChunkOfData(KORVA_CHUNK_IMAGE, frame, bytes, 0, bytes);
    image->setState(KORVA_IMAGESTATE_OK);

    // 3. The conversion into a buffer of the host's.
    image->setDemosaic(KORVA_DEMOSAIC_NEAREST);
    image->setDestinationPixelFormat(KORVA_PIXTYPE_RGB8_PACKED);
    std::vector<unsigned char> rgb(static_cast<size_t>(bytes) * 3);
    const int rc = image->doTransform(rgb.data(), static_cast<int>(rgb.size()));
    const unsigned char* p = &rgb[(3 * width + 3) * 3];
    std::printf("plug-in %s: doTransform %d, pixel (3, 3) = %d %d %d\n", versionText, rc, p[0], p[1], p[2]);

    manager->destroy(image);
    dlclose(library);
    return rc == RESULT_OK && p[0] == 200 && p[1] == 100 && p[2] == 50 ? 0 : 1;
}
