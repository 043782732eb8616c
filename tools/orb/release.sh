# A release: all that users get, with checksums, in build/dist. Sourced by `orb`.

release_archives() {
  local name
  name=orb-graphics2d-$(project_version)
  portable_archives && make_debs "$dist" || return
  git -C "$root" archive --format=tar "--prefix=$name/" HEAD | xz -9e -T1 >"$dist/$name.tar.xz" &&
    cp "$root/CHANGELOG.md" "$dist" || return
  (cd "$dist" && sha256sum -- *.tar.xz *.deb CHANGELOG.md >SHA256SUMS)
}

# verb_release [--try]: with --try, tries what was made as users of some systems would.
verb_release() {
  local version trial=
  case $* in
    '') ;;
    --try) trial=1 ;;
    *) say "usage: ./orb release [--try]"; exit 2 ;;
  esac
  version=$(project_version)
  [ -z "$(git -C "$root" status --porcelain)" ] ||
    die "there are changes that no commit has: commit them, for a release is made of a commit"
  grep -q "^## \[$version\]" "$root/CHANGELOG.md" ||
    die "CHANGELOG.md has no section for version $version: write it"
  need_packages dpkg-dev
  need_release
  step abi "comparing the module with the last release" \
    "what hosts were built with has changed: undo that, or raise the SOVERSION" \
    sh "$root/tests/boundary/check_abi.sh" "$root/build/release/lib/libORB_mod_graphics2D.so.1"
  set_date
  rm -rf "$dist"
  mkdir -p "$dist"
  step release "making the release" "read the end of the log" release_archives
  [ -z "$trial" ] || try_release
  say "made: version $version in $dist"
}

# Tries the release on fresh systems, each in a root of its own.
try_release() {
  local system log
  need_packages arch-test
  mkdir -p "$logs"
  for system in bookworm-amd64 bookworm-i386 bullseye-amd64 trixie-amd64; do
    log=$logs/try-$system.log
    say "trying it on $system ..."
    as_root sh "$root/tools/orb/try_release.sh" "${system%-*}" "${system#*-}" "$dist" "$root" \
      >"$log" 2>&1 </dev/null && sed -n 's/^TRIED: //p' "$log" >&8 ||
      die "the release doesn't work on $system: read the end of the log (log: $log)"
  done
}
