#!/usr/bin/env bash
# Builds the benchmark with its peers (OpenColorIO, OpenCV, ffmpeg), runs all of it, and writes the table to
# docs/performance-table.md and, with every digit, to docs/performance-table.json. Takes a quarter of an hour; keep the
# machine quiet meanwhile.
#
#   scripts/bench.sh                       the table of the documentation
#   scripts/bench.sh --only 'T1\.|T13'     some rows to the terminal alone; takes every option of tarnwell_bench
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh bench

commit=$(git describe --always --dirty 2>/dev/null || echo unknown)
cmake -S . -B build/bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DTARNWELL_BUILD_BENCH=ON -DTARNWELL_BENCH_PEERS=ON \
  -DTARNWELL_BUILD_TESTS=OFF -DTARNWELL_BUILD_PROGRAM=OFF >/dev/null
cmake --build build/bench --target tarnwell_bench

options=("$@")
if [[ $# -eq 0 ]]; then options=(--markdown docs/performance-table.md --json docs/performance-table.json); fi
exec build/bench/tarnwell_bench --commit "$commit" "${options[@]}"
