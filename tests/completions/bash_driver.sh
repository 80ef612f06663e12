# What Tab offers in bash at the end of a command line, one candidate a line.
#   bash bash_driver.sh <completion script> <line>
# The line is split into words the way readline does for completion, "=" being a word of
# its own (it is in COMP_WORDBREAKS).
source "$1"
line=${2//=/ = }
read -ra COMP_WORDS <<<"$line"
[[ $2 == *" " || $2 == *= ]] && COMP_WORDS+=("")
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
COMP_LINE=$2
COMP_POINT=${#2}
_halyward
printf '%s\n' "${COMPREPLY[@]}"
