#include "documents.hpp"

#include "halyward/commands/command_parser.hpp"

#include <algorithm>
#include <stdexcept>

// The three scripts share one algorithm, written once per shell below: the words typed so
// far (options and their values taken out) are matched against a table of command forms
// generated from the grammar; the table says which word comes next, what each positional
// word is, and which options each command uses. Values kept in the user's configuration
// (web apps, app chords, layouts) are read from the file by the POSIX snippet below, only
// when the file exists; nothing is written and nothing goes over the network.

namespace halyward::docgen {

namespace {

std::string kindWord(ValueKind kind) {
    switch (kind) {
        case ValueKind::none: return "none";
        case ValueKind::tile: return "tile";
        case ValueKind::file: return "file";
        case ValueKind::folder: return "folder";
        case ValueKind::webApp: return "app";
        case ValueKind::appHotkey: return "chord";
        case ValueKind::layout: return "layout";
    }
    return "none";
}

// One row per command form: "words|positional kinds|option:kind …".
std::vector<std::string> formRows(const Grammar& grammar) {
    std::vector<std::string> rows;
    for (const CommandForm& form : grammar.commands) {
        std::string row;
        for (const std::string& word : form.words) row += (row.empty() ? "" : " ") + word;
        row += "|";
        for (std::size_t i = 0; i < form.positionalKinds.size(); ++i) {
            row += (i ? " " : "") + kindWord(form.positionalKinds[i]);
        }
        row += "|";
        bool first = true;
        for (const Option& option : form.options) {
            row += (first ? "" : " ") + option.name + ":" + kindWord(option.kind);
            first = false;
        }
        rows.push_back(row);
    }
    return rows;
}

// Every option that takes a value, with the kind of its value: "name:none tile:tile …".
std::string valuedOptions(const Grammar& grammar) {
    std::string out;
    for (std::string_view name : CommandParser::optionNames) {
        ValueKind kind = ValueKind::none;
        for (const GlobalOption& global : grammar.globals) {
            if (global.option.name == name) kind = global.option.kind;
        }
        for (const CommandForm& form : grammar.commands) {
            for (const Option& option : form.options) {
                if (option.name == name) kind = option.kind;
            }
        }
        out += (out.empty() ? "" : " ") + std::string(name) + ":" + kindWord(kind);
    }
    return out;
}

std::string globalFlags(const Grammar& grammar) {
    std::string out;
    for (const GlobalOption& global : grammar.globals) {
        out += (out.empty() ? "--" : " --") + global.option.name;
    }
    return out + " --help --version";
}

std::string joined(const std::vector<std::string>& words) {
    std::string out;
    for (const std::string& word : words) out += (out.empty() ? "" : " ") + word;
    return out;
}

// Prints the configured values of one kind (the awk variable `kind`: app, chord or layout)
// that begin with $HALYWARD_PREFIX, one per line, from the configuration file it reads: the
// web apps' table names (slugs) and names, the chords of [hotkeys] and of the web apps, the
// layouts' table names. A small awk reads the file rather than `halyward --json config
// show`, because decoding the whole configuration costs far more than a Tab may take on
// 5,000 apps; it reads only those tables' headers and keys, skips multi-line strings,
// decodes quoted keys and strings, and counts a web app only with an address, as the
// configuration model does. The prefix comes through the environment because -v would
// read escapes in it. The completion tests check the program against what halyward itself
// reads from a file written to trip it up.
constexpr std::string_view configValuesProgram = R"AWK(
BEGIN { prefix = ENVIRON["HALYWARD_PREFIX"] }
function emit(value) {
  if (value != "" && index(value, prefix) == 1 && !seen[value]++) print value
}
# The key or string at the start of s: a basic string with its escapes, or a bare key.
function unquote(s,   first, out, i, c) {
  first = substr(s, 1, 1)
  if (first == "\"") {
    # Most strings hold no escape: take them whole.
    s = substr(s, 2)
    i = index(s, "\"")
    c = index(s, "\\")
    if (i && (!c || c > i)) return substr(s, 1, i - 1)
    s = "\"" s
    out = ""
    for (i = 2; i <= length(s); i++) {
      c = substr(s, i, 1)
      if (c == "\"") return out
      if (c == "\\") {
        c = substr(s, ++i, 1)
        if (c == "t") c = "\t"
        else if (c == "n") c = "\n"
        else if (c == "r") c = "\r"
      }
      out = out c
    }
    return out
  }
  return match(s, /^[^ \t.=\]"#]+/) ? substr(s, 1, RLENGTH) : ""
}
# A web app counts once its table is over, and only with an address, as halyward reads it.
function flush() {
  if (table == "apps" && url) {
    if (kind == "app") { emit(slug); emit(name) }
    if (kind == "chord") emit(hotkey)
  }
  table = slug = name = hotkey = url = ""
}
# The value after "=", its leading blanks skipped.
function value(line) {
  line = substr(line, index(line, "=") + 1)
  return unquote(match(line, /[^ \t]/) ? substr(line, RSTART) : "")
}
# Lines inside a multi-line string are text, whatever they look like.
index($0, "\"\"\"") {
  line = $0
  quotes = gsub(/"""/, "", line)
  if (multiline) { if (quotes % 2) multiline = 0; next }
  if (quotes % 2) multiline = 1
}
multiline { next }
/^[ \t]*\[/ {
  flush()
  header = $0
  sub(/^[ \t]*\[[ \t]*/, "", header)
  if (header ~ /^apps[ \t]*\./) table = "apps"
  else if (header ~ /^layouts[ \t]*\./) table = "layouts"
  else if (header ~ /^hotkeys[ \t]*\]/) table = "hotkeys"
  sub(/^[a-z]+[ \t]*\.[ \t]*/, "", header)
  if (table == "apps") slug = unquote(header)
  if (table == "layouts" && kind == "layout") emit(unquote(header))
  next
}
# One pattern for the keys of a web app, told apart by their first letter: with thousands
# of apps, a pattern tried on every line costs more than the work done on the few it fits.
table == "apps" && /^[ \t]*(url|name|hotkey)[ \t]*=/ {
  match($0, /[a-z]/)
  c = substr($0, RSTART, 1)
  if (c == "u") url = 1
  else if (c == "n") { if (kind == "app") name = value($0) }
  else if (kind == "chord") hotkey = value($0)
  next
}
table == "hotkeys" && kind == "chord" && /^[ \t]*[^ \t#]/ { line = $0; sub(/^[ \t]*/, "", line); emit(unquote(line)) }
END { flush() }
)AWK";

// The same program as a POSIX shell function body: configuration file, kind, prefix.
std::string configValuesShell() {
    return "HALYWARD_PREFIX=$3 awk -v kind=\"$2\" '" + std::string(configValuesProgram) +
           "' \"$1\"";
}

void fill(std::string& script, std::string_view marker, std::string_view text) {
    for (std::size_t at; (at = script.find(marker)) != std::string::npos;) {
        script.replace(at, marker.size(), text);
    }
}

// Single quotes for the shells: 'it'\''s'.
std::string quoted(std::string_view text) {
    std::string out = "'";
    for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

// Single quotes for fish, where a backslash escapes a quote or a backslash even inside them.
std::string fishQuoted(std::string_view text) {
    std::string out = "'";
    for (char c : text) {
        if (c == '\\' || c == '\'') out += '\\';
        out += c;
    }
    return out + "'";
}

std::string filled(std::string script, const Grammar& grammar, std::string_view rowPrefix,
                   std::string_view rowSuffix) {
    std::string rows;
    for (const std::string& row : formRows(grammar)) {
        rows += std::string(rowPrefix) + quoted(row) + std::string(rowSuffix) + "\n";
    }
    if (!rows.empty()) rows.pop_back();
    // The last row ends the list, so it takes no continuation.
    if (!rowSuffix.empty() && rows.ends_with(rowSuffix))
        rows.resize(rows.size() - rowSuffix.size());
    fill(script, "@FORMS@", rows);
    fill(script, "@TILES@", joined(grammar.tiles));
    fill(script, "@FLAGS@", globalFlags(grammar));
    fill(script, "@VALUED@", valuedOptions(grammar));
    fill(script, "@VALUES_SH@", configValuesShell());
    fill(script, "@VALUES_AWK_FISH@", fishQuoted(configValuesProgram));
    return script;
}

constexpr std::string_view bashScript =
    R"SH(# bash completion for halyward. Generated by halyward-docgen from the command parser and
# the help text; do not edit.

_halyward_forms=(
@FORMS@
)
_halyward_tiles='@TILES@'
_halyward_flags='@FLAGS@'
_halyward_valued=' @VALUED@ '

# The configured values of one kind: configuration file, kind, prefix.
_halyward_config_values() {
@VALUES_SH@
}

# Fills COMPREPLY with the values of kind $1 that begin with $2.
_halyward_values() {
  local kind=$1 cur=$2 file
  case $kind in
    tile) COMPREPLY=($(compgen -W "$_halyward_tiles" -- "$cur")) ;;
    file) compopt -o filenames 2>/dev/null; COMPREPLY=($(compgen -f -- "$cur")) ;;
    folder) compopt -o filenames 2>/dev/null; COMPREPLY=($(compgen -d -- "$cur")) ;;
    app | chord | layout)
      file=${_halyward_config:-$HOME/.config/halyward/config.toml}
      [[ $file == "~/"* ]] && file=$HOME/${file#"~/"}
      [[ -f $file ]] || return 0
      # One value a line, taken whole; readline quotes what it inserts (-o filenames), as
      # names may hold blanks. A command substitution reads in blocks where mapfile from a
      # pipe reads a byte at a time, which matters with 10,000 values.
      local IFS=$'\n' -
      set -f
      compopt -o filenames 2>/dev/null
      COMPREPLY=($(_halyward_config_values "$file" "$kind" "$cur"))
      ;;
  esac
  return 0
}

_halyward() {
  COMPREPLY=()
  local cur=${COMP_WORDS[COMP_CWORD]} i=1 w name valued= dashdash= _halyward_config=
  local -a words=()
  # bash splits "--tile=le" into "--tile", "=" and "le".
  if [[ $cur == = ]]; then cur=; fi
  while ((i < COMP_CWORD)); do
    w=${COMP_WORDS[i]}
    if [[ -n $dashdash ]]; then
      words+=("$w")
    elif [[ $w == -- ]]; then
      dashdash=1
    elif [[ $w == --* ]]; then
      name=${w#--}
      name=${name%%=*}
      if [[ $_halyward_valued == *" $name:"* && $w != *=* ]]; then
        [[ ${COMP_WORDS[i + 1]} == = ]] && ((i++))
        if ((i + 1 < COMP_CWORD)); then
          ((i++))
          [[ $name == config ]] && _halyward_config=${COMP_WORDS[i]}
        elif ((i + 1 == COMP_CWORD)); then
          valued=$name
          ((i++))
        fi
      elif [[ $w == --config=* ]]; then
        _halyward_config=${w#--config=}
      fi
    elif [[ $w != = ]]; then
      words+=("$w")
    fi
    ((i++))
  done
  if [[ -z $dashdash && $cur == --*=* ]]; then
    valued=${cur%%=*}
    valued=${valued#--}
    cur=${cur#*=}
  fi
  if [[ -n $valued ]]; then
    local kind=${_halyward_valued#* $valued:}
    [[ $kind == "$_halyward_valued" ]] && return 0
    _halyward_values "${kind%% *}" "$cur"
    return 0
  fi

  local row fw fk fo n=${#words[@]} next= kinds= options= m
  local -a fwa fka
  for row in "${_halyward_forms[@]}"; do
    fw=${row%%|*}; row=${row#*|}; fk=${row%%|*}; fo=${row#*|}
    read -ra fwa <<<"$fw"
    m=0
    while ((m < ${#fwa[@]} && m < n)) && [[ ${fwa[m]} == "${words[m]}" ]]; do ((m++)); done
    if ((m == n && n < ${#fwa[@]})); then
      [[ "$next " == *" ${fwa[n]} "* ]] || next+=" ${fwa[n]}"
    elif ((m == ${#fwa[@]})); then
      read -ra fka <<<"$fk"
      ((n - m < ${#fka[@]})) && kinds=${fka[n - m]}
      options=$fo
    fi
  done
  if [[ -z $dashdash && $cur == -* ]]; then
    local flags=$_halyward_flags option
    for option in $options; do flags+=" --${option%%:*}"; done
    COMPREPLY=($(compgen -W "$flags" -- "$cur"))
  elif [[ -n $next ]]; then
    COMPREPLY=($(compgen -W "$next" -- "$cur"))
  elif [[ -n $kinds ]]; then
    _halyward_values "$kinds" "$cur"
  fi
  return 0
}

complete -F _halyward halyward
)SH";

constexpr std::string_view zshScript = R"SH(#compdef halyward
# zsh completion for halyward. Generated by halyward-docgen from the command parser and
# the help text; do not edit.

_halyward_forms=(
@FORMS@
)
_halyward_tiles=(@TILES@)
_halyward_flags=(@FLAGS@)
_halyward_valued=' @VALUED@ '

_halyward_config_values() {
@VALUES_SH@
}

# Offers the values of kind $1.
_halyward_values() {
  local kind=$1 file
  case $kind in
    tile) compadd -a _halyward_tiles ;;
    file) _files ;;
    folder) _path_files -/ ;;
    app|chord|layout)
      file=${~_halyward_config:-$HOME/.config/halyward/config.toml}
      [[ -f $file ]] || return 1
      local -a found
      found=(${(f)"$(_halyward_config_values $file $kind '')"})
      compadd -a found
      ;;
  esac
}

_halyward() {
  local cur=${words[CURRENT]} i=2 w name valued= dashdash= _halyward_config=
  local -a typed
  while (( i < CURRENT )); do
    w=${words[i]}
    if [[ -n $dashdash ]]; then
      typed+=("$w")
    elif [[ $w == -- ]]; then
      dashdash=1
    elif [[ $w == --* ]]; then
      name=${${w#--}%%=*}
      if [[ $_halyward_valued == *" $name:"* && $w != *=* ]]; then
        if (( i + 1 < CURRENT )); then
          (( i++ ))
          [[ $name == config ]] && _halyward_config=${words[i]}
        else
          valued=$name
        fi
      elif [[ $w == --config=* ]]; then
        _halyward_config=${w#--config=}
      fi
    else
      typed+=("$w")
    fi
    (( i++ ))
  done
  if [[ -z $dashdash && $cur == --*=* ]]; then
    valued=${${cur%%=*}#--}
    compset -P '*='
  fi
  if [[ -n $valued ]]; then
    local kind=${_halyward_valued#* $valued:}
    [[ $kind == $_halyward_valued ]] && return 1
    _halyward_values ${kind%% *}
    return
  fi

  local row fw fk fo n=${#typed} m
  local -a fwa fka options
  local -aU next
  local kinds=
  for row in $_halyward_forms; do
    fw=${row%%|*}; row=${row#*|}; fk=${row%%|*}; fo=${row#*|}
    fwa=(${=fw})
    m=0
    while (( m < ${#fwa} && m < n )) && [[ ${fwa[m+1]} == ${typed[m+1]} ]]; do (( m++ )); done
    if (( m == n && n < ${#fwa} )); then
      next+=(${fwa[n+1]})
    elif (( m == ${#fwa} )); then
      fka=(${=fk})
      (( n - m < ${#fka} )) && kinds=${fka[n-m+1]}
      options=(${=fo})
    fi
  done
  if [[ -z $dashdash && $cur == -* ]]; then
    local -a flags
    flags=($_halyward_flags ${options/#/--})
    flags=(${flags%%:*})
    compadd -a flags
  elif (( ${#next} )); then
    compadd -a next
  elif [[ -n $kinds ]]; then
    _halyward_values $kinds
  else
    return 1
  fi
}

_halyward "$@"
)SH";

constexpr std::string_view fishScript =
    R"SH(# fish completion for halyward. Generated by halyward-docgen from the command parser and
# the help text; do not edit.

set -g __halyward_forms \
@FORMS@
set -g __halyward_tiles @TILES@
set -g __halyward_flags @FLAGS@
set -g __halyward_valued @VALUED@

# Prints the values of kind $argv[1] that begin with $argv[2].
function __halyward_values
    set -l kind $argv[1]
    set -l cur $argv[2]
    switch $kind
        case tile
            printf '%s\n' $__halyward_tiles
        case file
            __fish_complete_path $cur
        case folder
            __fish_complete_directories $cur ''
        case app chord layout
            set -l file $HOME/.config/halyward/config.toml
            set -q __halyward_config[1]; and set file $__halyward_config
            string match -q '~/*' -- $file; and set file $HOME/(string sub -s 3 -- $file)
            test -f $file; or return
            HALYWARD_PREFIX="$cur" awk -v kind=$kind @VALUES_AWK_FISH@ $file
    end
end

function __halyward_complete
    set -l tokens (commandline -opc)
    set -l cur (commandline -ct)
    set -g __halyward_config
    set -l typed
    set -l valued
    set -l dashdash
    set -l i 2
    while test $i -le (count $tokens)
        set -l w $tokens[$i]
        if test -n "$dashdash"
            set -a typed $w
        else if test "$w" = --
            set dashdash 1
        else if string match -q -- '--*' $w
            set -l name (string replace -r '=.*' '' -- (string sub -s 3 -- $w))
            if string match -q -- "$name:*" $__halyward_valued; and not string match -q -- '*=*' $w
                if test $i -lt (count $tokens)
                    set i (math $i + 1)
                    test $name = config; and set -g __halyward_config $tokens[$i]
                else
                    set valued $name
                end
            else if string match -q -- '--config=*' $w
                set -g __halyward_config (string sub -s 10 -- $w)
            end
        else
            set -a typed $w
        end
        set i (math $i + 1)
    end
    set -l prefix
    if test -z "$dashdash"; and string match -q -- '--*=*' $cur
        set valued (string replace -r '=.*' '' -- (string sub -s 3 -- $cur))
        set prefix (string replace -r '=.*' '' -- $cur)=
        set cur (string replace -r '^[^=]*=' '' -- $cur)
    end
    if test -n "$valued"
        set -l kind (string replace -- "$valued:" '' (string match -- "$valued:*" $__halyward_valued))
        test -n "$kind"; or return
        if test -n "$prefix"
            printf '%s\n' $prefix(__halyward_values $kind $cur)
        else
            __halyward_values $kind $cur
        end
        return
    end

    set -l n (count $typed)
    set -l next
    set -l kinds
    set -l options
    for row in $__halyward_forms
        set -l parts (string split '|' -- $row)
        set -l fwa (string split ' ' -- $parts[1])
        set -l m 0
        set -l k 1
        while test $k -le (count $fwa); and test $k -le $n; and test "$fwa[$k]" = "$typed[$k]"
            set m $k
            set k (math $k + 1)
        end
        if test $m -eq $n; and test $n -lt (count $fwa)
            contains -- $fwa[(math $n + 1)] $next; or set -a next $fwa[(math $n + 1)]
        else if test $m -eq (count $fwa)
            set -l fka (string split -n ' ' -- $parts[2])
            set -l k (math $n - $m + 1)
            test $k -le (count $fka); and set kinds $fka[$k]
            set options (string split -n ' ' -- $parts[3])
        end
    end
    if test -z "$dashdash"; and string match -q -- '-*' $cur
        printf '%s\n' $__halyward_flags
        set -q options[1]; and printf '%s\n' --(string replace -r ':.*' '' -- $options)
    else if set -q next[1]
        printf '%s\n' $next
    else if test -n "$kinds"
        __halyward_values $kinds $cur
    end
end

complete -c halyward -f -a '(__halyward_complete)'
)SH";

}  // namespace

std::string bashCompletion(const Grammar& grammar) {
    return filled(std::string(bashScript), grammar, "  ", "");
}

std::string zshCompletion(const Grammar& grammar) {
    return filled(std::string(zshScript), grammar, "  ", "");
}

std::string fishCompletion(const Grammar& grammar) {
    return filled(std::string(fishScript), grammar, "    ", " \\");
}

}  // namespace halyward::docgen
