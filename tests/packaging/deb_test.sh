#!/usr/bin/env bash
# Builds the Debian package of this build tree, has lintian check it, unpacks it into a
# scratch root and runs the installed program from there: version, help, the manual page,
# and `app add` against a local site, which must find the packaged web-app host.
#   deb_test.sh <build dir> <source dir>
set -euo pipefail
build=$1 source=$2
scratch=$(mktemp -d)
server=
cleanup() {
  exec 3>&- || true
  [[ -n $server ]] && kill "$server" 2>/dev/null || true
  rm -rf "$scratch"
}
trap cleanup EXIT
fail() { echo "deb: $*" >&2; exit 1; }

cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch/out" >"$scratch/cpack.log" 2>&1 ||
  { cat "$scratch/cpack.log" >&2; fail "cpack failed"; }
deb=$(find "$scratch/out" -maxdepth 1 -name 'halyward_*.deb' | head -1)
[[ -f $deb ]] || fail "cpack made no halyward_*.deb"

depends=$(dpkg-deb -f "$deb" Depends)
[[ $depends == *libc6* && $depends == *libstdc++6* ]] ||
  fail "the dependencies were not read from the linked libraries: “$depends”"

if command -v lintian >/dev/null; then
  lintian --fail-on error "$deb" 2>/dev/null || fail "lintian reports errors"
else
  fail "lintian is not installed (scripts/install-deps installs it)"
fi

root=$scratch/root
dpkg -x "$deb" "$root"
halyward=$root/usr/bin/halyward
for f in usr/bin/halyward usr/share/man/man1/halyward.1.gz \
  usr/share/bash-completion/completions/halyward usr/share/zsh/site-functions/_halyward \
  usr/share/fish/vendor_completions.d/halyward.fish usr/share/halyward/skills/halyward/SKILL.md \
  usr/share/doc/halyward/copyright usr/share/doc/halyward/changelog.gz; do
  [[ -f $root/$f ]] || fail "the package lacks /$f"
done
if [[ -f $build/cli/halyward-app ]]; then
  for f in usr/bin/halyward-app usr/bin/halyward-new-app \
    usr/share/applications/app.halyward.Halyward.desktop \
    usr/share/icons/hicolor/scalable/apps/app.halyward.Halyward.svg; do
    [[ -f $root/$f ]] || fail "the package lacks /$f"
  done
fi
if find "$root" -path '*/include/*' -o -name '*.a' | grep -q .; then
  fail "the package holds development files"
fi

export HOME=$scratch/home XDG_CONFIG_HOME=$scratch/home/.config XDG_DATA_HOME=$scratch/home/.local/share
mkdir -p "$HOME"
version=$("$halyward" version)
[[ $version == *"$(sed -n 's/^project(halyward VERSION \([0-9.]*\).*/\1/p' "$source/CMakeLists.txt")"* ]] ||
  fail "halyward version says “$version”"
"$halyward" help | grep -q '^  halyward app add <url>' || fail "halyward help lacks the usage lines"
MANWIDTH=100 man -l "$root/usr/share/man/man1/halyward.1.gz" 2>&1 | grep -q 'EXIT STATUS' ||
  fail "the packaged manual page does not render"

host=$root/usr/libexec/halyward/HalywardWebHost
if [[ ! -x $host ]]; then
  echo "deb: skipped app add: this tree does not build HalywardWebHost, so the package has no host"
  echo "deb: the package installs, passes lintian and runs from $root"
  exit 0
fi
# The site serves until its standard input closes: a pipe held open by this script.
mkfifo "$scratch/keep"
python3 "$source/tests/data/webapps/site_server.py" <"$scratch/keep" >"$scratch/port" &
server=$!
exec 3>"$scratch/keep"
for _ in $(seq 100); do [[ -s $scratch/port ]] && break; sleep 0.05; done
port=$(head -1 "$scratch/port")
[[ -n $port ]] || fail "the test site did not start"
"$halyward" app add "http://127.0.0.1:$port/forms/" --name "Packaged Demo" ||
  fail "app add from the package failed"
copied=$(find "$HOME" -name HalywardWebHost -type f | head -1)
[[ -n $copied ]] || fail "app add wrote no host into the bundle"
cmp -s "$copied" "$host" || fail "the bundle's host is not the packaged one"
echo "deb: the package installs, passes lintian, runs from $root and app add found its host"
