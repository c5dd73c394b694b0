"""ctypes types for the C types of the header.

Pointer arguments accept whole arrays: NumPy arrays of the right element
type are passed without a copy; other NumPy arrays and plain sequences are
copied when the C side only reads them (const), and refused when the C side
writes into them, since a copy would lose the results.  ctypes arrays,
pointers and byref() objects pass unchanged.
"""
import ctypes

try:
    import numpy
except ImportError:  # plain sequences then
    numpy = None


def _is_ctypes(obj):
    return isinstance(obj, (ctypes.Array, ctypes._Pointer, ctypes._SimpleCData)) or \
        type(obj).__name__ == "CArgObject"


class _NumberArray:
    """Base of the array parameter types; subclasses set the element type."""
    ctype = None
    dtype = None
    const = True

    @classmethod
    def from_param(cls, obj):
        if obj is None:
            return None
        if _is_ctypes(obj):
            return ctypes.POINTER(cls.ctype).from_param(obj)
        if numpy is not None and isinstance(obj, numpy.ndarray):
            if obj.dtype == numpy.dtype(cls.dtype) and obj.flags.c_contiguous:
                if not cls.const and not obj.flags.writeable:
                    raise TypeError("a read-only array cannot receive results")
                return obj.ctypes.data_as(ctypes.POINTER(cls.ctype))
            if not cls.const:
                raise TypeError("an array that receives results must be a contiguous "
                                "numpy array of %s, got %s" % (cls.dtype, obj.dtype))
            return numpy.ascontiguousarray(obj, dtype=cls.dtype).ctypes.data_as(
                ctypes.POINTER(cls.ctype))
        if isinstance(obj, (str, bytes)):
            raise TypeError("expected a sequence of numbers, got %s" % type(obj).__name__)
        if not cls.const:
            raise TypeError("an array that receives results must be a numpy array or a "
                            "ctypes array of %s; a %s cannot hold them"
                            % (cls.ctype.__name__, type(obj).__name__))
        items = list(obj)
        return (cls.ctype * len(items))(*items)


class IntIn(_NumberArray):
    ctype, dtype, const = ctypes.c_int, "int32", True


class IntOut(_NumberArray):
    ctype, dtype, const = ctypes.c_int, "int32", False


class DoubleIn(_NumberArray):
    ctype, dtype, const = ctypes.c_double, "float64", True


class DoubleOut(_NumberArray):
    ctype, dtype, const = ctypes.c_double, "float64", False


def _to_bytes(obj):
    return obj.encode() if isinstance(obj, str) else bytes(obj)


class _PassCtypes:
    """None and ctypes objects pass unchanged; others go to convert()."""

    @classmethod
    def from_param(cls, obj):
        if obj is None or _is_ctypes(obj):
            return obj
        return cls.convert(obj)


class CharIn(_PassCtypes):
    """const char *: a str or bytes (a string, or one character per entry)."""

    @staticmethod
    def convert(obj):
        if numpy is not None and isinstance(obj, numpy.ndarray):
            return numpy.ascontiguousarray(obj, dtype="S1").ctypes.data_as(ctypes.c_char_p)
        if isinstance(obj, (list, tuple)):
            obj = "".join(c.decode() if isinstance(c, bytes) else c for c in obj)
        return ctypes.c_char_p(_to_bytes(obj))


class CharOut(_PassCtypes):
    """char *: a buffer the C side writes (ctypes.create_string_buffer, a
    bytearray, a numpy array of bytes); a str or bytes is copied into a fresh
    buffer for the calls that only read it."""

    @staticmethod
    def convert(obj):
        if isinstance(obj, bytearray):
            return (ctypes.c_char * len(obj)).from_buffer(obj)
        if numpy is not None and isinstance(obj, numpy.ndarray):
            if obj.dtype.itemsize != 1 or not obj.flags.c_contiguous:
                raise TypeError("a character buffer must be a contiguous numpy array of bytes")
            return obj.ctypes.data_as(ctypes.c_char_p)
        return ctypes.create_string_buffer(_to_bytes(obj))


class CharPtrArray(_PassCtypes):
    """char **: a ctypes array of c_char_p (filled by the C side), or a
    sequence of names (copied)."""

    @staticmethod
    def convert(obj):
        items = [None if s is None else _to_bytes(s) for s in obj]
        return (ctypes.c_char_p * len(items))(*items)


class Handle(ctypes.c_void_p):
    """An opaque handle; objects with a `_as_parameter_` pass too."""

    @classmethod
    def from_param(cls, obj):
        obj = getattr(obj, "_as_parameter_", obj)
        return ctypes.c_void_p.from_param(obj)


SCALARS = {
    "void": None,
    "int": ctypes.c_int,
    "double": ctypes.c_double,
    "size_t": ctypes.c_size_t,
    "char": ctypes.c_char,
}

POINTERS = {
    "int*": IntOut,
    "const int*": IntIn,
    "double*": DoubleOut,
    "const double*": DoubleIn,
    "char*": CharOut,
    "const char*": CharIn,
    "char**": CharPtrArray,
    "void*": ctypes.c_void_p,
    "const void*": ctypes.c_void_p,
    "FILE*": ctypes.c_void_p,
    "FILE**": ctypes.POINTER(ctypes.c_void_p),
    "void**": ctypes.POINTER(ctypes.c_void_p),
    "int**": ctypes.POINTER(ctypes.POINTER(ctypes.c_int)),
    "double**": ctypes.POINTER(ctypes.POINTER(ctypes.c_double)),
    "char***": ctypes.POINTER(ctypes.c_void_p),
}

# Types of returned values, where they differ from the argument types.
RESULTS = {
    "const char*": ctypes.c_char_p,
    "char*": ctypes.c_char_p,
    "void*": ctypes.c_void_p,
    "FILE*": ctypes.c_void_p,
}


class TypeTable:
    """Maps the header's type strings to ctypes, with its handles and
    callback types."""

    def __init__(self, handles, callbacks):
        self.handles = set(handles)
        self.callbacks = {}
        for name, (restype, args) in callbacks.items():
            self.callbacks[name] = ctypes.CFUNCTYPE(*[self.plain(t) for t in (restype,) + tuple(args)])

    def argtype(self, ctype):
        if ctype in SCALARS:
            return SCALARS[ctype]
        if ctype in self.handles:
            return Handle
        if ctype.endswith("*") and ctype[:-1] in self.handles:
            return ctypes.POINTER(ctypes.c_void_p)
        if ctype in getattr(self, "callbacks", {}):
            return self.callbacks[ctype]
        if ctype.endswith("*") and ctype[:-1] in getattr(self, "callbacks", {}):
            return ctypes.POINTER(self.callbacks[ctype[:-1]])  # a getter's out-argument
        if ctype in POINTERS:
            return POINTERS[ctype]
        raise KeyError(ctype)

    def plain(self, ctype):
        """The ctypes type of a callback's argument or result: values as C
        gives them, no conversion of Python objects."""
        if ctype in SCALARS:
            return SCALARS[ctype]
        if ctype in self.handles or ctype in RESULTS:
            return RESULTS.get(ctype, ctypes.c_void_p)
        raise KeyError(ctype)

    def restype(self, ctype):
        if ctype in self.handles:
            return ctypes.c_void_p
        return RESULTS.get(ctype) or self.argtype(ctype)
