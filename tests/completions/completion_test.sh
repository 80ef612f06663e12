#!/usr/bin/env bash
# Runs one shell's completion of halyward through real situations and checks what a Tab
# offers, with a scratch home holding a configuration of two web apps.
#   completion_test.sh <bash|zsh|fish> <folder of generated completions> <halyward executable>
set -euo pipefail
shell=$1 scripts=$(cd "$2" && pwd) halyward=$(cd "$(dirname "$3")" && pwd)/$(basename "$3")
here=$(cd "$(dirname "$0")" && pwd)
command -v "$shell" >/dev/null || { echo "$shell is not installed (scripts/install-deps installs it)" >&2; exit 1; }

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export HOME=$scratch/home XDG_CONFIG_HOME=$scratch/home/.config
mkdir -p "$HOME/.config/halyward" "$scratch/bin" "$scratch/files"
ln -s "$halyward" "$scratch/bin/halyward"
export PATH=$scratch/bin:$PATH
touch "$scratch/files/icon.png" "$scratch/files/icon.svg" "$scratch/files/notes.txt"
mkdir "$scratch/files/skills"

cat >"$HOME/.config/halyward/config.toml" <<'TOML'
version = 1

[apps.mail]
url = "https://mail.example.com"
name = "Mail"
bundle_id = "app.halyward.web.mail"
hotkey = "opt+cmd+m"

[apps.team-chat]
url = "https://chat.example.com"
name = "Team Chat"
bundle_id = "app.halyward.web.team-chat"

[hotkeys]
"ctrl+opt+t" = "org.example.Terminal"

[layouts.work]
"org.example.Mail" = "left-half"
TOML
cat >"$scratch/other.toml" <<'TOML'
[apps.notes]
url = "https://notes.example.com"
name = "Notes"
TOML

