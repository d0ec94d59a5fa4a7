#!/usr/bin/env python3
"""Tells which lines no test ran, after `scripts/test coverage`.

  coverage.py                lines and how many of them ran, folder by folder
  coverage.py src/config     the same file by file below a folder, and which lines did not run
"""
import collections
import concurrent.futures
import json
import os
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = pathlib.Path(os.environ.get("VARNEL_COVERAGE_BUILD", ROOT / "build/coverage"))


def reports(counts):
    """What gcov says of one object file."""
    result = subprocess.run(["gcov", "--json-format", "--stdout", str(counts)], capture_output=True, text=True, cwd=BUILD)
    return [json.loads(line) for line in result.stdout.splitlines() if line.startswith("{")]


def collect():
    """How often each line of each source ran, whichever program it was compiled into."""
    lines = collections.defaultdict(dict)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for found in pool.map(reports, sorted(BUILD.rglob("*.gcda"))):
            for source in (source for report in found for source in report["files"]):
                path = (BUILD / source["file"]).resolve()
                if not path.is_relative_to(ROOT / "src"):
                    continue
                ran = lines[path.relative_to(ROOT)]
                for line in source["lines"]:
                    ran[line["line_number"]] = ran.get(line["line_number"], 0) + line["count"]
    return lines


def ranges(numbers):
    """"3-5, 9"."""
    groups = []
    for number in sorted(numbers):
        if groups and groups[-1][1] == number - 1:
            groups[-1][1] = number
        else:
            groups.append([number, number])
    return ", ".join(str(first) if first == last else f"{first}-{last}" for first, last in groups)


def main(words):
    lines = collect()
    if not lines:
        print(f"nothing was counted below {BUILD}; run `scripts/test coverage` first")
        return 1
    wanted = pathlib.Path(words[0]) if words else None
    totals = collections.defaultdict(lambda: [0, 0])
    for path, ran in sorted((path, ran) for path, ran in lines.items() if ran):
        missing = [number for number, count in ran.items() if count == 0]
        for total in totals["all"], totals[str(path.parent)]:
            total[0] += len(ran)
            total[1] += len(ran) - len(missing)
        if wanted and path.is_relative_to(wanted):
            print(f"{100 * (1 - len(missing) / len(ran)):5.1f} %  {path}" + (f": {ranges(missing)}" if missing else ""))
    if not wanted:
        for folder, (count, ran) in totals.items():
            print(f"{100 * ran / count:5.1f} %  {ran:5} of {count:5}  {folder}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
