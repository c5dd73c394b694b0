"""The Pythonic layer: Env and Problem over the wrapped functions."""
import ctypes
import logging

from . import _lib
from ._lib import FUNCTIONS as F
from ._lib import VeltoError
from ._types import numpy

log = logging.getLogger("velto")

_CHANNELS = ("results", "warning", "error", "log")

# Python targets of channel destinations, by a number passed as the handle.
_targets = {}
_next_target = [1]


@_lib.MSGFUNC
def _dispatch(handle, text):
    target = _targets.get(handle)
    if target is not None and text:
        try:
            target(text.decode(errors="replace"))
        except Exception:  # an exception must not unwind through the C library
            log.exception("channel destination failed")


def _logger_target(logger, level):
    return lambda text: logger.log(level, "%s", text.rstrip("\n"))


def _doubles(n):
    return numpy.zeros(n) if numpy is not None else (ctypes.c_double * n)()


def _result(arr):
    return arr if numpy is not None else list(arr)


class Env:
    """An environment: parameters and message channels.

    `log` says where the results and warning channels go: None for the
    "velto" logger (results at INFO, warnings at WARNING), a logging.Logger,
    a callable taking each message text, or False for nowhere.  Errors raise
    VeltoError with the library's message; `route("error", ...)` shows them
    as well.
    """

    def __init__(self, log=None):
        status = ctypes.c_int(0)
        self._handle = F["VLTopenVELTO"](ctypes.byref(status))
        self._as_parameter_ = ctypes.c_void_p(self._handle)
        self._routes = {}
        self._problems = []
        if log is not False:
            self.route("results", log, logging.INFO)
            self.route("warning", log, logging.WARNING)

    # -- lifetime --
    def close(self):
        if self._handle:
            for p in self._problems:
                p._handle = None
            for ident in self._routes.values():
                _targets.pop(ident, None)
            F["VLTcloseVELTO"](ctypes.byref(ctypes.c_void_p(self._handle)))
            self._handle = None
            self._as_parameter_ = ctypes.c_void_p(None)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def __del__(self):
        try:
            self.close()
        except Exception:
            pass

    @property
    def closed(self):
        return not self._handle

    # -- channels --
    def channel(self, name):
        """The handle of a channel: results, warning, error or log."""
        chans = [ctypes.c_void_p() for _ in _CHANNELS]
        F["VLTgetchannels"](self, *[ctypes.byref(c) for c in chans])
        return chans[_CHANNELS.index(name)]

    def route(self, channel, target=None, level=logging.INFO):
        """Sends a channel's messages to `target` (see the class text);
        replaces what an earlier route() of the same channel set."""
        chan = self.channel(channel)
        old = self._routes.pop(channel, None)
        if old is not None:
            F["VLTdelfuncdest"](self, chan, ctypes.c_void_p(old), _dispatch)
            _targets.pop(old, None)
        if target is False:
            return
        if target is None:
            target = _logger_target(log, level)
        elif isinstance(target, logging.Logger):
            target = _logger_target(target, level)
        ident = _next_target[0]
        _next_target[0] += 1
        _targets[ident] = target
        self._routes[channel] = ident
        F["VLTaddfuncdest"](self, chan, ctypes.c_void_p(ident), _dispatch)

    # -- parameters --
    def _param(self, name):
        if isinstance(name, int):
            return name
        if not name.startswith("VLT_PARAM_"):
            name = "VLT_PARAM_" + name.upper()
        num = ctypes.c_int()
        F["VLTgetparamnum"](self, name, ctypes.byref(num))
        return num.value

    def _kind(self, num):
        for kind in ("int", "dbl"):
            try:
                F["VLTinfo%sparam" % kind](self, num, None, None, None)
                return kind
            except VeltoError:
                pass
        return "str"

    def set_param(self, name, value):
        """Sets a parameter by name ("PREIND" or "VLT_PARAM_PREIND") or
        number."""
        num = self._param(name)
        kind = self._kind(num)
        if kind == "int":
            F["VLTsetintparam"](self, num, int(value))
        elif kind == "dbl":
            F["VLTsetdblparam"](self, num, float(value))
        else:
            F["VLTsetstrparam"](self, num, str(value))

    def get_param(self, name):
        num = self._param(name)
        kind = self._kind(num)
        if kind == "int":
            v = ctypes.c_int()
            F["VLTgetintparam"](self, num, ctypes.byref(v))
            return v.value
        if kind == "dbl":
            v = ctypes.c_double()
            F["VLTgetdblparam"](self, num, ctypes.byref(v))
            return v.value
        buf = ctypes.create_string_buffer(1024)
        F["VLTgetstrparam"](self, num, buf)
        return buf.value.decode()

    @property
    def version(self):
        return F["VLTversion"](self).decode()


class _either:
    """A method that, called on the class, makes a new object first."""

    def __init__(self, func):
        self.func = func

    def __get__(self, obj, cls):
        if obj is None:
            def make(*args, env=None, **kw):
                p = cls(env=env)
                self.func(p, *args, **kw)
                return p
            return make
        return lambda *args, **kw: (self.func(obj, *args, **kw), obj)[1]


