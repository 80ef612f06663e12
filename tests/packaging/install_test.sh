#!/usr/bin/env bash
# `make install`'s installer on scratch prefixes: the layout, the installed program and
# manual page, the CMake package files used by another project, a second install over the
# first, and the prefixes it must refuse without leaving anything half installed.
#   install_test.sh <build dir> <source dir>
set -euo pipefail
build=$1 source=$2
install=$source/scripts/install-prefix
scratch=$(mktemp -d)
trap 'chmod -R u+w "$scratch" 2>/dev/null; rm -rf "$scratch"' EXIT
fail() { echo "install: $*" >&2; exit 1; }
listing() { (cd "$1" && find . | LC_ALL=C sort && find . -type f -exec cksum {} + | LC_ALL=C sort); }

prefix=$scratch/prefix
"$install" "$build" "$prefix" >/dev/null
for f in bin/halyward share/man/man1/halyward.1.gz share/bash-completion/completions/halyward \
  share/zsh/site-functions/_halyward share/fish/vendor_completions.d/halyward.fish \
  share/halyward/skills/halyward/SKILL.md include/halyward/core.hpp \
  lib/cmake/halyward/halywardConfig.cmake lib/cmake/halyward/halywardConfigVersion.cmake; do
  [[ -f $prefix/$f ]] || fail "$f is missing"
done
if [[ $(uname -s) == Linux && -f $build/cli/halyward-app ]]; then
  [[ -x $prefix/bin/halyward-app ]] || fail "bin/halyward-app is missing"
  [[ -x $prefix/bin/halyward-new-app ]] || fail "bin/halyward-new-app is missing"
  [[ -f $prefix/share/icons/hicolor/scalable/apps/app.halyward.Halyward.svg ]] ||
    fail "halyward-app's icon is missing"
  entry=$prefix/share/applications/app.halyward.Halyward.desktop
  desktop-file-validate "$entry" || fail "halyward-app's launcher entry does not validate"
fi
! find "$prefix/include" -path '*/internal/*' | grep -q . || fail "internal headers were installed"
[[ $("$prefix/bin/halyward" version) == *1.* ]] || fail "the installed halyward does not run"
MANWIDTH=100 man -l "$prefix/share/man/man1/halyward.1.gz" | grep -q '^EXIT STATUS' ||
  fail "the installed manual page does not render"
[[ $(bash -c "source '$prefix/share/bash-completion/completions/halyward'; complete -p halyward") == \
  'complete -F _halyward halyward' ]] || fail "the installed bash completion does not register"

# Another project finds the installed library and links halyward::core.
cmake -S "$source/tests/packaging/consumer" -B "$scratch/consumer" -G "${GENERATOR:-Ninja}" \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Debug >"$scratch/consumer.log" 2>&1 &&
  cmake --build "$scratch/consumer" >>"$scratch/consumer.log" 2>&1 ||
  { cat "$scratch/consumer.log" >&2; fail "a project can't build against the installed package"; }
[[ $("$scratch/consumer/consumer") == 1.* ]] || fail "the consumer does not run"

# Installing again over our own files is fine.
"$install" "$build" "$prefix" >/dev/null || fail "a second install over the first failed"

# A file of another package in the way: refused, and nothing is written.
other=$scratch/other
mkdir -p "$other/bin"
echo 'another program' >"$other/bin/halyward"
before=$(listing "$other")
if "$install" "$build" "$other" 2>"$scratch/err"; then fail "installed over another package's file"; fi
grep -q "$other/bin/halyward" "$scratch/err" || fail "the refusal does not name the file: $(cat "$scratch/err")"
[[ $(listing "$other") == "$before" ]] || fail "a refused install left files behind"

# A prefix that can't be written: refused, and nothing is written.
blocked=$scratch/blocked
mkdir -p "$blocked"
echo 'not a folder' >"$blocked/share"
before=$(listing "$blocked")
if "$install" "$build" "$blocked" 2>"$scratch/err"; then fail "installed into an unwritable prefix"; fi
grep -q 'nothing was installed' "$scratch/err" || fail "the refusal is unclear: $(cat "$scratch/err")"
[[ $(listing "$blocked") == "$before" ]] || fail "a refused install left files behind"
if [[ $(id -u) -ne 0 ]]; then
  readonly_prefix=$scratch/readonly
  mkdir -p "$readonly_prefix"
  chmod a-w "$readonly_prefix"
  if "$install" "$build" "$readonly_prefix" 2>"$scratch/err"; then fail "installed into a read-only prefix"; fi
  [[ -z $(ls -A "$readonly_prefix") ]] || fail "a refused install left files behind"
fi

"$install" --uninstall "$prefix" >/dev/null
[[ -z $(find "$prefix" -type f) ]] || fail "uninstall left files: $(find "$prefix" -type f)"
echo "install: layout, package files, refusals and uninstall behave"
