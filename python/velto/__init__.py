"""Velto from Python, over ctypes: no compile step.

    import velto
    p = velto.Problem.read("examples/production.mps")
    p.optimize()
    print(p.status_text, p.objective, p.x)

`velto.lib` holds every exported function of the library under its C name
(`velto.lib.VLTgetnumrows(env, lp)`), with argument types from the header;
`velto.VLT_...` are the header's constants.  A failed call raises
VeltoError with the library's message.  The library is found through
VELTO_LIBRARY, the install this module came with, or a build tree.
"""
from types import SimpleNamespace as _Namespace

from . import _decls
from ._lib import FUNCTIONS as _FUNCTIONS
from ._lib import LIBRARY_PATH, MSGFUNC, UNWRAPPED, VeltoError, has_function
from .model import Env, Problem

lib = _Namespace(**_FUNCTIONS)
globals().update(_decls.CONSTANTS)

__all__ = ["Env", "Problem", "VeltoError", "lib", "LIBRARY_PATH", "MSGFUNC", "UNWRAPPED",
           "has_function"] + list(_decls.CONSTANTS)
