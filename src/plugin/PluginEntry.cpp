// The plug-in's two exported entry points and its process-wide state.
#include <cstring>

#include "ImgProcManager.h"
#include "ImgProcPlugin.h"
#include "KorvaTypes.h"

#define KV_EXPORT extern "C" __attribute__((visibility("default")))

// Set by a successful handshake, never cleared: the one-way gate of
// DllGetImgObject.
static bool g_called_KORVAPluginVersion = false;

// Constructed at load; its destructor is registered against this shared
// object, so it runs when the host unloads the plug-in, not only at exit.
static CImgProcManager g_imgprocm;

KV_EXPORT int DllGetKORVAPluginAPIVersion(char** version, int size)
{
    if (version == nullptr || *version == nullptr)
        return RESULT_BAD_PARAM;
    static const char kVersion[6] = "1.7.0";
    char* text = *version;
    const int copied = size < 6 ? size : 6;
    if (copied > 0)
        std::memcpy(text, kVersion, static_cast<size_t>(copied));
    if (size > 5) {
        text[5] = '\0';
    } else if (size >= 0) {
        // The text is cut and always terminated; at size 0 the terminator
        // lands on the byte in front of the buffer, as the handshake has
        // always defined it. A negative size is outside the contract and
        // writes nothing, rather than reaching far outside the caller's memory.
        text[size - 1] = '\0';
    }
    g_called_KORVAPluginVersion = true;
    return RESULT_OK;
}

KV_EXPORT int DllGetImgObject(void** object)
{
    *object = g_called_KORVAPluginVersion ? static_cast<IKVImgManager*>(&g_imgprocm) : nullptr;
    return RESULT_OK;
}
