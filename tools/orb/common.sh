# Messages, signals, steps and the lock. Sourced by `orb`, which sets root and logs.

# The original standard error: a signal may arrive while a step's output goes to its log.
exec 8>&2

say() {
  printf 'orb: %s\n' "$*" >&8
}

# die MESSAGE: exits; the message says in one line what failed and what to do.
die() {
  say "FAILED: $*"
  exit 1
}

trap 'say interrupted; exit 130' INT
trap 'exit 143' TERM HUP

# step NAME TITLE ADVICE COMMAND...: prints TITLE and runs COMMAND with its output in NAME's log. On
# failure exits with TITLE, ADVICE and the log's path.
step() {
  local name=$1 title=$2 advice=$3
  shift 3
  mkdir -p "$logs"
  say "$title ..."
  "$@" >"$logs/$name.log" 2>&1 </dev/null || die "$title: $advice (log: $logs/$name.log)"
}

# try_step NAME TITLE WITHOUT COMMAND...: a step whose failure is only told, with what follows from
# it.
try_step() {
  local name=$1 title=$2 without=$3
  shift 3
  mkdir -p "$logs"
  say "$title ..."
  "$@" >"$logs/$name.log" 2>&1 </dev/null && return
  say "$title failed: $without (log: $logs/$name.log)"
  return 1
}

# The lock keeps two ./orb from making the same sysroot or build at once. It belongs to file
# descriptor 9, so it ends with the process however that ends.
lock() {
  mkdir -p "$root/build"
  exec 9>"$root/build/.lock"
  if ! flock -n 9; then
    say "waiting for another ./orb to finish building ..."
    flock 9
  fi
}

unlock() {
  exec 9>&-
}

# list_of FILE...: the entries of package lists, without comments.
list_of() {
  sed 's/#.*//' "$@" | tr -s ' \t' '\n' | sed '/^$/d'
}
