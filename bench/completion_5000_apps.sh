#!/usr/bin/env bash
# What a Tab costs with a configuration of 5,000 web apps (each with a hotkey): the
# `halyward --json app list` / `hotkey list` runs the completions make, and a whole bash
# and fish completion of `halyward app remove ` and `halyward hotkey unset `. Goal: each
# completion within 50 ms, without the network (the commands read only the file).
# Usage: bench/completion_5000_apps.sh <build-dir>   (a Release build gives the figures that count)
set -euo pipefail
build=$(cd "${1:?usage: completion_5000_apps.sh <build-dir>}" && pwd)
exe=$build/cli/halyward
scripts=$build/tools/docgen/out/completions
for needed in "$exe" "$scripts/halyward.bash" "$scripts/halyward.fish"; do
  [[ -e $needed ]] || { echo "completion_5000_apps: $needed is missing; build halyward and halyward_docs first" >&2; exit 1; }
done
command -v hyperfine >/dev/null || { echo "completion_5000_apps: hyperfine is not installed" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HOME=$work/home
mkdir -p "$HOME/.config/halyward" "$work/bin"
ln -s "$exe" "$work/bin/halyward"
export PATH=$work/bin:$PATH
{
  echo 'version = 1'
  for i in $(seq 1 5000); do
    printf '\n[apps.app-%d]\nurl = "https://app%d.example.com"\nname = "App %d"\nbundle_id = "app.halyward.web.app-%d"\nhotkey = "ctrl+opt+cmd+shift+f%d"\n' \
      "$i" "$i" "$i" "$i" "$i"
  done
} >"$HOME/.config/halyward/config.toml"
[[ $(halyward --json app list | grep -o '"slug"' | wc -l) == 5000 ]] || { echo "the generated configuration is not read as 5,000 apps" >&2; exit 1; }

bash_tab() {
  printf 'source %q; COMP_WORDS=(halyward %s ""); COMP_CWORD=${#COMP_WORDS[@]}; ((COMP_CWORD--)); _halyward; echo ${#COMPREPLY[@]}' \
    "$scripts/halyward.bash" "$1"
}
echo "bash offers $(bash -c "$(bash_tab 'app remove')") names and slugs, $(bash -c "$(bash_tab 'hotkey unset')") chords"

hyperfine --warmup 3 --min-runs 20 -N \
  --command-name 'halyward --json app list' "$exe --json app list" \
  --command-name 'halyward --json hotkey list' "$exe --json hotkey list"
hyperfine --warmup 3 --min-runs 20 \
  --command-name 'bash: bash itself (baseline)' "bash -c true" \
  --command-name 'bash: Tab after app remove' "bash -c '$(bash_tab 'app remove')'" \
  --command-name 'bash: Tab after hotkey unset' "bash -c '$(bash_tab 'hotkey unset')'" \
  --command-name 'fish: fish itself (baseline)' "fish --no-config -c true" \
  --command-name 'fish: Tab after app remove' "fish --no-config -c 'source $scripts/halyward.fish; complete -C \"halyward app remove \" | count'"