# Prints what Tab offers after each queued line, as "a|b|c" (sorted, a folder's trailing
# "/" dropped), one line each, in queue order. zsh answers every line in one session,
# since starting its completion system takes seconds.
offers() {
  local line
  case $shell in
    bash | fish)
      for line in "${lines[@]}"; do
        if [[ $shell == bash ]]; then
          bash "$here/bash_driver.sh" "$scripts/halyward.bash" "$line" 2>&1
        else
          fish --no-config "$here/fish_driver.fish" "$scripts/halyward.fish" "$line" 2>&1
        fi
        echo --end--
      done
      ;;
    zsh) timeout 120 zsh -f "$here/zsh_driver.zsh" "$scripts" "${lines[@]}" 2>&1 ;;
  esac | {
    local -a group=()
    while IFS= read -r line; do
      if [[ $line == --end-- ]]; then
        ((${#group[@]})) && printf '%s\n' "${group[@]}" | LC_ALL=C sort -u | paste -sd'|' - || echo
        group=()
      else
        group+=("${line%/}")
      fi
    done
  }
}

failures=0
lines=()
wanted=()
expect() { lines+=("$1"); wanted+=("$2"); }
check() {
  local -a got
  mapfile -t got < <(offers)
  for i in "${!lines[@]}"; do
    if [[ ${got[i]-} != "${wanted[i]}" ]]; then
      printf '%s: Tab after “%s”\n  offers: %s\n  wanted: %s\n' "$shell" "${lines[i]}" "${got[i]-}" "${wanted[i]}" >&2
      failures=$((failures + 1))
    fi
  done
  lines=()
  wanted=()
}

top='app|apply|config|doctor|help|hotkey|layout|rule|skill|tile|version'
expect 'halyward ' "$top"
expect 'halyward --json ' "$top"
expect 'halyward app ' 'add|list|remove'
expect 'halyward hotkey u' 'unset'
expect 'halyward help ' 'app'
expect 'halyward app remove ' 'Mail|Team Chat|mail|team-chat'
expect 'halyward app remove T' 'Team Chat'
expect 'halyward --yes app remove t' 'team-chat'
# Only chords a web app or [hotkeys] holds can be unset; Halyward's own are not offered.
expect 'halyward hotkey unset ' 'ctrl+opt+t|opt+cmd+m'
expect 'halyward layout apply ' 'work'
expect "halyward --config $scratch/other.toml app remove " 'Notes|notes'
expect "halyward --config=$scratch/other.toml app remove " 'Notes|notes'
expect 'halyward tile Mail left-t' 'left-third|left-two-thirds'
expect 'halyward rule add Mail --tile ri' 'right-half|right-third|right-two-thirds'
expect 'halyward rule add Mail --tile=bottom-' 'bottom-half|bottom-left|bottom-right'
expect 'halyward app add https://x.example --' \
  '--config|--css|--help|--hotkey|--icon|--js|--json|--name|--tile|--timeout|--version|--yes'
expect 'halyward rule remove Mail --t' '--timeout'
# File names are completed in the working folder, so every shell offers the bare names.
cd "$scratch/files"
expect 'halyward app add https://x.example --icon icon.' 'icon.png|icon.svg'
expect 'halyward --config no' 'notes.txt'
expect 'halyward skill install s' 'skills'
expect 'halyward skill install n' ''
# Free text: nothing to offer, rather than a wrong guess.
expect 'halyward app add https://x.example --name ' ''
expect 'halyward nonsense ' ''

check

# Without a configuration file nothing is offered, and a Tab does not create one.
rm "$HOME/.config/halyward/config.toml"
expect 'halyward app remove ' ''
check
if [[ -e $HOME/.config/halyward/config.toml ]]; then
  echo "$shell: a Tab created the configuration file" >&2
  failures=$((failures + 1))
fi

# The completions read the configuration with their own small reader; it must find the
# same names, slugs and chords as halyward does in a file written to trip it up.
if [[ $shell == bash ]]; then
  tricky=$scratch/tricky.toml
  cat >"$tricky" <<'TOML'
# [apps.commented] is a comment
[apps."team chat"]   # a quoted table name
url = "https://chat.example.com"
name = "Chat \"HQ\" \\ ü"
hotkey = "ctrl+opt+c"
user_css = """
[apps.inside-a-string]
name = "not an app"
"""

[apps . lit ]
url = "https://lit.example.com"
name = "C:\\path=x"

[apps.café]
url = "https://cafe.example.com"
hotkey = ""

[apps.no-address]
name = "Not an app"

[hotkeys]
"ctrl+opt+t" = "org.example.Terminal"
"opt+cmd+x" = { bundle = "org.example.X" }

[layouts."two words"]
"org.example.Mail" = "left-half"
TOML
  ours=$(bash -c "source '$scripts/halyward.bash'; for k in app chord layout; do _halyward_config_values '$tricky' \$k ''; done" | LC_ALL=C sort | paste -sd'|' -)
  theirs=$({ "$halyward" --config "$tricky" --json config show
             "$halyward" --config "$tricky" --json hotkey list; } | python3 -c '
import json, sys
for line in sys.stdin:
    result = json.loads(line)["result"]
    if isinstance(result, dict):
        for app in result["apps"]:
            print(app["slug"]); print(app["name"])
            if app["hotkey"]: print(app["hotkey"])
        for layout in result["layouts"]:
            print(layout["name"])
    else:
        for hotkey in result:
            if hotkey["source"] == "hotkeys": print(hotkey["chord"])
' | LC_ALL=C sort -u | paste -sd'|' -)
  [[ $ours == "$theirs" ]] || {
    printf 'bash: the completions read the configuration differently\n  ours:     %s\n  halyward: %s\n' "$ours" "$theirs" >&2
    failures=$((failures + 1))
  }
  registered=$(bash -c "source '$scripts/halyward.bash'; complete -p halyward")
  [[ $registered == 'complete -F _halyward halyward' ]] || {
    echo "bash: complete -p halyward says “$registered”" >&2
    failures=$((failures + 1))
  }
fi

((failures == 0)) || { echo "$shell: $failures situation(s) failed" >&2; exit 1; }
echo "$shell: every situation offers what it should"
