#!/usr/bin/env python3
"""Compares what the accessibility service tells of the hint window with its model. Runs on a session bus of its own."""
import subprocess
import sys
import time

launcher = subprocess.Popen(["/usr/libexec/at-spi-bus-launcher", "--launch-immediately"])
time.sleep(1)  # Qt only registers with a service that is there before it starts

import pyatspi  # noqa: E402: connects on import

stage = subprocess.Popen([sys.argv[1]], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
stage.stdout.readline()


def tell(line):
    stage.stdin.write(line + "\n")
    stage.stdin.flush()
    return stage.stdout.readline().strip()


def model():
    lines = [tell("model")]
    while lines[-1] != ".":
        lines.append(stage.stdout.readline().strip())
    return lines[:-1]


def told():
    """The window's name and its rows', or nothing while it is not there."""
    for application in pyatspi.Registry.getDesktop(0):
        for window in application or []:
            if window and window.getRole() == pyatspi.ROLE_LIST:
                rows = [window.getChildAtIndex(i) for i in range(window.childCount)]
                if any(row.getRole() != pyatspi.ROLE_LIST_ITEM for row in rows):
                    return ["a row is no list item"]
                return [window.name] + [row.name for row in rows]
    return []


failures = 0
for scene in ("rows24", "rows3", "rows120", "refused", "choices"):
    tell("show " + scene)
    expected, seen = model(), []
    for _ in range(40):
        seen = told()
        if seen == expected:
            break
        time.sleep(0.1)
    if seen != expected:
        failures += 1
        print(f"{scene}: expected {expected}\n  but heard {seen}")
stage.stdin.close()
stage.wait()
launcher.terminate()
sys.exit(1 if failures else 0)
