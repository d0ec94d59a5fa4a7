"""A desktop of its own for tests of the windows: X server, window manager, panel, and hands to click and type."""
import os
import re
import signal
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.environ["VARNEL_SOURCE_DIR"], "tests", "runtime"))
from program import BINARIES, Home, document, eventually, item  # noqa: E402,F401


class Desktop:
    def __init__(self, panel=True):
        self.started = []
        reading, writing = os.pipe()
        self.started.append(subprocess.Popen(
            ["Xvfb", "-displayfd", str(writing), "-screen", "0", "1280x800x24", "-nolisten", "tcp", "-noreset"],
            pass_fds=[writing], stderr=subprocess.DEVNULL))
        os.close(writing)
        with os.fdopen(reading) as number:
            self.display = ":" + number.readline().strip()
        self.home = Home(self.display)
        self.environment = self.home.environment
        (self.home.path / "no-plugins").mkdir()
        # It announces itself before it manages windows, and runs this afterwards.
        managed = self.home.path / "managed"
        self.spawn("openbox", "--sm-disable", "--startup", f"touch {managed}")
        eventually(managed.exists)
        if panel:
            self.start_panel()

    def spawn(self, *words, **more):
        more.setdefault("stdout", subprocess.DEVNULL)
        process = subprocess.Popen(words, stderr=subprocess.DEVNULL, env=self.environment, **more)
        self.started.append(process)
        return process

    def start_panel(self):
        panel = self.spawn("tint2")
        eventually(lambda: "SYSTEM_TRAY" in self.run("xlsatoms"))
        eventually(lambda: "tint2" in self.run("xwininfo", "-root", "-tree"))
        return panel

    def start_bus(self, variable, address=()):
        """A bus at an address of its own choice, or at one that was in use before."""
        bus = self.spawn("dbus-daemon", "--session", "--nofork", "--print-address", *address, stdout=subprocess.PIPE,
                         text=True)
        self.environment[variable] = bus.stdout.readline().strip()
        return bus

    def run(self, *words):
        return subprocess.run(words, env=self.environment, capture_output=True, text=True, timeout=20).stdout

    def app(self, *words, program=("varnel-app",), **more):
        """The application, once it captures keys."""
        process = subprocess.Popen(
            [str(BINARIES / program[0]), *program[1:], "--bundled-plugins", str(self.home.path / "no-plugins"), *map(str, words)],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, env={**self.environment, **more})
        self.started.append(process)
        process.line = process.stdout.readline()
        return process

    def status(self):
        import json
        return json.loads(self.home.varnel("status", "--json").stdout or "{}")

    def reasons(self):
        return self.status().get("suspensionReasons")

    def windows(self):
        """The titles of our windows that can be seen."""
        found = self.run("xdotool", "search", "--onlyvisible", "--class", "^Varnel$").split()
        return [self.run("xdotool", "getwindowname", window).strip() for window in found]

    def active_window(self):
        return self.run("xdotool", "getactivewindow", "getwindowname").strip()

    def icon(self):
        """The middle of our icon in the panel; nothing while it is not there."""
        for line in self.run("xwininfo", "-root", "-tree").splitlines():
            place = re.match(r' {9,}0x\w+ "Varnel": .* (\d+)x(\d+)\+\d+\+\d+ +\+(\d+)\+(\d+)', line)
            width, height, x, y = map(int, place.groups()) if place else (0, 0, 0, 0)
            if 8 < width < 65:  # inside another window, and no bigger than icons are
                return x + width // 2, y + height // 2
        return None

    def click_icon(self, button):
        x, y = self.icon()
        self.run("xdotool", "mousemove", str(x), str(y), "click", str(button))
        time.sleep(0.3)

    def menu(self, steps):
        """Chooses the line that is so far down in the icon's menu."""
        self.click_icon(3)
        self.keys(*["Down"] * steps, "Return")

    def keys(self, *keys):
        self.run("xdotool", "key", "--delay", "40", *keys)

    def pixels(self):
        """The whole screen, as a number that changes with it."""
        return self.run("sh", "-c", "import -silent -window root rgb:- | md5sum")

    def icon_pixels(self):
        """What the panel shows where the icon is."""
        x, y = self.icon()
        return self.run("sh", "-c", f"import -silent -window root -crop 16x16+{x - 8}+{y - 8} txt:-")

    def close(self):
        for process in reversed(self.started):
            if process.poll() is None:
                process.send_signal(signal.SIGTERM)
                try:
                    process.wait(5)
                except subprocess.TimeoutExpired:
                    process.kill()
                    process.wait()
            if process.stdout:
                process.stdout.close()
        self.home.close()
