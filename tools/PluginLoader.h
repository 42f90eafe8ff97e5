// Loads img_proc.so.17 the way the host library does: dlopen, the version
// handshake, then the image manager. Everything after that goes through
// IKVImgManager and IKVImage.
#ifndef FRAMECONV_PLUGIN_LOADER_H
#define FRAMECONV_PLUGIN_LOADER_H

#include <string>

class IKVImgManager;

class PluginLoader {
public:
    explicit PluginLoader(const std::string& path);
    ~PluginLoader();
    PluginLoader(const PluginLoader&) = delete;
    PluginLoader& operator=(const PluginLoader&) = delete;

    IKVImgManager* manager() const { return mManager; }
    const std::string& version() const { return mVersion; }
    const std::string& error() const { return mError; }

private:
    void* mHandle = nullptr;
    IKVImgManager* mManager = nullptr;
    std::string mVersion;
    std::string mError;
};

#endif
