"""The program under test, with a home of its own: what the tests of the command line share."""
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time

BINARIES = pathlib.Path(os.environ["VARNEL_BINARY_DIR"])
SOURCES = pathlib.Path(os.environ["VARNEL_SOURCE_DIR"])
PROGRAM = str(BINARIES / "varnel")


class Home:
    """A temporary home folder and the environment that makes the program live there."""

    def __init__(self, display=None):
        self.folder = tempfile.TemporaryDirectory(prefix="varnel-test-")
        self.path = pathlib.Path(self.folder.name)
        (self.path / "run").mkdir(mode=0o700)
        self.environment = {
            "PATH": os.environ["PATH"], "HOME": str(self.path), "XDG_RUNTIME_DIR": str(self.path / "run"),
            "XDG_STATE_HOME": str(self.path / "state"), "LC_ALL": "C.UTF-8",
        }
        for name in ("ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LLVM_PROFILE_FILE"):
            if name in os.environ:
                self.environment[name] = os.environ[name]
        if display:
            self.environment["DISPLAY"] = display

    def close(self):
        self.folder.cleanup()

    def write(self, name, content):
        path = self.path / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(content if isinstance(content, str) else json.dumps(content))
        return str(path)

    def varnel(self, *words, stdin=None, timeout=30, **more):
        return subprocess.run([PROGRAM, *map(str, words)], input=stdin, capture_output=True, text=True,
                              env={**self.environment, **more}, timeout=timeout, cwd=self.path)

    def start(self, *words, program=(PROGRAM, "run", "--headless"), **more):
        """The application, running; wait for `line` before typing."""
        return Running(self, [*program, *map(str, words)], more)


class Running:
    def __init__(self, home, words, more):
        self.errors = open(home.path / f"stderr-{time.monotonic_ns()}", "w+")
        self.process = subprocess.Popen(words, text=True, stdout=subprocess.PIPE, stderr=self.errors, cwd=home.path,
                                        env={**home.environment, **more})
        self.line = self.process.stdout.readline().rstrip("\n")

    def diagnostics(self):
        self.errors.seek(0)
        return self.errors.read()

    def end(self, timeout=10):
        """Waits for the end; a process that does not end is killed. The exit status."""
        try:
            return self.process.wait(timeout)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            return "did not end"
        finally:
            self.process.stdout.close()

    def close(self):
        if self.process.poll() is None:
            self.process.kill()
        self.end()
        self.errors.close()


def eventually(question, patience=5.0):
    """Whether the question becomes true in time."""
    deadline = time.monotonic() + patience
    while time.monotonic() < deadline:
        if question():
            return True
        time.sleep(0.01)
    return bool(question())


def item(keys, name="", kind="action", action=None, **more):
    """One record of a configuration file."""
    number = item.counter = getattr(item, "counter", 0) + 1
    return {"id": f"00000000-0000-4000-8000-{number:012d}", "name": name or " ".join(keys), "keys": keys,
            "type": kind, "action": action, "isEnabled": True, **more}


def opens(path):
    """An action that starts a program."""
    return {"pluginID": "core.application", "actionID": "open", "params": {"path": str(path)}}


def document(*items):
    return {"items": list(items), "pluginSettings": {}}


def main():
    import unittest
    unittest.main(module=sys.modules["__main__"], verbosity=1)
