#!/usr/bin/env python3
"""Measures how fast the hint window appears, on X servers of its own, and prints a table.

    latency.py PROGRAM [SHOWS [PROCESSES]]

PROGRAM is overlay_latency of a build. SHOWS appearances are measured in one process, and the first one in each of
PROCESSES processes. With VARNEL_BENCH_UNDISTURBED=1 (as root) servers and programs run before everything else on the
machine, so that a busy one gives the figures of a quiet one.
"""
import os
import pathlib
import subprocess
import sys
import tempfile
import time


class Server:
    """An Xvfb whose screen lies in a file; with somebody who blends windows where wanted."""

    def __init__(self, composited):
        self.folder = tempfile.TemporaryDirectory()
        read, write = os.pipe()
        self.processes = [subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-screen", "0", "1440x900x24", "-fbdir", self.folder.name, "-nolisten",
             "tcp", "-noreset"], pass_fds=[write], preexec_fn=run_first, stderr=subprocess.DEVNULL)]
        os.close(write)
        with os.fdopen(read) as display:
            self.environment = {**os.environ, "DISPLAY": ":" + display.readline().strip(), "XDG_RUNTIME_DIR":
                                self.folder.name}
        if composited:
            self.processes.append(subprocess.Popen(["picom", "--backend", "xrender", "--config", "/dev/null"],
                                                   env=self.environment, preexec_fn=run_first,
                                                   stderr=subprocess.DEVNULL))
            time.sleep(0.5)
        self.screen = str(next(pathlib.Path(self.folder.name).iterdir()))

    def measure(self, program, scene, samples):
        output = subprocess.run([program, self.screen, scene, str(samples)], env=self.environment, check=True,
                                preexec_fn=run_first, stdout=subprocess.PIPE, text=True, timeout=300).stdout
        return [float(line) for line in output.split()]

    def close(self):
        for process in reversed(self.processes):
            process.terminate()
            process.wait()
        self.folder.cleanup()


def run_first():
    if os.environ.get("VARNEL_BENCH_UNDISTURBED") == "1":
        os.sched_setscheduler(0, os.SCHED_RR, os.sched_param(10))


def share(times, part):
    ordered = sorted(times)
    return ordered[min(len(ordered) - 1, int(len(ordered) * part))]


def report(name, times):
    if min(times) < 0:
        sys.exit(f"{name}: not seen within a second")
    print(f"| {name} | {share(times, 0.5):.1f} | {share(times, 0.95):.1f} | {share(times, 0.99):.1f} | "
          f"{max(times):.1f} | {len(times)} |", flush=True)
    return share(times, 0.99)


def main():
    program = sys.argv[1]
    shows = int(sys.argv[2]) if len(sys.argv) > 2 else 300
    processes = int(sys.argv[3]) if len(sys.argv) > 3 else 100
    print("| hints | p50 | p95 | p99 | max (ms) | appearances |\n|---|---|---|---|---|---|")
    worst = 0.0
    for composited in (False, True):
        server = Server(composited)
        suffix = ", compositor" if composited else ""
        try:
            for scene in ("rows3", "rows24", "rows120"):
                worst = max(worst, report(f"{scene[4:]} rows{suffix}", server.measure(program, scene, shows)))
            for scene in ("rows3", "rows24", "rows120"):
                first = [server.measure(program, scene, 1)[0] for _ in range(processes)]
                worst = max(worst, report(f"{scene[4:]} rows, first appearance of a process{suffix}", first))
        finally:
            server.close()
    return 0 if worst < 16 else 1


if __name__ == "__main__":
    sys.exit(main())