class Problem:
    """A model with its solution.

        p = Problem.read("afiro.mps")   # a new problem (and environment)
        p.optimize()
        p.status, p.objective, p.x, p.pi
    """

    def __init__(self, env=None, name="velto"):
        self.env = env if env is not None else Env()
        status = ctypes.c_int(0)
        self._handle = F["VLTcreateprob"](self.env, ctypes.byref(status), name)
        self._as_parameter_ = ctypes.c_void_p(self._handle)
        self.env._problems.append(self)
        self._mip = False

    def close(self):
        if self._handle and not self.env.closed:
            F["VLTfreeprob"](self.env, ctypes.byref(ctypes.c_void_p(self._handle)))
        self._handle = None

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def _call(self, name, *args):
        if not self._handle:
            raise VeltoError("the problem is closed", None, name)
        return F[name](self.env, self, *args)

    # -- model --
    @_either
    def read(self, path, filetype=None):
        """Reads a model file (MPS or LP, by the suffix unless filetype says).
        Problem.read(path) makes a new problem; p.read(path) replaces p's."""
        self._call("VLTreadcopyprob", str(path), filetype)

    def write(self, path, filetype=None):
        self._call("VLTwriteprob", str(path), filetype)

    def load(self, obj, rhs, sense, matbeg, matind, matval, lb=None, ub=None, matcnt=None,
             rngval=None, objsen=1, colnames=None, rownames=None):
        """Loads a model from column-wise arrays (matbeg of length n or n+1)."""
        n, m = len(obj), len(rhs)
        matbeg = list(matbeg)
        if matcnt is None:
            ends = matbeg[1:n + 1] if len(matbeg) > n else matbeg[1:] + [len(matind)]
            matcnt = [e - b for b, e in zip(matbeg[:n], ends)]
        lb = [0.0] * n if lb is None else lb
        ub = [1e20] * n if ub is None else ub
        self._call("VLTcopylpwnames", n, m, objsen, obj, rhs, sense, matbeg[:n], matcnt,
                   matind, matval, lb, ub, rngval, colnames, rownames)

    @property
    def num_rows(self):
        return self._call("VLTgetnumrows")

    @property
    def num_cols(self):
        return self._call("VLTgetnumcols")

    @property
    def objsen(self):
        """1 for a minimization, -1 for a maximization."""
        return self._call("VLTgetobjsen")

    def _names(self, cols):
        count = self.num_cols if cols else self.num_rows
        if count == 0:
            return []
        get = "VLTgetcolname" if cols else "VLTgetrowname"
        # Generous store first: the size query would write an error line.
        space = 64 * count
        while True:
            ptrs = (ctypes.c_char_p * count)()
            store = ctypes.create_string_buffer(space)
            surplus = ctypes.c_int()
            try:
                self._call(get, ptrs, store, space, ctypes.byref(surplus), 0, count - 1)
                return [p.decode() if p else "" for p in ptrs]
            except VeltoError as e:
                if e.status == 1219:  # a model without names
                    return []
                if e.status != 1207:
                    raise
                space -= surplus.value

    @property
    def col_names(self):
        return self._names(True)

    @property
    def row_names(self):
        return self._names(False)

    # -- optimize --
    @property
    def is_mip(self):
        return self._call("VLTgetprobtype") in (1, 7)

    def optimize(self, method="auto"):
        """Solves the model: method auto, primal or dual for a linear model;
        an integer model needs the library's integer optimizer."""
        if self.is_mip:
            if "VLTmipopt" not in F:
                raise VeltoError("the model has integer columns and this library has no "
                                 "integer optimizer", None, "VLTmipopt")
            self._call("VLTmipopt")
            self._mip = True
            return self
        calls = {"auto": "VLTlpopt", "primal": "VLTprimopt", "dual": "VLTdualopt"}
        if method not in calls:
            raise ValueError("method is auto, primal or dual, not %r" % (method,))
        self._call(calls[method])
        self._mip = False
        return self

    # -- solution --
    @property
    def status(self):
        """The solution status code (1 optimal, 2 unbounded, 3 infeasible, ...)."""
        return self._call("VLTgetstat")

    @property
    def status_text(self):
        buf = ctypes.create_string_buffer(128)
        text = F["VLTgetstatstring"](self.env, self.status, buf)
        return text.decode() if text else None

    @property
    def objective(self):
        v = ctypes.c_double()
        self._call("VLTgetmipobjval" if self._mip else "VLTgetobjval", ctypes.byref(v))
        return v.value

    @property
    def iterations(self):
        return self._call("VLTgetitcnt")

    def _vector(self, name, count):
        out = _doubles(count)
        if count:
            self._call(name, out, 0, count - 1)
        return _result(out)

    @property
    def x(self):
        return self._vector("VLTgetmipx" if self._mip else "VLTgetx", self.num_cols)

    @property
    def dj(self):
        return self._vector("VLTgetdj", self.num_cols)

    @property
    def pi(self):
        return self._vector("VLTgetpi", self.num_rows)

    @property
    def slack(self):
        return self._vector("VLTgetmipslack" if self._mip else "VLTgetslack", self.num_rows)
