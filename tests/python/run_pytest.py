"""Runs the pytest suites; exit 77 (a skip for ctest) without pytest."""
import sys

try:
    import pytest
except ImportError:
    print("pytest is not installed for %s: Python tests skipped" % sys.executable)
    sys.exit(77)

sys.exit(pytest.main(["-q", "-p", "no:cacheprovider"] + sys.argv[1:]))
