# Bash completion of LoudDesk and LoudGate, installed once for each. The completions come from the help: subcommands,
# options, and the choices of an option or an argument, which the help shows as {first,second} or by the name of an
# option that lists them.

# Sets `path` to the subcommand in the words of the line, and `help` to its help.
_loudcalc_tool_help() {
  local word
  help=$("$program" --help 2>/dev/null)
  for word in "${words[@]:1:cword-1}"; do
    _loudcalc_tool_names Subcommands | grep -qxF -e "$word" || continue
    path+=("$word")
    help=$("$program" "${path[@]}" --help 2>/dev/null)
  done
}

# Prints the first words of the lines of a section of the help. Argument: its title.
_loudcalc_tool_names() {
  sed -nE "/^$1:/,/^\$/s/^  ([^ ]+).*/\1/p" <<<"$help" | tr , '\n'
}

# Prints the choices that the help shows for an option or an argument. Argument: a pattern for its name.
_loudcalc_tool_choices() {
  sed -nE "s/^  $1 [^{]*[{]([^}]*)[}].*/\1/p" <<<"$help" | tr , '\n'
}

# Prints the names at the beginnings of the lines of a list. The help refers to the list of an option with words
# such as "see --list-profiles". Argument: the option.
_loudcalc_tool_listed() {
  local list
  list=$(sed -nE "s/^  $1 .*see (--list-[a-z]+).*/\1/p" <<<"$help")
  [ -z "$list" ] || "$program" "${path[@]}" "$list" 2>/dev/null | sed -nE 's/^([a-z0-9-]+)(  .*)?$/\1/p'
}

_loudcalc_tool_takes_value() {
  grep -qE -e "^  (-.,)?$1 [A-Z]{2}" <<<"$help"
}

_loudcalc_tool() {
  local cur prev words cword split help program choices
  local -a path=()
  _init_completion || return
  program=${words[0]/#\~/$HOME}
  _loudcalc_tool_help
  if [[ $prev == -* ]] && _loudcalc_tool_takes_value "$prev"; then
    choices="$(_loudcalc_tool_choices "$prev") $(_loudcalc_tool_listed "$prev")"
  elif [[ $cur == -* ]]; then
    choices=$(_loudcalc_tool_names Options)
  else
    choices="$(_loudcalc_tool_names Subcommands) $(_loudcalc_tool_choices '[A-Z]+')"
  fi
  mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$cur")
} && complete -o bashdefault -o default -F _loudcalc_tool LoudDesk LoudGate
