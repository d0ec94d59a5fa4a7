#!/usr/bin/env bash
# Assembles Varnel.app from a release build and signs it.
#   packaging/macos/bundle.sh [BUILD] [IDENTITY]
#     BUILD     the build folder (default: build/release)
#     IDENTITY  the signing identity as `security find-identity -v -p codesigning` lists it (default:
#               $VARNEL_SIGNING_IDENTITY; without one the signature is ad hoc, which loses the Accessibility
#               permission with every build)
# Leaves BUILD/Varnel.app.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=${1:-$root/build/release}
identity=${2:-${VARNEL_SIGNING_IDENTITY:--}}
app=$build/Varnel.app
contents=$app/Contents
version=$(sed -n 's/^project(Varnel VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")

for program in varnel varnel-app; do
  [ -x "$build/bin/$program" ] || {
    echo "There is no $build/bin/$program: build first (cmake --build --preset release)." >&2
    exit 1
  }
done

rm -rf "$app"
mkdir -p "$contents/MacOS" "$contents/Resources"
sed "s/@VERSION@/$version/g" "$here/Info.plist.in" > "$contents/Info.plist"
plutil -lint -s "$contents/Info.plist"
printf 'APPL????' > "$contents/PkgInfo"
cp "$build/bin/varnel" "$build/bin/varnel-app" "$contents/MacOS/"
# Beside the programs, as in every installation: bin/ and share/ are MacOS/ and share/ here.
mkdir -p "$contents/share/varnel"
cp -R "$build/share/varnel/plugins" "$build/share/varnel/locale" "$contents/share/varnel/"

# Qt's libraries and plug-ins go into the bundle, so that it runs where Qt is not installed.
if otool -L "$contents/MacOS/varnel-app" | grep -q Qt; then
  deploy=$(command -v macdeployqt || echo "$(brew --prefix qt)/bin/macdeployqt")
  "$deploy" "$app" -executable="$contents/MacOS/varnel" -no-strip > "$build/macdeployqt.log" 2>&1 || {
    tail -n 20 "$build/macdeployqt.log" >&2
    exit 1
  }
fi

# From the inside out: a signature covers what lies within. An ad-hoc signature has no team, so the hardened runtime
# would refuse Qt's libraries, and no time stamp.
hardening=(--timestamp=none)
[ "$identity" = - ] || hardening=(--options runtime --timestamp)
sign() { codesign --force "${hardening[@]}" --sign "$identity" "$@"; }
find "$contents" \( -name '*.dylib' -o -path '*/plugins/*' -type f -perm -u+x \) -print0 |
  while IFS= read -r -d '' file; do sign "$file"; done
find "$contents" -name '*.framework' -type d -prune -print0 |
  while IFS= read -r -d '' framework; do sign "$framework"; done
sign --entitlements "$here/Varnel.entitlements" --identifier com.brackwell.varnel "$contents/MacOS/varnel"
sign --entitlements "$here/Varnel.entitlements" "$app"
codesign --verify --deep --strict "$app"
echo "$app"
[ "$identity" != - ] || echo "Signed ad hoc: the permission for Accessibility will not outlive the next build." >&2
