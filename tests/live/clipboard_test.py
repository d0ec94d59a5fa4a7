#!/usr/bin/env python3
"""Copies and pastes between real processes on an X server of its own, with and without a clipboard manager."""
import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import time
import unittest

TOOL = str(pathlib.Path(os.environ["VARNEL_BINARY_DIR"]) / "clipboard_tool")
TYPE = "com.brackwell.varnel.config-item"
ITEM = {"id": "6F1C2B0E-4A8D-4C1E-9B7A-2D3E4F5A6B7C", "name": "Café “x”", "keys": ["ctrl+j", "t"], "type": "action",
        "action": {"pluginID": "core.shell", "actionID": "run", "params": {"command": "echo 'a/b'\nls"}},
        "isEnabled": True}


class Clipboard(unittest.TestCase):
    def setUp(self):
        self.home = tempfile.TemporaryDirectory(prefix="varnel-clipboard-")
        self.addCleanup(self.home.cleanup)
        end, start = os.pipe()
        self.start("Xvfb", "-displayfd", str(start), "-screen", "0", "640x480x24", "-nolisten", "tcp",
                   pass_fds=[start], display="")
        os.close(start)
        with os.fdopen(end) as answer:
            self.display = ":" + answer.readline().strip()

    def environment(self, display=None):
        return {**os.environ, "DISPLAY": self.display if display is None else display, "QT_QPA_PLATFORM": "xcb",
                "HOME": self.home.name,
                "LC_ALL": "C.UTF-8", "NO_AT_BRIDGE": "1"}

    def start(self, *words, display=None, stdout=subprocess.DEVNULL, bus=None, **more):
        environment = {**self.environment(display), **({"DBUS_SESSION_BUS_ADDRESS": bus} if bus else {})}
        process = subprocess.Popen(words, env=environment, stdout=stdout, stderr=subprocess.DEVNULL, **more)
        self.addCleanup(process.wait, 10)
        self.addCleanup(process.kill)
        return process

    def copy(self, item=ITEM):
        owner = self.start(TOOL, "copy", stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        owner.stdin.write(json.dumps(item).encode() + b"\0")
        owner.stdin.flush()
        self.assertEqual(owner.stdout.readline(), b"copied\n")
        self.addCleanup(owner.stdout.close)
        self.addCleanup(owner.stdin.close)
        return owner

    def paste(self):
        return subprocess.run([TOOL, "paste"], env=self.environment(), capture_output=True, timeout=20).stdout

    def xclip(self, *words, **more):
        return subprocess.run(["xclip", "-selection", "clipboard", *words], env=self.environment(), timeout=20,
                              stderr=subprocess.DEVNULL, **more)

    def test_an_item_goes_from_one_process_to_another_and_into_an_editor(self):
        self.copy()
        pasted = self.paste()
        self.assertEqual(json.loads(pasted), ITEM)
        for kind in (TYPE, "UTF8_STRING", "text/plain"):
            self.assertEqual(self.xclip("-t", kind, "-o", stdout=subprocess.PIPE).stdout, pasted, kind)

    def test_an_item_comes_back_from_other_programs(self):
        old = {"name": "Old", "keys": ["a"], "type": "action", "action": {"type": "shellCommand", "command": "ls"}}
        for kind in (TYPE, "com.mirren.config-item", "UTF8_STRING"):
            with self.subTest(kind=kind):
                self.xclip("-t", kind, "-i", input=json.dumps(old).encode(), stdout=subprocess.DEVNULL)
                self.assertEqual(json.loads(self.paste())["action"]["pluginID"], "core.shell")
        self.xclip("-i", input=b"no item", stdout=subprocess.DEVNULL)
        self.assertEqual(self.paste(), b"The clipboard holds no group or shortcut.")

    def test_without_a_manager_a_copy_goes_with_its_owner(self):
        owner = self.copy()
        owner.stdin.close()
        self.assertEqual(owner.wait(20), 0)
        self.assertEqual(self.paste(), b"The clipboard holds no group or shortcut.")

    @unittest.skipUnless(shutil.which("xfce4-clipman") and shutil.which("dbus-daemon"), "needs a clipboard manager")
    def test_a_manager_keeps_a_copy_beyond_the_end_of_its_owner(self):
        bus = self.start("dbus-daemon", "--session", "--nofork", "--print-address", stdout=subprocess.PIPE)
        self.addCleanup(bus.stdout.close)
        self.start("xfce4-clipman", bus=bus.stdout.readline().decode().strip())
        time.sleep(2.5)
        for is_killed in (False, True):
            item = {**ITEM, "name": f"Survivor {is_killed}"}
            # The manager tells nobody when it is ready, nor when it has looked at a copy.
            self.assertTrue(any(self.survives(item, is_killed) for _ in range(6)), is_killed)

    def survives(self, item, is_killed):
        owner = self.copy(item)
        time.sleep(1.5)
        owner.kill() if is_killed else owner.stdin.close()
        self.assertEqual(owner.wait(20), -9 if is_killed else 0)
        pasted = self.paste()
        return pasted.startswith(b"{") and json.loads(pasted) == item


if __name__ == "__main__":
    unittest.main(verbosity=1)
