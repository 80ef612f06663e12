#!/usr/bin/env bash
# What a Tab costs with a configuration of 5,000 web apps (each with a hotkey): whole bash
# and fish completions of `halyward app remove ` and `halyward hotkey unset `, which read
# the file with the completions' own awk, beside the shells' start-up and beside what
# reading it through `halyward --json config show` / `hotkey list` would cost. Goal: each
# completion within 50 ms, without the network.
# The first figures are whole shells started for one Tab; the last are what a Tab costs in
# a shell already running with the completions loaded, which is what a user waits for.
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
# Chords a web app may hold; with more apps than chords some repeat, as conflicts would.
keys=({a..z} {0..9} f1 f2 f3 f4 f5 f6 f7 f8 f9 f10 f11 f12)
{
  echo 'version = 1'
  for i in $(seq 1 5000); do
    printf '\n[apps.app-%d]\nurl = "https://app%d.example.com"\nname = "App %d"\nbundle_id = "app.halyward.web.app-%d"\nhotkey = "ctrl+opt+cmd+shift+%s"\n' \
      "$i" "$i" "$i" "$i" "${keys[i % ${#keys[@]}]}"
  done
} >"$HOME/.config/halyward/config.toml"
[[ $(halyward --json config show | grep -o '"slug"' | wc -l) == 5000 ]] || { echo "the generated configuration is not read as 5,000 apps" >&2; exit 1; }

bash_tab() {
  printf 'source %q; COMP_WORDS=(halyward %s ""); COMP_CWORD=${#COMP_WORDS[@]}; ((COMP_CWORD--)); _halyward; echo ${#COMPREPLY[@]}' \
    "$scripts/halyward.bash" "$1"
}
echo "bash offers $(bash -c "$(bash_tab 'app remove')") names and slugs, $(bash -c "$(bash_tab 'hotkey unset')") chords"

hyperfine --warmup 3 --min-runs 20 -N \
  --command-name 'halyward --json config show (not used by the completions)' "$exe --json config show" \
  --command-name 'halyward --json hotkey list (not used by the completions)' "$exe --json hotkey list"
hyperfine --warmup 3 --min-runs 20 \
  --command-name 'bash: bash itself (baseline)' "bash -c true" \
  --command-name 'bash: Tab after app remove' "bash -c '$(bash_tab 'app remove')'" \
  --command-name 'bash: Tab after hotkey unset' "bash -c '$(bash_tab 'hotkey unset')'" \
  --command-name 'fish: fish itself (baseline)' "fish --no-config -c true" \
  --command-name 'fish: Tab after app remove' "fish --no-config -c 'source $scripts/halyward.fish; complete -C \"halyward app remove \" | count'" \
  --command-name 'fish: Tab after hotkey unset' "fish --no-config -c 'source $scripts/halyward.fish; complete -C \"halyward hotkey unset \" | count'"

# In a running shell: the mean of 20 Tabs, each filling the candidates for the shell.
tabs=20
bash_loop=$(printf 'source %q; tab() { COMP_WORDS=(halyward $1 $2 ""); COMP_CWORD=3; _halyward; }; tab app remove
start=$EPOCHREALTIME; for ((i = 0; i < %d; i++)); do tab "$@"; done; end=$EPOCHREALTIME
echo "$(( (${end/./} - ${start/./}) / %d / 1000 )) ms per Tab (${#COMPREPLY[@]} candidates)"' "$scripts/halyward.bash" "$tabs" "$tabs")
echo "bash, running: Tab after app remove: $(bash -c "$bash_loop" bash app remove)"
echo "bash, running: Tab after hotkey unset: $(bash -c "$bash_loop" bash hotkey unset)"
fish_loop="source $scripts/halyward.fish; complete -C \"halyward \$argv \" >/dev/null
set start (date +%s%N); for i in (seq $tabs); complete -C \"halyward \$argv \" >/dev/null; end; set end (date +%s%N)
echo (math --scale=0 \"(\$end - \$start) / $tabs / 1000000\") ms per Tab, (complete -C \"halyward \$argv \" | count) candidates"
echo "fish, running: Tab after app remove: $(fish --no-config -c "$fish_loop" app remove)"
echo "fish, running: Tab after hotkey unset: $(fish --no-config -c "$fish_loop" hotkey unset)"
