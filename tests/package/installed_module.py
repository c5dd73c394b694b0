"""Run against an install: the module found on PYTHONPATH loads the library
of that install by itself and solves the installed example.  Prints the
library's real path."""
import os
import sys

import velto

prefix = sys.argv[1]
p = velto.Problem.read(os.path.join(prefix, "share", "velto", "examples", "production.mps"),
                       env=velto.Env(log=False))
p.optimize()
assert p.status == 1, p.status_text
print(os.path.realpath(velto.LIBRARY_PATH))
