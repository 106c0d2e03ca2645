# Completion for bash.

# _tarvinel_sources WORD: the identifiers of what can be shared that begin so, by the way of capture
# that the line names
_tarvinel_sources() {
  local capture=() identifiers i
  for ((i = 1; i < COMP_CWORD; i++)); do
    [[ ${COMP_WORDS[i]} == --capture ]] || continue
    [[ ${COMP_WORDS[i + 1]} == = ]] && ((i++))
    capture=(--capture "${COMP_WORDS[i + 1]}")
  done
  identifiers=$("${COMP_WORDS[0]}" --list-sources "${capture[@]}" 2>/dev/null | cut -f 1)
  mapfile -t COMPREPLY < <(compgen -W "$identifiers" -- "$1")
}

_tarvinel() {
  local word=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]}
  COMPREPLY=()
  if [[ $option == = ]]; then  # --option=WORD is three words here
    option=${COMP_WORDS[COMP_CWORD - 2]}
  elif [[ $word == = ]]; then
    option=${COMP_WORDS[COMP_CWORD - 1]}
    word=
  fi
  case $option in
    --capture) mapfile -t COMPREPLY < <(compgen -W "auto x11 portal pattern" -- "$word") ;;
    --autostart) mapfile -t COMPREPLY < <(compgen -W "on off" -- "$word") ;;
    --share) _tarvinel_sources "$word" ;;
    --upload-folder | --profile)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -d -- "$word")
      ;;
    --config)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      ;;
    --port) ;;
    *)
      mapfile -t COMPREPLY < <(compgen -W "--headless --capture --share --port --uploads
        --upload-folder --config --profile --doctor --list-sources --autostart --verbose
        --version --help" -- "$word")
      ;;
  esac
}

complete -F _tarvinel tarvinel
