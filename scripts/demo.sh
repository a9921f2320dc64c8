#!/usr/bin/env bash
# Sets up, builds, and renders real photographs with the plug-in through the command-line host. The pictures are left in
# out/demo, each with its original beside it.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
cmake --preset release -DTARNWELL_BUILD_TESTS=OFF -B build/demo >/dev/null
cmake --build build/demo
tarnwell=build/demo/tarnwell
mkdir -p out/demo

for name in panorama_interior panorama_sunrise; do
  "$tarnwell" render "samples/$name.exr" "out/demo/$name-original.png" \
    --set grainIntensity=0 --set halationIntensity=0 --set colorIntensity=0
  "$tarnwell" render "samples/$name.exr" "out/demo/$name-tarnwell.png"
done

echo
echo "Look at these, each original beside its print:"
ls -1 "$PWD"/out/demo/*.png
