#!/usr/bin/env python3
"""Generates python/velto/_decls.py from include/velto.h.

    python3 python/gen_decls.py            # rewrite the checked-in file
    python3 python/gen_decls.py --check    # exit 1 when it lags the header

The header is pure C with one declaration per exported function, each
starting with VLTAPI; the parser reads those, the handle and callback
typedefs, and the numeric and string #defines.  Types are written as
normalized C strings ("const double*", "VLTENVptr", "char**"); the module
maps them to ctypes.
"""
import os
import re
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
HEADER = os.path.join(HERE, "..", "include", "velto.h")
OUTPUT = os.path.join(HERE, "velto", "_decls.py")


def strip_comments(text):
    text = re.sub(r"/\*.*?\*/", " ", text, flags=re.S)
    return re.sub(r"//[^\n]*", " ", text)


def strip_attributes(text):
    """Removes every __attribute__((...)), whose parentheses nest."""
    out, pos = [], 0
    for m in re.finditer(r"__attribute__\s*\(", text):
        if m.start() < pos:
            continue
        depth, i = 1, m.end()
        while i < len(text) and depth:
            depth += {"(": 1, ")": -1}.get(text[i], 0)
            i += 1
        out.append(text[pos:m.start()])
        pos = i
    out.append(text[pos:])
    return " ".join(out)


def normalize(ctype):
    """'const  double *' -> 'const double*'; 'volatile int *' -> 'int*'."""
    ctype = ctype.replace("volatile", " ")
    stars = ctype.count("*")
    words = ctype.replace("*", " ").split()
    return " ".join(words) + "*" * stars


def split_param(param):
    """Splits 'const double *obj' into ('const double*', 'obj')."""
    param = param.strip()
    if param == "...":
        return ("...", "")
    m = re.match(r"^(.*?[\s*])([A-Za-z_]\w*)$", param)
    words = param.replace("*", " ").split()
    # A lone type ("void", "int", "VLTENVptr") has no name.
    if m is None or len(words) < 2 or (len(words) == 2 and words[0] in ("const", "struct")):
        return (normalize(param), "")
    return (normalize(m.group(1)), m.group(2))


def split_args(args):
    out, depth, cur = [], 0, ""
    for ch in args:
        if ch == "," and depth == 0:
            out.append(cur)
            cur = ""
            continue
        depth += ch == "("
        depth -= ch == ")"
        cur += ch
    if cur.strip():
        out.append(cur)
    params = [split_param(p) for p in out]
    if params == [("void", "")]:
        return []
    return params


def parse(text):
    text = strip_comments(text)
    text = strip_attributes(text)
    handles, callbacks, functions, constants = [], [], [], []
    for m in re.finditer(r"typedef\s+(const\s+)?struct\s+\w+\s*\*\s*(\w+)\s*;", text):
        handles.append(m.group(2))
    for m in re.finditer(r"typedef\s+([^;()]+?)\(\s*\*\s*(\w+)\s*\)\s*\(([^;]*?)\)\s*;", text):
        callbacks.append((m.group(2), normalize(m.group(1)),
                          tuple(t for t, _ in split_args(m.group(3)))))
    for m in re.finditer(r"^\s*#\s*define\s+(VLT\w+)\s+(\S.*?)\s*$", text, flags=re.M):
        name, value = m.group(1), m.group(2)
        if re.fullmatch(r'"[^"]*"', value):
            constants.append((name, value[1:-1]))
        elif re.fullmatch(r"[-+]?\d+", value):
            constants.append((name, int(value)))
        elif re.fullmatch(r"[-+]?(\d+\.?\d*|\.\d+)([eE][-+]?\d+)?", value):
            constants.append((name, float(value)))
    decl = re.compile(r"^\s*VLTAPI\s+([^;]*?)\b(VLT\w+)\s*\(([^;]*)\)\s*;", flags=re.S | re.M)
    for m in decl.finditer(text):
        restype = normalize(m.group(1))
        params = split_args(" ".join(m.group(3).split()))
        functions.append((m.group(2), restype, tuple(params)))
    return handles, callbacks, functions, constants


def render(text):
    handles, callbacks, functions, constants = parse(text)
    lines = [
        "# Generated from include/velto.h by python/gen_decls.py: do not edit.",
        "# A test fails when this file lags the header; rerun the script then.",
        "",
        "HANDLES = (",
    ]
    lines += ["    %r," % h for h in handles]
    lines += [")", "", "# name: (return type, (argument types...))", "CALLBACKS = {"]
    lines += ["    %r: (%r, %r)," % c for c in callbacks]
    lines += ["}", "", "# (name, return type, ((argument type, argument name), ...))", "FUNCTIONS = ("]
    for name, restype, params in functions:
        lines.append("    (%r, %r, (" % (name, restype))
        lines += ["        (%r, %r)," % p for p in params]
        lines.append("    )),")
    lines += [")", "", "CONSTANTS = {"]
    lines += ["    %r: %r," % c for c in constants]
    lines += ["}", ""]
    return "\n".join(lines)


def main(argv):
    with open(HEADER) as f:
        text = render(f.read())
    if "--check" in argv:
        with open(OUTPUT) as f:
            if f.read() != text:
                print("python/velto/_decls.py lags include/velto.h: run python3 python/gen_decls.py")
                return 1
        return 0
    with open(OUTPUT, "w") as f:
        f.write(text)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
