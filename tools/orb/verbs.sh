# The verbs. Sourced by `orb`.

verb_help() {
  cat <<'END'
usage: ./orb VERB [ARGUMENTS]

  play [OPTIONS] GAME     play a Lua script, a folder with a main.lua, or a zip file of
                          one; --help lists the player's options
  new FOLDER              make a folder with a small game to begin with
  pack FOLDER [--web]     pack a game to give it away, with and without the player;
                          --web: as pages for browsers
  gfx COMMAND ...         pack, unpack and compare graph libraries; --help
  test [--sanitize | --record] [--no-web] [PATTERN | CTEST OPTIONS]
                          run all tests, or those whose suite matches PATTERN;
                          --sanitize: under AddressSanitizer and UBSan;
                          --no-web: without those in WebAssembly and of pages;
                          --record: write the sums of today's pictures over the recorded
  bench [NAME] [OPTIONS]  run all benchmarks, or those whose name matches NAME;
                          --runs N: N times, for medians; --sse2: without AVX2;
                          --check: compare the pictures only
  fuzz [TARGET [SECONDS]] [OPTIONS]
                          look for inputs that break a target, for 60 seconds unless
                          given; without a target: list the targets
  soak [FRAMES] [SEED]    create and destroy everything for 1000000 frames, unless given,
                          and check that memory, handles and counters hold;
                          --valgrind: a few thousand frames under valgrind
  docs                    make the site, manual pages and editor's types in build/docs
  build                   build everything
  install PREFIX          install module, header and programs under PREFIX
  uninstall PREFIX        remove what was installed there
  package                 make the portable folder's archive in build/dist
  deb                     make Debian packages in build/dist
  release [--try]         make all that is released, with checksums, in build/dist;
                          --try: try it on fresh systems
  web                     make the site whose examples play in a browser, in build/web
  clean [--all]           remove what was built; --all: the sysroots too
  help                    show this list

Each verb first installs what is missing and builds what has changed.
END
}

# explain_verb VERB: prints its entry in the list, and the options of the program behind it, without
# building anything. Fails for no verb.
explain_verb() {
  local entry
  entry=$(verb_help | awk -v verb="$1" '
    /^  [a-z]/ { shown = $1 == verb }
    /^Each verb/ || !NF { shown = 0 }
    shown')
  [ -n "$entry" ] || return
  printf 'usage: ./orb %s\n' "${entry#  }"
  case $1 in
    play) sed -n '/^## Options/,/^## /{ /^## /d; p; }' "$root/docs/orbplay.md" | tr -d '\140' ;;
    gfx)
      printf '\ncommands, each with --help:\n\n'
      sed -n 's/^    orbgfx/  .\/orb gfx/p' "$root/docs/orbgfx.md"
      ;;
  esac
}

# has_option OPTIONS ARGUMENTS...: whether the player's arguments (those before "--") contain one of
# the options, as in has_option "--frames --headless" "$@".
has_option() {
  local names=" $1 " argument
  shift
  for argument; do
    [ "$argument" = -- ] && return 1
    case $names in *" ${argument%%=*} "*) return 0 ;; esac
  done
  return 1
}

# Whether a display opens. A video driver chosen by the user is trusted; otherwise X must open.
display_opens() {
  [ -n "${SDL_VIDEODRIVER-}" ] ||
    { [ -n "${DISPLAY-}" ] && run32 "$root/build/$1/bin/can_open_display" 2>/dev/null; }
}

