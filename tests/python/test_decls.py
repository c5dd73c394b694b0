"""The module's declarations never lag the header, and the library exports
exactly what the header declares."""
import os
import re
import shutil
import subprocess
import sys

import pytest

from conftest import ROOT

sys.path.insert(0, os.path.join(ROOT, "python"))
import gen_decls  # noqa: E402

HEADER = os.path.join(ROOT, "include", "velto.h")


def header_text():
    with open(HEADER) as f:
        return f.read()


def test_checked_in_declarations_match_the_header():
    with open(os.path.join(ROOT, "python", "velto", "_decls.py")) as f:
        assert f.read() == gen_decls.render(header_text()), \
            "python/velto/_decls.py lags include/velto.h: run python3 python/gen_decls.py"


def test_every_declared_function_is_parsed():
    # Counted independently of the parser: one VLTAPI at the start of each
    # declaration line.
    names = re.findall(r"^VLTAPI\b[^(]*?\b(VLT\w+)\s*\(", header_text(), flags=re.M)
    parsed = [f[0] for f in gen_decls.parse(header_text())[2]]
    assert parsed == names


def test_every_declared_function_is_wrapped(velto):
    assert velto.UNWRAPPED == {}
    for name, restype, params in velto._decls.FUNCTIONS:
        f = getattr(velto.lib, name)
        if params and params[-1][0] == "...":
            continue
        assert len(f.cfunc.argtypes) == len(params), name


def test_parser_reads_each_form_of_declaration():
    text = """
    typedef struct thing *VLTTHINGptr;
    typedef int (*VLTCOUNTFUNC)(void *handle, const double *values);
    #define VLT_LIMIT 12
    #define VLT_EPS -1.5e-7
    #define VLT_WORD "abc"
    VLTAPI const char *VLTname(VLTTHINGptr t, char **names, volatile int *w);
    VLTAPI int VLTprint(VLTTHINGptr t, const char *fmt, ...)
        __attribute__((format(printf, 2, 3)));
    VLTAPI void VLTnothing(void);
    """
    handles, callbacks, functions, constants = gen_decls.parse(text)
    assert handles == ["VLTTHINGptr"]
    assert callbacks == [("VLTCOUNTFUNC", "int", ("void*", "const double*"))]
    assert constants == [("VLT_LIMIT", 12), ("VLT_EPS", -1.5e-7), ("VLT_WORD", "abc")]
    assert functions == [
        ("VLTname", "const char*", (("VLTTHINGptr", "t"), ("char**", "names"), ("int*", "w"))),
        ("VLTprint", "int", (("VLTTHINGptr", "t"), ("const char*", "fmt"), ("...", ""))),
        ("VLTnothing", "void", ()),
    ]


@pytest.mark.skipif(shutil.which("nm") is None, reason="nm not installed")
def test_library_exports_exactly_the_declared_functions(velto):
    out = subprocess.run(["nm", "-D", "--defined-only", velto.LIBRARY_PATH],
                         capture_output=True, text=True, check=True).stdout
    exported = set(re.findall(r"\sT (VLT\w+)$", out, flags=re.M))
    declared = {f[0] for f in velto._decls.FUNCTIONS}
    assert exported == declared


def test_constants_come_from_the_header(velto):
    assert velto.VLT_INFBOUND == 1e20
    assert velto.VLT_VERSION_STRING == velto.Env(log=False).version
    assert velto.VLT_PARAM_PREIND == int(re.search(r"VLT_PARAM_PREIND\s+(\d+)", header_text()).group(1))
