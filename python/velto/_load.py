"""Finds and loads libvelto.

Order: the file named by VELTO_LIBRARY; the library of the install this
module belongs to; a build tree beside the sources (build*/); the system's
library path.
"""
import ctypes
import ctypes.util
import glob
import os

_HERE = os.path.dirname(os.path.abspath(__file__))


def _installed():
    try:
        from . import _install
    except ImportError:
        return []
    libdir = os.path.normpath(os.path.join(_HERE, _install.LIBDIR))
    return [os.path.join(libdir, "libvelto.so")] + sorted(glob.glob(os.path.join(libdir, "libvelto.so.*")))


def _build_trees():
    root = os.path.normpath(os.path.join(_HERE, "..", ".."))
    return sorted(glob.glob(os.path.join(root, "build*", "libvelto.so")))


def candidates():
    """The files tried, in order."""
    named = os.environ.get("VELTO_LIBRARY")
    if named:
        return [named]
    found = ctypes.util.find_library("velto")
    return _installed() + _build_trees() + ([found] if found else [])


def load():
    """Returns (CDLL, path) of the first library that loads."""
    tried = []
    for path in candidates():
        if os.path.sep in path and not os.path.exists(path):
            tried.append(path + " (absent)")
            continue
        try:
            return ctypes.CDLL(path), path
        except OSError as e:
            tried.append("%s (%s)" % (path, e))
    raise OSError("libvelto not found; set VELTO_LIBRARY to its path. Tried: " +
                  ("; ".join(tried) if tried else "nothing"))
