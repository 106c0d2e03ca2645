# shellcheck shell=bash
# Functions for the scripts beside it that show the progress of a long step: in one line that is rewritten on a
# terminal, or in a line for every ten per cent elsewhere. To be sourced.

progress_shown=

# show_progress PERCENT TEXT
show_progress() {
  if [ -t 1 ]; then
    printf '\r\033[K%.*s' "$(($(tput cols 2>/dev/null || echo 80) - 1))" "$2"
    progress_shown=line
  elif [ "$progress_shown" != "$(($1 / 10))" ]; then
    printf '%s\n' "$2"
    progress_shown=$(($1 / 10))
  fi
}

# end_progress: ends the line of the progress
end_progress() {
  if [ "$progress_shown" = line ]; then printf '\r\033[K'; fi
  progress_shown=
}

# minutes SECONDS: as in 1:05
minutes() { printf '%d:%02d' "$(($1 / 60))" "$(($1 % 60))"; }
