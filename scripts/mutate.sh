#!/usr/bin/env bash
# Makes the slips listed in tests/mutations/ one at a time, in a copy of the tree, and checks that the test named for
# each one fails: `scripts/mutate.sh [PATTERN]`, PATTERN a part of the name or of the file. An entry:
#   * NAME
#     FILE TEST_PROGRAM GTEST_FILTER
#   - the text before, found in FILE exactly once (more lines: more "- ")
#   + the text after (none: the text goes)
set -euo pipefail
cd "$(dirname "$0")/.."
pattern=${1:-}
seconds=600 # for one run of a test, as ctest gives it; a test that takes longer hangs, and a hang catches nothing

names=() files=() programs=() filters=() befores=() afters=()
newline=$'\n'
while IFS= read -r line; do
  case $line in
    '* '*) names+=("${line#\* }") befores+=('') afters+=('') ;;
    '  '*) read -r file program filter <<<"$line" && files+=("$file") programs+=("$program") filters+=("$filter") ;;
    '- '*) befores[-1]+=${befores[-1]:+$newline}${line#- } ;;
    '+ '*) afters[-1]+=${afters[-1]:+$newline}${line#+ } ;;
    '' | '#'*) ;;
    *) echo "tests/mutations: no line of an entry: $line" >&2 && exit 1 ;;
  esac
done < <(cat tests/mutations/*.txt)

chosen=()
for i in "${!names[@]}"; do
  if [[ "${names[i]} ${files[i]}" == *"$pattern"* ]]; then chosen+=("$i"); fi
done
if [[ ${#chosen[@]} -eq 0 ]]; then echo "tests/mutations: no entry has \"$pattern\" in its name or file" >&2 && exit 1; fi

bash scripts/setup.sh tests
copy=$(mktemp -d)
export TMPDIR=$copy
trap 'rm -rf "$copy"' EXIT
trap 'exit 130' INT TERM
git ls-files -z --cached --others --exclude-standard | tar -c --null -T - | tar -x -C "$copy"
cd "$copy"
cmake --preset release -DTARNWELL_WARNINGS_AS_ERRORS=OFF >/dev/null # a slip may leave a name unused

build() { cmake --build build/release --target "$@" >log 2>&1; }

# Runs the tests of entry $1.
run() {
  timeout "$seconds" "$(find build/release -type f -name "${programs[$1]}")" --gtest_filter="${filters[$1]}" 2>&1
}

# The test in which the first assertion fails; a program that has failed one need not go on to the next.
failing() {
  run "$1" | sed -n '/^\[ RUN      \] /h; /: Failure$/ { x; s/^\[ RUN      \] //p; q }' || true
}

echo "== unchanged =="
wanted=()
for i in "${chosen[@]}"; do wanted+=("${programs[i]}"); done
mapfile -t wanted < <(printf '%s\n' "${wanted[@]}" | sort -u)
build "${wanted[@]}" || { tail -40 log && exit 1; }
for i in "${chosen[@]}"; do
  { run "$i" >log && grep -q '^\[       OK \]' log; } ||
    { tail -40 log && echo "${names[i]}: ${filters[i]} does not pass as things are" && exit 1; }
done

echo "== ${#chosen[@]} mutations =="
bad=0
for i in "${chosen[@]}"; do
  text=$(cat "${files[i]}" && echo x)
  text=${text%x}
  tail=${text#*"${befores[i]}"}
  if [[ -z ${befores[i]} || $tail == "$text" || $tail == *"${befores[i]}"* ]]; then
    verdict="does not apply: its text is not there exactly once" && bad=$((bad + 1))
  else
    printf %s "${text%%"${befores[i]}"*}${afters[i]}$tail" >"${files[i]}"
    if ! build "${programs[i]}"; then
      verdict="does not build: $(grep -m1 "error:" log || tail -1 log)" && bad=$((bad + 1))
    else
      caught=$(failing "$i")
      verdict="caught by $caught"
      if [[ -z $caught ]]; then verdict="SURVIVED ${filters[i]}" && bad=$((bad + 1)); fi
    fi
    printf %s "$text" >"${files[i]}"
  fi
  echo "${names[i]} (${files[i]}): $verdict"
done
echo "${#chosen[@]} mutations, $bad of them not caught"
[[ $bad -eq 0 ]]
