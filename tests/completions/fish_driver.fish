# What Tab offers in fish at the end of a command line, one candidate a line, with the
# "--option=" part of an "--option=value" word taken off.
#   fish fish_driver.fish <completion script> <line>
source $argv[1]
complete -C $argv[2] | string replace -r -- '^--[a-z]+=' '' | string replace -r '\t.*' ''
exit 0
