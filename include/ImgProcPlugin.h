// The two entry points that the plug-in exports, unmangled.
#ifndef IMGPROC_PLUGIN_H
#define IMGPROC_PLUGIN_H

extern "C" {
// Fills version (a buffer of size bytes) with the interface version and
// arms DllGetImgObject.
int DllGetKORVAPluginAPIVersion(char** version, int size);
// Hands out the image manager (an IKVImgManager*), or null before the handshake.
int DllGetImgObject(void** object);

typedef int (*PFN_DllGetKORVAPluginAPIVersion)(char** version, int size);
typedef int (*PFN_DllGetImgObject)(void** object);
}

#endif
