"""Puts bench/ on the import path and names the sample feeders and the feedwalk program the bench tests use."""

import os
import sys
import tempfile

ROOT = os.environ.get("FEEDWALK_SOURCE") or os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
BENCH = os.path.join(ROOT, "bench")
SAMPLES = os.environ.get("FEEDWALK_SAMPLES", "/work/shared/data/feeders")
FEEDWALK = os.environ.get("FEEDWALK_BIN") if os.path.exists(os.environ.get("FEEDWALK_BIN", "")) else None
sys.path.insert(0, BENCH)

try:
    import networkx  # noqa: F401
    HAVE_NETWORKX = True
except ImportError:
    HAVE_NETWORKX = False


def sample(name):
    """Path of a sample feeder, or None when the samples are not on this machine."""
    path = os.path.join(SAMPLES, name)
    return path if os.path.exists(path) else None


class TempDir:
    """Mixin: self.tmp is a fresh directory per test; self.path(name) a file in it."""

    def setUp(self):
        self._tmp = tempfile.TemporaryDirectory()
        self.tmp = self._tmp.name

    def tearDown(self):
        self._tmp.cleanup()

    def path(self, name):
        return os.path.join(self.tmp, name)

    def write(self, name, text):
        with open(self.path(name), "w", encoding="ascii") as f:
            f.write(text)
        return self.path(name)
