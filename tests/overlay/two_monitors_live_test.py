#!/usr/bin/env python3
"""The hint window on a real X server with two monitors, the second one at two scale factors."""
import contextlib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

from overlay_live_test import STAGE, Stage, eventually

CONFIGURATION = """
Section "ServerFlags"
  Option "AutoAddDevices" "false"
  Option "AutoEnableDevices" "false"
  Option "DontVTSwitch" "true"
EndSection
Section "Device"
  Identifier "card"
  Driver "dummy"
  VideoRam 64000
EndSection
Section "Screen"
  Identifier "screen"
  Device "card"
  DefaultDepth 24
EndSection
"""
FIRST = (0, 0, 1024, 768)
SECOND = (1024, 0, 1280, 720)


def is_within(window, monitor):
    x, y, width, height = window
    left, top, across, down = monitor
    return left <= x and top <= y and x + width <= left + across and y + height <= top + down


@unittest.skipUnless(shutil.which("Xorg") and os.geteuid() == 0 and pathlib.Path(
    "/usr/lib/xorg/modules/drivers/dummy_drv.so").exists(), "needs Xorg with its dummy driver, as root")
class TwoMonitorsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        configuration = pathlib.Path(folder.name, "xorg.conf")
        configuration.write_text(CONFIGURATION, encoding="utf-8")
        read, write = os.pipe()
        server = subprocess.Popen(
            ["Xorg", "-displayfd", str(write), "-config", str(configuration), "-logfile", folder.name + "/log", "-noreset",
             "-nolisten", "tcp", "-novtswitch", "-sharevts"], pass_fds=[write], stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        self.addCleanup(server.wait)
        self.addCleanup(server.terminate)
        os.close(write)
        with os.fdopen(read) as display:
            self.environment = {**os.environ, "DISPLAY": ":" + display.readline().strip(),
                                "XDG_RUNTIME_DIR": folder.name}
        self.run_program("xrandr", "--newmode", "wide", "74.5", "1280", "1344", "1472", "1664", "720", "723", "728", "748")
        self.run_program("xrandr", "--addmode", "DUMMY1", "wide")
        self.run_program("xrandr", "--output", "DUMMY0", "--mode", "1024x768", "--pos", "0x0", "--output", "DUMMY1", "--mode",
                         "wide", "--pos", "1024x0")
        # It announces itself before it manages windows, and runs this afterwards.
        managed = pathlib.Path(folder.name, "managed")
        self.start("openbox", "--sm-disable", "--startup", f"touch {managed}")
        self.assertTrue(eventually(managed.exists), "no window manager")

    def run_program(self, *argv):
        return subprocess.run(argv, env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                              timeout=60, check=False).stdout

    def start(self, *argv):
        process = subprocess.Popen(argv, env=self.environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)

    def stage(self, scale):
        return contextlib.closing(Stage({**self.environment, "QT_SCREEN_SCALE_FACTORS": f"DUMMY1={scale}"}))

    def type_into(self, name):
        """Gives the focus to a terminal of that name."""
        self.run_program("xdotool", "search", "--sync", "--onlyvisible", "--name", name, "windowactivate", "--sync")

    def shown(self):
        """The hint window as the server has it, in pixels."""
        pattern = r'"overlay_stage"\)\s+(\d+)x(\d+)\+-?\d+\+-?\d+\s+\+(-?\d+)\+(-?\d+)'
        windows = [tuple(int(v) for v in found) for found in re.findall(pattern, self.run_program(
            "xwininfo", "-root", "-tree"))]
        width, height, x, y = max(windows)
        return x, y, width, height

    def check(self, stage, what, monitor, position):
        stage.tell(f"show rows24 dark 9 {position}")
        time.sleep(0.1)
        self.assertTrue(is_within(self.shown(), monitor), f"{what}, {position}: {self.shown()} is not in {monitor}")
        stage.tell("hide")

    def test_appears_on_the_monitor_that_is_used(self):
        self.start("xterm", "-T", "left", "-geometry", "40x10+100+300")
        self.start("xterm", "-T", "right", "-geometry", "40x10+1500+300")
        for scale in (1, 2):
            with self.stage(scale) as stage:
                self.check_with_every_focus(stage, scale)

    def check_with_every_focus(self, stage, scale):
        for focused, monitor in (("right", SECOND), ("left", FIRST)):
            self.type_into(focused)
            for pointer, below in ((("1020", "760"), FIRST), (("1030", "5"), SECOND), (("2300", "715"), SECOND)):
                self.run_program("xdotool", "mousemove", *pointer)
                for position in ("center", "bottom", "top"):
                    self.check(stage, f"typing {focused}, scale {scale}", monitor, position)
                self.check(stage, f"pointing at {pointer}, scale {scale}", below, "pointer")

    def test_follows_the_pointer_where_nothing_has_the_focus_and_outlives_a_monitor(self):
        with self.stage(2) as stage:
            self.run_program("xdotool", "mousemove", "1500", "300")
            self.check(stage, "an empty desktop", SECOND, "center")
            stage.tell("show rows24 dark 9 center")
            self.run_program("xrandr", "--output", "DUMMY1", "--off")
            time.sleep(0.5)
            self.assertEqual(stage.tell("page 0"), "ok")
            self.assertTrue(eventually(lambda: is_within(self.shown(), FIRST)), "stays where no monitor is any more")


if __name__ == "__main__":
    sys.exit(unittest.main(verbosity=2))
