#include "PluginLoader.h"

#include <dlfcn.h>

#include "IKVImgManager.h"
#include "ImgProcPlugin.h"
#include "KorvaTypes.h"

PluginLoader::PluginLoader(const std::string& path)
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

PluginLoader::~PluginLoader()
{
    if (mHandle != nullptr)
        dlclose(mHandle);
}
