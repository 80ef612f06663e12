#!/usr/bin/env zsh -f
# What Tab offers in zsh at the end of each command line, one candidate a line and a line
# "--end--" after each: an interactive zsh runs compinit in a pseudo-terminal once, and
# compadd is wrapped so that every candidate that survives zsh's own matching is printed.
#   zsh -f zsh_driver.zsh <folder holding _halyward> <line>...
zmodload zsh/zpty
dir=$1
lines=(${@[2,-1]})
zpty z zsh -f -i
zpty -w z "PS1='pty''> ' RPS1='' ; unsetopt zle_bracketed_paste"
zpty -w z "fpath=(${(q)dir} \$fpath); autoload -Uz compinit; compinit -u -D"
# Every candidate that survives zsh's own matching is printed between markers.
zpty -w z 'compadd () { local -a hits; builtin compadd -O hits "$@"; local h; for h in $hits; do print -r -- "<<$h>>"; done; builtin compadd "$@"; }'
# Output is read up to a marker that the echo of the typed command cannot contain
# ("DO""NE" echoes as typed). The line is typed only once the prompt after the marker shows
# that the line editor is reading, since keys typed earlier can be discarded when it starts.
zpty -w z 'print -r -- RE""ADY'
zpty -r z buffer '*READY*pty> *'
for line in $lines; do
  zpty -n -w z "$line"$'\t'
  zpty -w z $'\C-u''print -r -- DO""NE'
  zpty -r z buffer '*DONE*pty> *'
  for hit in ${(f)buffer}; do
    [[ $hit =~ '<<(.*)>>' ]] && print -r -- $match[1]
  done
  print -r -- '--end--'
done
zpty -d z
exit 0
