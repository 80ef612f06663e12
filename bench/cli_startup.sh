#!/usr/bin/env bash
# Whole-process start-up of the halyward command line: `halyward version` and
# `halyward --json config show` on the default configuration file, beside a C++ hello-world
# built with the compiler and flags of the same build. Goal: median at most 2 ms and
# within 2x of the hello-world.
# Usage: bench/cli_startup.sh <build-dir>   (a Release build gives the figures that count)
set -euo pipefail
build=$(cd "${1:?usage: cli_startup.sh <build-dir>}" && pwd)
exe="$build/cli/halyward"
if [[ ! -x "$exe" ]]; then
  echo "cli_startup: $exe is missing; build the halyward target first" >&2
  exit 1
fi
if ! command -v hyperfine >/dev/null; then
  echo "cli_startup: hyperfine is not installed" >&2
  exit 1
fi

cache="$build/CMakeCache.txt"
setting() { sed -n "s/^$1:[A-Z]*=//p" "$cache" | head -n 1; }
cxx=$(setting CMAKE_CXX_COMPILER)
type=$(setting CMAKE_BUILD_TYPE)
compile_flags="$(setting CMAKE_CXX_FLAGS) $(setting "CMAKE_CXX_FLAGS_${type^^}")"
link_flags="$(setting CMAKE_EXE_LINKER_FLAGS) $(setting "CMAKE_EXE_LINKER_FLAGS_${type^^}")"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cat >"$work/hello.cpp" <<'HELLO'
#include <iostream>
int main() { std::cout << "hello, world\n"; }
HELLO
# shellcheck disable=SC2086 # the flags are lists of words
"$cxx" -std=c++20 $compile_flags "$work/hello.cpp" -o "$work/hello" $link_flags

export HOME="$work/home"
mkdir -p "$HOME"
"$exe" config show >/dev/null  # writes the default configuration file

hyperfine --shell=none --warmup 30 --min-runs 300 --style basic \
  --export-json "$work/timings.json" \
  -n hello-world "$work/hello" \
  -n "halyward version" "$exe version" \
  -n "halyward --json config show" "$exe --json config show" >/dev/null

python3 - "$work/timings.json" "$type" <<'REPORT'
import json, sys
results = json.load(open(sys.argv[1]))["results"]
hello = results[0]["median"]
print(f"build type: {sys.argv[2] or '(none)'}")
for r in results:
    median = r["median"] * 1000
    print(f"{r['command']:<30} median {median:6.3f} ms  mean {r['mean'] * 1000:6.3f} ms"
          f"  ({r['median'] / hello:4.2f}x hello-world)")
REPORT
