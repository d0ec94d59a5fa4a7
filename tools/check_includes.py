#!/usr/bin/env python3
"""Checks that every folder of src/ and capabilities/ includes only what the architecture allows.

The table below is the architecture's: docs/architecture.md explains it. Run without arguments; prints each
offending line and exits 1 when there is one.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

# folder -> folders whose headers it may include (itself always). "qt" stands for Qt's headers.
ALLOWED = {
    "base": set(),
    "keyboard/notation": {"base"},
    "config": {"base", "keyboard/notation"},
    "activation": {"base"},
    "commands": {"base", "keyboard/notation", "config", "activation"},
    "keyboard": {"base", "keyboard/notation", "config", "commands"},
    "documents": {"base", "keyboard/notation", "config", "commands"},
    "plugins": {"base", "config", "commands"},
    "overlay": {"base", "keyboard/notation", "keyboard", "qt"},
    "runtime": {"base", "keyboard/notation", "keyboard", "config", "activation", "commands", "plugins"},
    "cli": {"base", "keyboard/notation", "keyboard", "config", "activation", "commands", "plugins", "runtime",
            "documents"},
    "app": {"base", "keyboard/notation", "keyboard", "config", "activation", "commands", "plugins", "runtime",
            "cli", "overlay", "qt"},
    "capabilities": {"base", "plugins", "activation", "commands"},
}
# Headers of the systems: only in the folders named after the system.
SYSTEM = {
    "x11": re.compile(r"^(xcb/|X11/)"),
    "macos": re.compile(r"^(CoreGraphics|CoreFoundation|ApplicationServices|AppKit|Foundation|IOKit|Carbon|"
                        r"ServiceManagement|CommonCrypto|dispatch|os/log|objc|mach)"),
    "linux": re.compile(r"^(sys/inotify\.h|sys/epoll\.h|sys/timerfd\.h|sys/eventfd\.h|sys/prctl\.h|linux/)"),
}
QT = re.compile(r"^(Q[A-Z]|Qt)")
# Libraries that one file each may see.
ONLY_IN = {
    re.compile(r"^simdjson"): {"src/base/JSONReader.cpp"},
    re.compile(r"^unicode/"): {"src/base/linux/IcuTextSearch.cpp"},
}
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def folder_of(path):
    """The key of ALLOWED that a path below src/ or capabilities/ belongs to, and its system sub-folder."""
    parts = path.relative_to(ROOT).parts
    if parts[0] == "capabilities":
        return "capabilities", next((p for p in parts if p in SYSTEM), None)
    parts = parts[1:]
    system = next((p for p in parts[:-1] if p in SYSTEM or p == "posix"), None)
    two = "/".join(parts[:2])
    return (two if two in ALLOWED else parts[0]), system


def target_of(header):
    two = "/".join(header.split("/")[:2])
    return two if two in ALLOWED else header.split("/")[0]


def problems(path):
    folder, system = folder_of(path)
    if folder not in ALLOWED:
        yield 1, f"folder '{folder}' is not in the table of tools/check_includes.py"
        return
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        match = INCLUDE.match(line)
        if not match:
            continue
        quoted, header = match.group(1) == '"', match.group(2)
        if quoted:
            target = target_of(header)
            if target not in ALLOWED:
                yield number, f'"{header}" does not carry its path from src/'
            elif target != folder and target not in ALLOWED[folder]:
                yield number, f'{folder} may not include {target} ("{header}")'
            elif any(f"/{s}/" in f"/{header}" for s in ("x11", "macos", "linux")) and not (
                    system and f"/{system}/" in f"/{header}" or system == "x11" and "/linux/" in header) and folder not in ("runtime", "cli", "app",
                                                                                 "capabilities"):
                yield number, f'only adapters and the composition may include "{header}"'
            continue
        if QT.match(header) and "qt" not in ALLOWED[folder]:
            yield number, f"{folder} may not include Qt (<{header}>)"
        for name, pattern in SYSTEM.items():
            if pattern.match(header) and system != name and folder not in ("capabilities",):
                yield number, f"<{header}> belongs into a folder named {name}/"
        for pattern, files in ONLY_IN.items():
            if pattern.match(header) and str(path.relative_to(ROOT)) not in files:
                yield number, f"<{header}> is for {', '.join(sorted(files))} only"


def main():
    files = [p for top in ("src", "capabilities") for p in sorted((ROOT / top).rglob("*"))
             if p.suffix in (".h", ".cpp", ".mm")]
    found = [(p, n, text) for p in files for n, text in problems(p)]
    for path, number, text in found:
        print(f"{path.relative_to(ROOT)}:{number}: {text}")
    print(f"{len(files)} files read, {len(found)} problems")
    return 1 if found or not files else 0


if __name__ == "__main__":
    sys.exit(main())
