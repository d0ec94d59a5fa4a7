#!/usr/bin/env python3
"""Each example package is installed, trusted and run through the program, as docs/plugins.md teaches it."""
import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["VARNEL_SOURCE_DIR"]) / "examples/plugins"
VARNEL = pathlib.Path(os.environ["VARNEL_BINARY_DIR"]) / "varnel"


class Examples(unittest.TestCase):
    def setUp(self):
        self.home = pathlib.Path(tempfile.mkdtemp(prefix="varnel-examples-"))
        self.addCleanup(shutil.rmtree, self.home)
        self.plugins = self.home / ".config/varnel/plugins"
        self.plugins.mkdir(parents=True)

    def varnel(self, *arguments):
        environment = {k: v for k, v in os.environ.items() if not k.startswith("XDG_")} | {"HOME": str(self.home)}
        return subprocess.run([VARNEL, "plugins", *arguments], env=environment, capture_output=True, text=True,
                              timeout=30, check=False)

    def install(self, name, identifier):
        package = self.plugins / name
        shutil.copytree(SOURCE / name, package)
        if (package / "dice.cpp").exists():
            compiler = os.environ.get("CXX", "c++")
            subprocess.run([compiler, "-O2", "-static", "-o", "bin/dice", "dice.cpp"], cwd=package, check=True)
        self.assertEqual(self.varnel("validate", str(package)).stdout, "")
        refused = self.varnel("run", identifier, "anything")
        self.assertEqual(refused.returncode, 1, "an untrusted package must not run")
        trusted = self.varnel("trust", identifier)
        self.assertEqual(trusted.returncode, 0, trusted.stderr)
        return package

    def run_action(self, identifier, action, params=None, settings=None):
        extra = ["--params", json.dumps(params or {}), "--settings", json.dumps(settings or {})]
        result = self.varnel("run", identifier, action, *extra)
        return json.loads(result.stdout), result.returncode

    def test_python_notes(self):
        self.install("python-notes", "example.notes")
        folder = self.home / "kept"
        answer, status = self.run_action("example.notes", "append", {"text": "buy milk", "note": "list"},
                                         {"folder": str(folder)})
        self.assertEqual((answer["success"], answer["message"], status), (True, "Noted in list", 0))
        self.assertTrue((folder / "list.txt").read_text().endswith("buy milk\n"))
        answer, _ = self.run_action("example.notes", "show", {"choice": "list"}, {"folder": str(folder)})
        self.assertTrue(answer["message"].endswith("buy milk"))

    def test_shell_disk(self):
        package = self.install("shell-disk", "example.disk")
        answer, _ = self.run_action("example.disk", "free")
        self.assertRegex(answer["message"], r"^\S+ free of \S+$")
        with open(package / "bin/disk", "a", encoding="utf-8") as file:
            file.write("# changed\n")
        answer, status = self.run_action("example.disk", "free")
        self.assertEqual((answer["success"], status), (False, 1), "a change withdraws the trust")

    def test_cpp_dice(self):
        self.install("cpp-dice", "example.dice")
        answer, _ = self.run_action("example.dice", "roll", {"count": 3, "sides": 4})
        name, total = answer["message"].split(": ")
        self.assertEqual(name, "3d4")
        self.assertIn(int(total), range(3, 13))
        answer, status = self.run_action("example.dice", "roll", {"count": 0})
        self.assertEqual((answer["success"], status), (False, 1))


if __name__ == "__main__":
    unittest.main()
