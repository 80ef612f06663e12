#!/usr/bin/env bash
# Whole-process time of `halyward app add` against the local test site
# (tests/data/webapps/site_server.py): the page, its manifest and its best PNG icon are
# fetched, the bundle and launcher entry written and the app recorded. Every run starts
# from an empty home folder. A stand-in host file sits beside a copy of halyward, where an
# installation keeps the real one. Goal: median at most 150 ms.
# Usage: bench/app_add.sh <build-dir>   (a Release build gives the figures that count)
set -euo pipefail
build=$(cd "${1:?usage: app_add.sh <build-dir>}" && pwd)
source_dir=$(cd "$(dirname "$0")/.." && pwd)
if [[ ! -x "$build/cli/halyward" ]]; then
  echo "app_add: $build/cli/halyward is missing; build the halyward target first" >&2
  exit 1
fi
if ! command -v hyperfine >/dev/null; then
  echo "app_add: hyperfine is not installed" >&2
  exit 1
fi

work=$(mktemp -d)
cleanup() {
  exec 3>&- || true  # closing the site's standard input stops it
  wait || true
  rm -rf "$work"
}
trap cleanup EXIT

mkdir -p "$work/bin"
cp "$build/cli/halyward" "$work/bin/halyward"
printf '#!/bin/sh\nexit 0\n' >"$work/bin/HalywardWebHost"
chmod 755 "$work/bin/HalywardWebHost"
python3 "$source_dir/tests/data/webapps/png_tool.py" make 192 192 "$work/icon.png"

mkfifo "$work/site-input"
python3 "$source_dir/tests/data/webapps/site_server.py" <"$work/site-input" >"$work/port" &
exec 3>"$work/site-input"
for _ in $(seq 100); do [[ -s "$work/port" ]] && break; sleep 0.05; done
site="http://127.0.0.1:$(head -n 1 "$work/port")"

export HOME="$work/home"
"$work/bin/halyward" app add "$site/forms/" --name Check >/dev/null
test -s "$HOME/Applications/Halyward Apps/Check.app/Contents/Resources/AppIcon.png"

hyperfine --shell=none --warmup 3 --min-runs 40 --style basic \
  --prepare "rm -rf $HOME" \
  --export-json "$work/timings.json" \
  -n "halyward app add (page, manifest, icon)" "$work/bin/halyward app add $site/forms/ --name Forms" \
  -n "halyward app add --icon (no fetch)" \
  "$work/bin/halyward app add $site/forms/ --name Forms --icon $work/icon.png" \
  >/dev/null

python3 - "$work/timings.json" <<'REPORT'
import json, sys
for r in json.load(open(sys.argv[1]))["results"]:
    print(f"{r['command']:<42} median {r['median'] * 1000:7.2f} ms  mean {r['mean'] * 1000:7.2f} ms"
          f"  min {r['min'] * 1000:7.2f} ms")
REPORT
