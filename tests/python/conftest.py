"""Shared set-up of the Python tests.

Paths come from the environment that ctest sets (VELTO_LIBRARY, VELTO_CBC,
VELTO_DRIVER, VELTO_DATA); run by hand, they default to a build tree in
build/ and the data folder beside the checkout.
"""
import os
import sys

import pytest

ROOT = os.path.normpath(os.path.join(os.path.dirname(__file__), "..", ".."))
BUILD = os.path.join(ROOT, "build")

sys.path.insert(0, os.path.join(ROOT, "python"))
os.environ.setdefault("VELTO_LIBRARY", os.path.join(BUILD, "libvelto.so"))


def path_of(var, default):
    return os.environ.get(var) or default


CBC = path_of("VELTO_CBC", os.path.join(BUILD, "tools", "velto", "velto-cbc"))
DRIVER = path_of("VELTO_DRIVER", os.path.join(BUILD, "tools", "velto", "velto"))
DATA = path_of("VELTO_DATA", path_of("VELTO_DATA_DEFAULT", os.path.join(ROOT, "..", "shared", "data")))
EXAMPLES = os.path.join(ROOT, "examples")


@pytest.fixture
def velto():
    import velto as module
    return module


def close(a, b, rel=1e-7):
    return abs(a - b) <= rel * max(1.0, abs(a), abs(b))


def pytest_configure(config):
    config.addinivalue_line("markers", "instances: long runs over whole public model sets")
