#!/usr/bin/env bash
# The manual page renders without a warning and says what `halyward help` says: every usage
# line, every global flag with its description, every option the parser knows, the tile
# and hotkey notes, every exit status, and the files the program reads and writes.
#   man_page_test.sh <halyward.1> <halyward executable>
set -euo pipefail
page=$1 halyward=$2
export LC_ALL=C.UTF-8 MANWIDTH=200

warnings=$(groff -man -Tutf8 -ww -z "$page" 2>&1 || echo "groff failed")
[[ -z $warnings ]] || { printf 'groff warns:\n%s\n' "$warnings" >&2; exit 1; }
warnings=$(man --warnings -l "$page" 2>&1 >/dev/null || echo "man failed")
[[ -z $warnings ]] || { printf 'man warns:\n%s\n' "$warnings" >&2; exit 1; }

# Rendered wide, without hyphenation, with runs of blanks squeezed, so that each line of
# the help text appears as one line of the page.
squeeze() { sed -e 's/[[:space:]]\+/ /g' -e 's/^ //' -e 's/ $//'; }
rendered=$(man -l "$page" 2>/dev/null | col -bx | squeeze)
help=$("$halyward" help | squeeze)

missing=0
need() {
  if ! grep -qxF -- "$1" <<<"$rendered" && ! grep -qF -- "$1" <<<"$rendered"; then
    printf 'the page lacks: %s\n' "$1" >&2
    missing=$((missing + 1))
  fi
}
# Every line of the help text but its title (the page's NAME says it with a dash). A
# global flag's line is a term and its description in the page, so each half is looked for.
while IFS= read -r line; do
  [[ -z $line || $line == "halyward — "* || $line == Usage: || $line == "Global flags:" ]] && continue
  if [[ $line == "  --"* ]]; then
    need "$(sed 's/^ *\(--[^ ]*\( <[^>]*>\)\?\) .*/\1/' <<<"$line")"
    need "$(sed 's/^ *--[^ ]*\( <[^>]*>\)\? *//' <<<"$line")"
  else
    need "$(squeeze <<<"$line")"
  fi
done < <("$halyward" help)
need "$(head -1 <<<"$help" | sed 's/^halyward — /halyward - /')"
# `halyward help app`: its usage lines are the page's (checked above, or their options
# below), and every line after them.
while IFS= read -r line; do
  [[ -n $line ]] && need "$(squeeze <<<"$line")"
done < <("$halyward" help app | sed '1,/^$/d' | sed '1,/^$/d')
for option in name hotkey tile icon css js display title config timeout json yes help version; do
  need "--$option"
done
for status in 0 1 2 3 4 5 6 7 8; do
  grep -qx "$status .*" <<<"$rendered" || { echo "the page lacks exit status $status" >&2; missing=$((missing + 1)); }
done
for section in NAME SYNOPSIS DESCRIPTION COMMANDS OPTIONS "EXIT STATUS" FILES EXAMPLES; do
  grep -qx "$section" <<<"$rendered" || { echo "the page lacks the section $section" >&2; missing=$((missing + 1)); }
done
need "~/.config/halyward/config.toml"
need "~/Applications/Halyward Apps/"
need "halyward.sock"
((missing == 0)) || exit 1
echo "the page renders cleanly and says everything the help text says"
