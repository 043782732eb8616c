# Completes the options, commands and names that orbplay and orbgfx tell themselves.
_orb() {
  local files=1 word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} words=
  local program=${COMP_WORDS[0]} command=
  if [ "${program##*/}" = orbgfx ]; then
    if [ "$COMP_CWORD" = 1 ]; then
      files=
      words=$("$program" --help 2>/dev/null | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]\+\) .*/\1/p')
    else
      command=${COMP_WORDS[1]}
    fi
  elif [ "$before" = --help ]; then
    files=
    words=$("$program" --list-functions 2>/dev/null | sed -n 's/^  \([a-z_0-9]\+\)(.*/\1/p')
  fi
  case $word in
    -*) words=$("$program" $command --help 2>/dev/null | grep -o -- '--[a-z][a-z-]*') ;;
  esac
  mapfile -t COMPREPLY < <(
    compgen -W "$words" -- "$word" | sort -u
    [ -z "$files" ] || compgen -f -- "$word"
  )
  compopt -o filenames 2>/dev/null
}
complete -F _orb orbplay orbgfx
