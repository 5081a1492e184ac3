#!/usr/bin/env bash
# Renders the program's icon (app/desktop/com.quillon.Osmera.svg) into the PNG sizes of the
# hicolor theme under app/desktop/icons/. The PNGs are committed, so builds need no SVG
# renderer; run this (needs librsvg2-bin) after changing the SVG.
set -euo pipefail
cd "$(dirname "$0")/../app/desktop"
mkdir -p icons
for size in 16 22 24 32 48 64 128 256; do
  rsvg-convert -w "$size" -h "$size" com.quillon.Osmera.svg -o "icons/${size}x${size}.png"
done