verb_play() {
  local preset picture
  preset=$(default_preset)
  prepare "$preset" play
  local player=("$root/build/$preset/bin/orbplay")
  is_native || player=("$root/tools/run32" "${player[@]}")

  if [ $# -eq 0 ] ||
     has_option "--headless --help -h --version --list-functions --new --pack" "$@" ||
     display_opens "$preset"; then
    exec "${player[@]}" "$@"
  fi

  say "no display can be opened (DISPLAY='${DISPLAY-}'): playing headless"
  local options=(--headless)
  has_option --frames "$@" || options+=(--frames 300)
  if has_option --screenshot "$@"; then
    exec "${player[@]}" "${options[@]}" "$@"
  fi
  picture=$root/build/last-frame.png
  rm -f "$picture"
  "${player[@]}" "${options[@]}" --screenshot "$picture" "$@"
  local status=$?
  [ ! -e "$picture" ] || say "last frame: $picture"
  exit $status
}

verb_new() {
  [ $# -eq 1 ] || { say "usage: ./orb new FOLDER"; exit 2; }
  local preset
  preset=$(default_preset)
  prepare "$preset" orbplay
  run32 "$root/build/$preset/bin/orbplay" --new "$1" >/dev/null || exit
  say "$1 is a game now. To play it: $0 play $1"
}

verb_gfx() {
  local preset
  preset=$(default_preset)
  prepare "$preset" orbgfx
  local tool=("$root/build/$preset/bin/orbgfx")
  is_native || tool=("$root/tools/run32" "${tool[@]}")
  exec "${tool[@]}" "$@"
}

# A private X server on a free display, so that window tests don't need the user's display or open
# windows on it.
xvfb=
stop_xvfb() {
  [ -z "$xvfb" ] || kill "$xvfb" 2>/dev/null
  xvfb=
}

start_xvfb() {
  local number=$root/build/.display waited=0
  mkdir -p "$logs"
  : >"$number"
  trap stop_xvfb EXIT
  Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp -noreset \
    3>"$number" >"$logs/xvfb.log" 2>&1 </dev/null &
  xvfb=$!
  until [ -s "$number" ]; do
    kill -0 "$xvfb" 2>/dev/null && [ $((waited += 1)) -lt 300 ] ||
      die "Xvfb did not start: read its log (log: $logs/xvfb.log)"
    sleep 0.1
  done
  export DISPLAY=:$(cat "$number")
  unset SDL_VIDEODRIVER XAUTHORITY WAYLAND_DISPLAY
}

# summarize LOG STATUS: counts the results in ctest's log: the test cases of GoogleTest suites, and
# every other entry as one case. A failure of ctest without a failed case counts as one.
summarize() {
  awk -v status="$2" '
    /^[0-9]+\/[0-9]+ Testing: / { suite = 0; lost = 0 }
    /^\[==========\] [0-9]+ tests? from .* ran\./ { skipped += $2; suite = 1 }
    /^\[  PASSED  \] [0-9]+ tests?\./ { passed += $4; skipped -= $4 }
    /^\[  FAILED  \] .*\([0-9]+ ms\)$/ { failed++; skipped--; lost++ }
    /^Test Passed\.$/ { if (!suite) passed++ }
    /^Test Failed\.$/ { if (!lost) failed++ }
    END {
      if (status && !failed) failed = 1
      printf "%d passed, %d failed%s\n", passed, failed, skipped ? ", " skipped " skipped" : ""
    }' "$1"
}

verb_test() {
  local preset status web=1 arguments=()
  preset=$(default_preset)
  while [ $# -gt 0 ]; do
    case $1 in
      --sanitize) preset=asan ;;
      --no-web) web= ;;
      --record) export ORB_RECORD=1 ;;
      -*) arguments+=("$@"); break ;;
      *) arguments+=(-R "$1") ;;
    esac
    shift
  done
  prepare "$preset" all
  if ctest --test-dir "$root/build/$preset" -N -L '^pages$' "${arguments[@]}" </dev/null 2>&1 |
     grep -q '^ *Test *#'; then
    if [ -n "$web" ] && try_wasm; then
      lock
      need_web_site "$preset"
      unlock
    else
      arguments+=(-LE '^pages$')
    fi
  fi
  need_browser
  start_xvfb
  local log=$root/build/$preset/Testing/Temporary/LastTest.log
  rm -f "$log"
  ctest --test-dir "$root/build/$preset" -j "$(($(nproc) + 1))" --output-on-failure --no-tests=error \
    "${arguments[@]}" </dev/null
  status=$?
  [ ! -e "$log" ] || summarize "$log" $status
  [ $status = 0 ] || say "FAILED: some tests failed: see above (log: $log)"
  exit $status
}

verb_bench() {
  local preset options=()
  preset=$(default_preset)
  if [ $# -gt 0 ] && [ "${1#-}" = "$1" ]; then
    options+=("--benchmark_filter=$1")
    shift
  fi
  prepare "$preset" orb_bench
  is_native || export LD_LIBRARY_PATH=$sysroot/peers/qt5/usr/lib/i386-linux-gnu
  export SDL_VIDEODRIVER=${SDL_VIDEODRIVER-dummy}
  run32 "$root/build/$preset/bin/orb_bench" "${options[@]}" "$@"
}

# Lists the fuzz targets.
list_targets() {
  local name does
  for name in $(sed -n 's/^set(targets \(.*\)).*/\1/p' "$root/fuzz/CMakeLists.txt"); do
    case $name in
      host) does="Random scripts in hosts that reply oddly." ;;
      palette) does="The palettes in files of any format." ;;
      script) does="Random scripts over all functions, with processes, frames and modes." ;;
      *) does="The readers of $name files." ;;
    esac
    printf '  %-10s %s\n' "$name" "$does"
  done
}

