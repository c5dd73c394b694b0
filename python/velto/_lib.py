"""Every exported function of libvelto with its argument types, from the
declarations generated out of the header.

A call that fails raises VeltoError carrying the library's own message: each
environment opened through this module has its error channel routed to a
collector, and the text written there during the call becomes the message.
A function that returns a status raises on a non-zero one; a function that
returns a count or a handle raises when the library wrote an error during
the call (or, for a handle, left it null with its status argument set).
"""
import ctypes
import functools
import re

from . import _decls
from ._load import load
from ._types import TypeTable


class VeltoError(RuntimeError):
    """A failed library call: `status` is the library's status code (None
    when the failure is the module's own), `function` the call's name."""

    def __init__(self, message, status=None, function=None):
        RuntimeError.__init__(self, message)
        self.status = status
        self.function = function
        self.message = message


# Functions whose int result is a value, not a status.
_VALUES = {
    "VLTEgetThreadNumber", "VLTfclose", "VLTfputs", "VLTputenv", "VLTmsg", "VLTmsgstr",
    "VLTgetprobtype", "VLTgetobjsen", "VLTgetmethod", "VLTgetstat", "VLTcangetbase",
    "VLTEgetorigcolind", "VLTEgetorigrowind",
}


def returns_value(name):
    """True when an int-returning function gives a value (count, index,
    type, flag) rather than a status."""
    return name in _VALUES or name.startswith("VLTgetnum") or name.endswith("cnt")


_CDLL, LIBRARY_PATH = load()
TYPES = TypeTable(_decls.HANDLES, _decls.CALLBACKS)
MSGFUNC = TYPES.callbacks.get("VLTMSGFUNC")

# Error text written on each environment's error channel, keyed by the
# environment's address.
_errors = {}


@MSGFUNC
def _collect(handle, text):
    box = _errors.get(handle)
    if box is not None and text:
        box.append(text.decode(errors="replace"))


def _address(obj):
    obj = getattr(obj, "_as_parameter_", obj)
    if isinstance(obj, ctypes.c_void_p):
        return obj.value
    return obj if isinstance(obj, int) else None


def _intvalue(obj):
    """The int behind a status argument: c_int, byref(c_int), pointer."""
    if isinstance(obj, ctypes.c_int):
        return obj.value
    inner = getattr(obj, "_obj", None)  # byref()
    if isinstance(inner, ctypes.c_int):
        return inner.value
    if isinstance(obj, ctypes._Pointer) and obj:
        return obj.contents.value
    return None


def error_text(env, status):
    """The table text of a status code, without the error-line prefix."""
    buf = ctypes.create_string_buffer(1024)
    text = _CDLL.VLTgeterrorstring(env, status, buf)
    return text.decode(errors="replace").strip() if text else "library error %d" % status


def _raise(name, env, status, written):
    text = "".join(written).strip()
    if status is None:
        m = re.search(r"VELTO Error\s+(-?\d+)", text)
        status = int(m.group(1)) if m else None
    if not text:
        text = error_text(env, status) if status else "%s failed" % name
    raise VeltoError(text, status, name)


def _wrap(name, restype, params):
    cfunc = getattr(_CDLL, name)
    cfunc.restype = TYPES.restype(restype)
    names = [p[1] for p in params]
    if params and params[-1][0] == "...":
        cfunc.argtypes = None  # variadic: ctypes converts each argument itself
    else:
        cfunc.argtypes = [TYPES.argtype(t) for t, _ in params]
    has_env = bool(params) and params[0][0] in ("VLTENVptr", "VLTCENVptr")
    status_result = restype == "int" and not returns_value(name)
    status_arg = names.index("status_p") if "status_p" in names else None
    handle_result = restype in TYPES.handles

    @functools.wraps(cfunc)
    def call(*args):
        env = _address(args[0]) if has_env and args else None
        written = _errors.get(env) if env is not None else None
        if written:
            del written[:]  # left by calls that do not check
        result = cfunc(*args)
        new = list(written) if written else []
        if written:
            del written[:]
        if status_result:
            if result != 0:
                _raise(name, env, result, new)
        elif handle_result and not result:
            st = _intvalue(args[status_arg]) if status_arg is not None and len(args) > status_arg else None
            _raise(name, env, st or None, new)
        elif new:
            _raise(name, env, None, new)
        return result

    call.__name__ = name
    call.__doc__ = "%s %s(%s)" % (restype, name, ", ".join(
        ("%s %s" % (t, n)).strip() for t, n in params))
    call.cfunc = cfunc
    return call


def _collecting(opener):
    """An opener of environments that routes the new environment's error
    channel to the collector."""

    @functools.wraps(opener)
    def call(*args):
        env = opener(*args)
        if env:
            err = ctypes.c_void_p()
            _CDLL.VLTgetchannels(ctypes.c_void_p(env), None, None, ctypes.byref(err), None)
            _errors[env] = []
            _CDLL.VLTaddfuncdest(ctypes.c_void_p(env), err, ctypes.c_void_p(env), _collect)
        return env

    return call


def _forgetting(closer):
    @functools.wraps(closer)
    def call(env_p, *rest):
        inner = getattr(env_p, "_obj", None)
        if isinstance(env_p, ctypes._Pointer):
            inner = env_p.contents
        env = inner.value if isinstance(inner, ctypes.c_void_p) else None
        try:
            return closer(env_p, *rest)
        finally:
            _errors.pop(env, None)

    return call


FUNCTIONS = {}
UNWRAPPED = {}  # name -> the C type the module has no mapping for
for _name, _restype, _params in _decls.FUNCTIONS:
    try:
        FUNCTIONS[_name] = _wrap(_name, _restype, _params)
    except KeyError as e:
        UNWRAPPED[_name] = e.args[0]
    except AttributeError:
        UNWRAPPED[_name] = "not exported by " + LIBRARY_PATH

if "VLTopenVELTO" in FUNCTIONS:
    FUNCTIONS["VLTopenVELTO"] = _collecting(FUNCTIONS["VLTopenVELTO"])
if "VLTcloseVELTO" in FUNCTIONS:
    FUNCTIONS["VLTcloseVELTO"] = _forgetting(FUNCTIONS["VLTcloseVELTO"])


def has_function(name):
    """True when the loaded library exports `name`."""
    return hasattr(_CDLL, name)
