#!/usr/bin/env bash
# Checks the Debian package made from an existing build folder (default: build):
#   1. packs it with CPack (the programs are already built, so this only installs and packs);
#   2. lintian finds no errors (warnings are printed; see the README for those we accept);
#   3. the desktop entries and the AppStream metainfo in the package validate;
#   4. the package's dependencies, computed from the programs, can be met on this system;
#   5. dpkg installs it into a throw-away root (nothing on this machine changes, no dpkg
#      lock is taken, and it works without root through fakeroot), `osmera --version` and
#      `osmera-cli --version` run from the installed paths without a display;
#   6. purging it leaves nothing of what `dpkg -L` listed on disk.
set -euo pipefail

build=${1:-build}
build=$(cd "$build" && pwd)
fail() { echo "check-package: $*" >&2; exit 1; }

echo "== packing"
rm -f "$build"/osmera_*.deb
(cd "$build" && cpack -G DEB >"$build/cpack.log" 2>&1) || { cat "$build/cpack.log"; fail "cpack failed"; }
deb=$(ls "$build"/osmera_*.deb)
echo "$(basename "$deb"): $(dpkg-deb -f "$deb" Depends)"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/unpacked" "$work/root/var/lib/dpkg/updates" "$work/root/var/lib/dpkg/info"
touch "$work/root/var/lib/dpkg/status"

echo "== lintian"
status=0
lintian --fail-on error "$deb" >"$work/lintian.log" 2>&1 || status=$?
# Running lintian as root (CI) makes it say so; that is not about the package.
grep -v 'running with root privileges' "$work/lintian.log" || true
[ "$status" -eq 0 ] || fail "lintian reports errors"

echo "== desktop entries and metainfo"
dpkg-deb -x "$deb" "$work/unpacked"
for f in "$work"/unpacked/usr/share/applications/*.desktop; do
  desktop-file-validate "$f" || fail "$(basename "$f") does not validate"
done
appstreamcli validate --no-net "$work"/unpacked/usr/share/metainfo/*.metainfo.xml >/dev/null ||
  fail "the metainfo does not validate"

echo "== dependencies"
apt-get -s satisfy "$(dpkg-deb -f "$deb" Depends)" >"$work/satisfy.log" 2>&1 ||
  { cat "$work/satisfy.log"; fail "the package's dependencies cannot be met here"; }

echo "== install into a throw-away root"
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(fakeroot)
# The throw-away root has no packages, so dependencies are taken as met (checked above).
"${as_root[@]}" dpkg --root="$work/root" --force-depends --force-not-root -i "$deb" \
  >"$work/dpkg.log" 2>&1 || { cat "$work/dpkg.log"; fail "dpkg could not install the package"; }
for program in osmera osmera-cli; do
  version=$(env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM \
    "$work/root/usr/bin/$program" --version) || fail "$program --version failed"
  echo "$version"
done
"${as_root[@]}" dpkg --root="$work/root" -L osmera >"$work/listed"

echo "== purge"
"${as_root[@]}" dpkg --root="$work/root" --force-not-root --purge osmera >"$work/dpkg.log" 2>&1 ||
  { cat "$work/dpkg.log"; fail "dpkg could not remove the package"; }
left=0
while IFS= read -r path; do
  [ "$path" = "/." ] && continue
  if [ -e "$work/root$path" ] || [ -L "$work/root$path" ]; then
    echo "left behind: $path" >&2
    left=1
  fi
done <"$work/listed"
[ "$left" -eq 0 ] || fail "files of the package are left after purging it"
echo "package check passed: $(wc -l <"$work/listed") paths installed and removed"
