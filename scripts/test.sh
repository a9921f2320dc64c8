#!/usr/bin/env bash
# Sets up, builds and runs all tests: the release build, then address and undefined-behaviour sanitizers, then thread
# sanitizer over the tests that use threads. `--quick` stops after the release build.
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)

bash scripts/setup.sh tests

# The style of the sources, where the version of the tool that it was written for is at hand.
if command -v clang-format-14 >/dev/null && git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
  git ls-files -z '*.h' '*.cpp' '*.mm' ':!tests/metal/standin' ':!tests/metal/metal_stand_in' |
    xargs -0 clang-format-14 --dry-run -Werror
fi

# Configures, builds and tests one preset; further arguments go to ctest.
check() {
  local preset=$1
  shift
  echo "== $preset =="
  cmake --preset "$preset" >/dev/null
  cmake --build "build/$preset"
  ctest --test-dir "build/$preset" -j "$jobs" --output-on-failure --no-tests=error "$@"
}

check release
[[ "${1:-}" == --quick ]] && exit 0

export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1
export UBSAN_OPTIONS=print_stacktrace=1
check asan-ubsan -LE slow
export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
check tsan -L threads