# Runs one target, starting from the inputs in the repository. What a run adds to its corpus stays
# in build/fuzz/corpus/TARGET, and the next run starts from there.
verb_fuzz() {
  local target=${1-} seconds=60
  if [ -z "$target" ]; then
    echo "usage: ./orb fuzz TARGET [SECONDS] [LIBFUZZER OPTIONS]; the targets:"
    list_targets
    return
  fi
  list_targets | grep -q "^  $target " || {
    say "unknown target '$target'; './orb fuzz' lists the targets"
    exit 2
  }
  shift
  case ${1-} in
    '' | -*) ;;
    *[!0-9]*) say "'$1' isn't a number of seconds"; exit 2 ;;
    *) seconds=$1; shift ;;
  esac
  prepare fuzz "${target}_fuzz"

  local dir=$root/build/fuzz kept
  local corpus=$dir/corpus/$target found=$dir/found/$target
  mkdir -p "$corpus" "$found"
  for kept in "$root/tests/data/corpus/$target" "$root/tests/data/$target"; do
    [ ! -d "$kept" ] || cp -n "$kept"/* "$corpus/" ||
      die "copying $kept to $corpus: check that folder's permissions"
  done
  local before=$dir/found/.$target
  touch "$before"
  export SDL_VIDEODRIVER=dummy
  export ASAN_SYMBOLIZER_PATH=${ASAN_SYMBOLIZER_PATH-$(command -v llvm-symbolizer-14)}
  export LSAN_OPTIONS=print_suppressions=0:suppressions=$root/tests/lsan.supp
  run32 "$dir/bin/${target}_fuzz" -max_total_time="$seconds" -timeout=20 -print_final_stats=1 \
    "-artifact_prefix=$found/" "$@" "$corpus" </dev/null
  local status=$? finds
  mapfile -t finds < <(find "$found" -type f -newer "$before" | sort)
  if [ ${#finds[@]} -gt 0 ]; then
    say "FAILED: inputs that break '$target' (once fixed, keep them in tests/data/corpus/$target):"
    printf '%s\n' "${finds[@]}"
    exit 1
  fi
  [ $status = 0 ] || die "the target '$target' ended with status $status: see above"
  say "nothing found in $seconds seconds; corpus: $corpus"
}

# valgrind_command LOG: prints the command that runs a program under valgrind. Its paths are
# relative to the root, since paths in ORB_RUN_UNDER can't contain spaces. valgrind looks a
# library's symbols up in a folder of extra symbols, under the library's own path.
valgrind_command() {
  local symbols=build/valgrind/symbols folder
  printf 'valgrind --error-exitcode=9 --leak-check=full --num-callers=30 --log-file=%s' "$1"
  is_native && return
  folder=$root/$symbols$(realpath "$sysroot/lib/i386-linux-gnu")
  rm -rf "${root:?}/$symbols"
  mkdir -p "$folder" && ln -s "$sysroot"/debug/.build-id/*/*.debug "$folder" ||
    die "linking symbols in $symbols: check that folder's permissions"
  printf ' --extra-debuginfo-path=%s' "$symbols"
}

verb_soak() {
  local preset=valgrind numbers=() with_valgrind= argument status options=()
  for argument; do
    case $argument in
      --valgrind) with_valgrind=1 ;;
      '' | *[!0-9]* | 0*) numbers=(no such numbers) ;;
      *) numbers+=("$argument") ;;
    esac
  done
  [ ${#numbers[@]} -le 2 ] || {
    say "usage: ./orb soak [--valgrind] [FRAMES] [SEED]"
    exit 2
  }
  local frames=${numbers[0]-1000000} log=build/logs/valgrind.log
  if [ -n "$with_valgrind" ]; then
    frames=${numbers[0]-3000}
    prepare "$preset" orbplay
    ORB_RUN_UNDER=$(valgrind_command "$log") || exit 1
    export ORB_RUN_UNDER
  else
    preset=$(default_preset)
    prepare "$preset" orbplay soak_memory
    options=("memory=$root/build/$preset/lib/soak_memory.so")
  fi
  ! is_native || export ORB_SYSROOT=
  cd "$root" || exit 1
  sh tests/soak/soak.sh "$root/build/$preset/bin/orbplay" "frames=$frames" \
    "every=$(((frames + 9) / 10))" "seed=${numbers[1]-1}" "${options[@]}" </dev/null
  status=$?
  [ -z "$with_valgrind" ] || sed -n 's/^==[0-9]*== *//; /lost: /p; /^ERROR SUMMARY/p' "$log"
  [ $status != 9 ] || say "valgrind has found errors (log: $root/$log)"
  [ $status = 0 ] || {
    say "FAILED: the soak test failed: see above"
    exit 1
  }
}

# make_docs PRESET FOLDER: makes all that is read, and says what is wrong with it.
make_docs() {
  run32 "$root/build/$1/bin/orbdocs" --source "$root/reference" all "$2"
}

verb_docs() {
  local preset
  preset=$(default_preset)
  prepare "$preset" orbdocs
  make_docs "$preset" "$root/build/docs" || {
    say "FAILED: the reference or a guide is wrong: see above"
    exit 1
  }
  say "the site: $root/build/docs/site/index.html"
}

verb_build() {
  local preset
  preset=$(default_preset)
  prepare "$preset" all
}

verb_clean() {
  case ${1-} in
    '') rm -rf "$root/build" ;;
    --all) rm -rf "$root/build" "$root"/.sysroot{,.new,-web,-web.new,-web.new.work} ;;
    *) say "usage: ./orb clean [--all]"; exit 2 ;;
  esac
}
