#!/usr/bin/env bash
# Installs the Debian packages the build needs, but only those that are missing,
# so that a second run costs one dpkg query per package.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  libgtest-dev libgmock-dev libbenchmark-dev
  qt6-base-dev libsndfile1-dev portaudio19-dev
  pulseaudio libasound2-plugins
  qt6-qpa-plugins
  fonts-dejavu-core
  sox time libsox-fmt-mp3
  ffmpeg flac lame vorbis-tools opus-tools
  libtag1-dev libfftw3-dev librubberband-dev libebur128-dev libpng-dev
  clang libclang-rt-dev clang-format
  # sending by mail and upload (libcurl, libsecret) and the loopback servers of its tests
  libcurl4-openssl-dev libsecret-1-dev python3-aiosmtpd python3-pyftpdlib openssl
  # Building and checking the Debian package (make package, make test-package)
  lintian desktop-file-utils appstream dpkg-dev fakeroot
  # Audio CDs: reading, ripping, disc ids, lookup, ISO images and burning.
  libcdio-dev libcdio-paranoia-dev libdiscid-dev libburn-dev libisofs-dev xorriso libxml2-dev
  # Text to speech: the espeak-ng library and its voices.
  libespeak-ng-dev espeak-ng-data
  # plug-in hosting (LV2 through lilv, LADSPA) and the plug-ins its tests run
  liblilv-dev lv2-dev ladspa-sdk swh-plugins swh-lv2
)

missing=()
for p in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Status}' "$p" 2>/dev/null || true)
  [ "$status" = "installed" ] || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing missing packages: ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "Need root (or sudo) to install: ${missing[*]}" >&2; exit 1; }
  sudo="sudo"
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
