"""Loading img_proc.so.17 the way the host library does (dlopen, version
handshake, image manager) and calling the C++ virtual operations of its
objects through their virtual tables."""

import ctypes
import os
import threading
from pathlib import Path

PLUGIN_NAME = "img_proc.so.17"
HOST_NAME = "libkorva.so.17"

RESULT_NAMES = {1: "RESULT_OK", 0: "RESULT_FAIL", -1: "RESULT_ERROR", -2: "RESULT_BAD_PARAM",
                -3: "RESULT_NOT_SUPPORTED"}
RESULT_OK = 1

# Serialises create and destroy: the image manager's list has no lock.
manager_lock = threading.Lock()


class PluginError(RuntimeError):
    """An operation of the plug-in answered with a result code other than
    RESULT_OK. `code` holds the number, `code_name` its name."""

    def __init__(self, operation, code):
        self.operation = operation
        self.code = code
        self.code_name = RESULT_NAMES.get(code, "unknown result")
        super().__init__(f"{operation} returned {self.code_name} ({code})")


def check(operation, code):
    if code != RESULT_OK:
        raise PluginError(operation, code)


def _candidates():
    """Where the plug-in may lie, best first: the environment, the installed
    layout (<prefix>/lib next to the Python folder), the build tree."""
    env = os.environ.get("KV_IMGPROC_PLUGIN")
    if env:
        return [Path(env)]
    here = Path(__file__).resolve().parent
    found = []
    try:
        from . import _install  # written by the install rule
        found.append((here / _install.LIB_DIR / PLUGIN_NAME).resolve())
    except ImportError:
        pass
    found.append(here.parents[2] / PLUGIN_NAME)           # <prefix>/lib/python3*/dist-packages/kvimgproc
    found.append(here.parents[1] / "build" / PLUGIN_NAME)  # <repo>/python/kvimgproc
    return found


def _host_next_to(plugin):
    for path in (os.environ.get("KV_KORVA_LIBRARY"), plugin.parent / "korva" / HOST_NAME, plugin.parent / HOST_NAME):
        if path and Path(path).is_file():
            return Path(path)
    return None


class Plugin:
    """The loaded plug-in and its image manager."""

    def __init__(self):
        tried = _candidates()
        path = next((p for p in tried if p.is_file()), None)
        if path is None:
            raise OSError(f"{PLUGIN_NAME} not found (looked at {', '.join(map(str, tried))}); "
                          f"set KV_IMGPROC_PLUGIN to its path")
        host = _host_next_to(path)
        # Loaded first and globally, as a host process has it, so that the
        # plug-in's dependency resolves to this copy whatever its run path says.
        self.host = ctypes.CDLL(str(host), mode=ctypes.RTLD_GLOBAL) if host else None
        self.lib = ctypes.CDLL(str(path), mode=ctypes.RTLD_LOCAL)
        self.path = path
        handshake = self.lib.DllGetKORVAPluginAPIVersion
        handshake.argtypes = [ctypes.POINTER(ctypes.c_char_p), ctypes.c_int]
        handshake.restype = ctypes.c_int
        text = ctypes.create_string_buffer(16)
        pointer = ctypes.c_char_p(ctypes.addressof(text))
        check("DllGetKORVAPluginAPIVersion", handshake(ctypes.byref(pointer), len(text)))
        self.version = text.value.decode()
        get_object = self.lib.DllGetImgObject
        get_object.argtypes = [ctypes.POINTER(ctypes.c_void_p)]
        get_object.restype = ctypes.c_int
        manager = ctypes.c_void_p()
        get_object(ctypes.byref(manager))
        if not manager.value:
            raise OSError(f"{path} handed out no image manager")
        self.manager = manager.value
        self._create = method(self.manager, 2, ctypes.c_int, ctypes.POINTER(ctypes.c_void_p))
        self._destroy = method(self.manager, 3, ctypes.c_int, ctypes.c_void_p)

    def create(self):
        image = ctypes.c_void_p()
        with manager_lock:
            check("create", self._create(self.manager, ctypes.byref(image)))
        return image.value

    def destroy(self, image):
        with manager_lock:
            check("destroy", self._destroy(self.manager, image))


_prototypes = {}


def method(obj, slot, restype, *argtypes):
    """The function in slot `slot` of obj's virtual table, callable as
    f(obj, *args): x86-64 passes `this` as the first argument. ctypes drops
    the interpreter lock for the call, so threads convert in parallel."""
    table = ctypes.c_void_p.from_address(obj).value
    address = ctypes.c_void_p.from_address(table + slot * ctypes.sizeof(ctypes.c_void_p)).value
    key = (restype, argtypes)
    if key not in _prototypes:
        _prototypes[key] = ctypes.CFUNCTYPE(restype, ctypes.c_void_p, *argtypes)
    return _prototypes[key](address)


_plugin = None
_plugin_lock = threading.Lock()


def plugin():
    """The process's one plug-in, loaded on first use."""
    global _plugin
    if _plugin is None:
        with _plugin_lock:
            if _plugin is None:
                _plugin = Plugin()
    return _plugin
