#!/usr/bin/env python3
"""Pictures of the hint window, taken of a real one on X servers of its own.

    overlay.py STAGE FOLDER [NAME...]

STAGE is the program overlay_stage of a build, FOLDER receives one PNG a row of the table below.
"""
import os
import pathlib
import subprocess
import sys
import time

# name: scene, theme, scale, compositor, environment
PICTURES = {
    "overlay-3-dark": ("rows3", "dark", 1, True, {}),
    "overlay-3-light": ("rows3", "light", 1, True, {}),
    "overlay-24-dark": ("rows24", "dark", 1, True, {}),
    "overlay-24-light": ("rows24", "light", 1, True, {}),
    "overlay-120-dark": ("rows120", "dark", 1, True, {}),
    "overlay-120-light": ("rows120", "light", 1, True, {}),
    "overlay-24-dark-2x": ("rows24", "dark", 2, True, {}),
    "overlay-3-light-2x": ("rows3", "light", 2, True, {}),
    "overlay-120-dark-2x": ("rows120", "dark", 2, True, {}),
    "overlay-24-light-square": ("rows24", "light", 1, False, {}),
    "overlay-3-dark-square": ("rows3", "dark", 1, False, {}),
    "overlay-choices-dark": ("choices", "dark", 1, True, {}),
    "overlay-chosen-light": ("chosen", "light", 1, True, {}),
    "overlay-chosen-dark": ("chosen", "dark", 1, True, {}),
    "overlay-refused-dark": ("refused", "dark", 1, True, {}),
    "overlay-refused-alone-light": ("refused-alone", "light", 1, True, {}),
    "overlay-timed-light": ("timed", "light", 1, True, {}),
    "overlay-frozen-dark": ("frozen", "dark", 1, True, {}),
    "overlay-loading-light": ("loading", "light", 1, True, {}),
    "overlay-message-dark": ("message", "dark", 1, True, {}),
    "overlay-failure-light": ("failure", "light", 1, True, {}),
    "overlay-long-dark": ("long", "dark", 1, True, {}),
    "overlay-japanese-light": ("japanese", "light", 1, True, {}),
    "overlay-japanese-dark": ("japanese", "dark", 2, True, {}),
    "overlay-24-dark-liberation": ("rows24", "dark", 1, True, {"FONT": "Liberation Sans"}),
}
MARGIN = 24  # of the desktop around the window


def fonts_file(folder, font):
    """A fontconfig file that makes `font` the first choice for sans-serif text."""
    path = pathlib.Path(folder, "fonts.conf")
    path.write_text(
        '<?xml version="1.0"?><!DOCTYPE fontconfig SYSTEM "fonts.dtd"><fontconfig>'
        '<include>/etc/fonts/fonts.conf</include><match target="pattern"><edit name="family" mode="prepend" '
        f'binding="strong"><string>{font}</string></edit></match></fontconfig>', encoding="utf-8")
    return str(path)


class Desktop:
    """An X server with a wallpaper and, where wanted, somebody who blends windows."""

    def __init__(self, width, height, composited):
        self.processes = []
        read, write = os.pipe()
        self.start(["Xvfb", "-displayfd", str(write), "-screen", "0", f"{width}x{height}x24", "-nolisten", "tcp",
                    "-noreset"], {}, pass_fds=[write])
        os.close(write)
        with os.fdopen(read) as display:
            self.environment = {"DISPLAY": ":" + display.readline().strip()}
        if composited:
            self.start(["picom", "--backend", "xrender", "--config", "/dev/null"], self.environment)
        time.sleep(0.5 if composited else 0.1)

    def start(self, argv, environment, **options):
        process = subprocess.Popen(argv, env={**os.environ, **environment}, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL, **options)
        self.processes.append(process)
        return process

    def close(self):
        for process in reversed(self.processes):
            process.terminate()
            process.wait()


class Stage:
    def __init__(self, program, environment):
        self.process = subprocess.Popen([program], env={**os.environ, **environment}, stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.process.stdout.readline()

    def tell(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        return self.process.stdout.readline().strip()

    def close(self):
        self.process.stdin.close()
        self.process.wait()


def take(program, folder, name):
    scene, theme, scale, composited, extra = PICTURES[name]
    desktop = Desktop(1280 * scale, 800 * scale, composited)
    environment = {**desktop.environment, "QT_SCALE_FACTOR": str(scale), "XDG_DATA_DIRS": "/usr/share"}
    if "FONT" in extra:
        environment["FONTCONFIG_FILE"] = fonts_file(folder, extra["FONT"])
    stage = Stage(program, environment)
    try:
        stage.tell("wallpaper")
        stage.tell(f"show {scene} {theme}")
        if scene == "timed":
            stage.tell("time 0.62")
        time.sleep(0.4)
        left, top, width, height = (int(v) * scale for v in stage.tell("geometry").split())
        margin = MARGIN * scale // (2 if composited else 1)  # the shadow is part of the window
        crop = f"{width + 2 * margin}x{height + 2 * margin}+{left - margin}+{top - margin}"
        subprocess.run(["import", "-window", "root", "-crop", crop, "+repage", "-strip",
                        str(pathlib.Path(folder, name + ".png"))], env={**os.environ, **desktop.environment},
                       check=True)
    finally:
        stage.close()
        desktop.close()


def main():
    program, folder, *names = sys.argv[1:]
    pathlib.Path(folder).mkdir(parents=True, exist_ok=True)
    for name in names or PICTURES:
        take(program, folder, name)
        print(name)
    pathlib.Path(folder, "fonts.conf").unlink(missing_ok=True)


if __name__ == "__main__":
    main()
