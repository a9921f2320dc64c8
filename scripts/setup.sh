#!/usr/bin/env bash
# Installs what building (and, with `tests`, testing; with `bench`, measuring beside the peers) needs and is not there
# yet. Debian and Ubuntu, as root or with sudo; elsewhere it names what to install. Quick, and silent, when nothing is
# missing.
set -euo pipefail

# openimageio-tools, libopencv-core-dev: the CMake package of libopenimageio-dev fails without the programs and the
# include folder that it names.
build_packages=(
  g++ cmake ninja-build pkg-config git
  libopenimageio-dev openimageio-tools libopencv-core-dev libopencolorio-dev libopenexr-dev libimath-dev
  libcli11-dev nlohmann-json3-dev libfmt-dev
)
test_packages=(
  clang libgtest-dev libgmock-dev libopencv-imgproc-dev ffmpeg locales-all binutils
  pocl-opencl-icd ocl-icd-libopencl1 fonts-dejavu-core
  libgnustep-base-dev libobjc-12-dev libblocksruntime-dev
)
# More compilers and OpenCL runtimes for the tests, and the formatter, where the distribution has them: tests skip what is not there.
optional_test_packages=(clang-19 clang-format-14 mesa-opencl-icd oclgrind)
bench_packages=(libopencv-imgproc-dev libavfilter-dev libavutil-dev)

wanted=("${build_packages[@]}")
if [[ "${1:-}" == bench ]]; then wanted+=("${bench_packages[@]}"); fi
if [[ "${1:-}" == tests ]]; then wanted+=("${test_packages[@]}"); fi

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
  for tool in cmake ninja c++; do
    command -v "$tool" >/dev/null && continue
    echo "This machine has no apt. Install the counterparts of these Debian packages yourself, then run this again:" >&2
    printf '  %s\n' "${wanted[@]}" >&2
    exit 1
  done
  echo "No apt here: taking what is installed. If CMake misses something, these are the Debian names: ${wanted[*]}" >&2
  exit 0
fi

# clang's sanitizer runtimes are a package of their own, named after the version of clang.
if [[ "${1:-}" == tests ]] && command -v clang >/dev/null; then
  wanted+=("libclang-rt-$(clang -dumpversion | cut -d. -f1)-dev")
fi

missing() {
  local package
  for package in "${wanted[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || echo "$package"
  done
}

if [[ "${1:-}" == tests ]]; then
  for package in "${optional_test_packages[@]}"; do
    [[ -n "$(apt-cache madison "$package" 2>/dev/null)" ]] && wanted+=("$package")
  done
fi

mapfile -t absent < <(missing)
[[ ${#absent[@]} -eq 0 ]] && exit 0

sudo=()
if [[ $(id -u) -ne 0 ]]; then
  if ! command -v sudo >/dev/null; then
    echo "These packages are missing and can only be installed by root: ${absent[*]}" >&2
    exit 1
  fi
  sudo=(sudo)
fi
echo "Installing: ${absent[*]}" >&2
"${sudo[@]}" apt-get update -qq
"${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${absent[@]}" >/dev/null

# What was not known before clang was there.
if [[ "${1:-}" == tests && -z "${TARNWELL_SETUP_AGAIN:-}" ]]; then TARNWELL_SETUP_AGAIN=1 exec bash "$0" tests; fi
