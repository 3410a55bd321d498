#!/usr/bin/env bash
# package-test.sh [--screenshot-to FILE]: builds the Debian package (Release, no tests), checks it
# with lintian, installs it with apt, runs the installed program — --version, a batch run against
# the installed simulator and demo scenario, a screenshot — checks the desktop entry, icon and
# manual page, and removes the package again. Needs root (or sudo without a password).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${QORMIN_PACKAGE_BUILD:-$root/build/release}
screenshot_to=
if [[ "${1:-}" == --screenshot-to ]]; then screenshot_to=$2; fi

sudo_cmd=()
if [[ $(id -u) -ne 0 ]]; then sudo_cmd=(sudo -n); fi
apt_get() {
    # Another apt run may hold the lock for a while; wait for it rather than fail.
    "${sudo_cmd[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 "$@"
}
fail() {
    echo "package-test: $*" >&2
    exit 1
}

echo "--- package build"
# Debian's hardening flags, as a Debian build of the package would use them (without -g: the
# package is stripped anyway). Their own objects: the first run compiles everything once.
cxxflags=$(dpkg-buildflags --get CPPFLAGS)" "$(dpkg-buildflags --get CXXFLAGS | sed 's/\(^\| \)-g\( \|$\)/ /')
bash "$root/scripts/build.sh" "$build" -DCMAKE_BUILD_TYPE=Release -DQORMIN_TESTS=OFF -DQORMIN_BENCH=OFF \
    "-DCMAKE_CXX_FLAGS=$cxxflags" "-DCMAKE_EXE_LINKER_FLAGS=$(dpkg-buildflags --get LDFLAGS) -Wl,-z,now"
rm -f "$build"/qormin-dbtools_*.deb
(cd "$build" && cpack -G DEB >/dev/null)
package=$(ls "$build"/qormin-dbtools_*.deb)
echo "built $package"

echo "--- lintian"
if command -v lintian >/dev/null; then
    # Warnings and errors fail the run; the informational tags left are explained in
    # docs/notes/packaging.md.
    lintian --fail-on error,warning "$package"
else
    echo "lintian not installed: not checked"
fi

echo "--- install"
apt_get install -y -qq "$package" >/dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"; apt_get remove -y -qq qormin-dbtools >/dev/null 2>&1 || true' EXIT
program=/usr/bin/qormin-dbtools

echo "--- version"
version=$(dpkg-query -W -f='${Version}' qormin-dbtools)
printed=$("$program" --version)
[[ "$printed" == "QORMIN DB Tools $version" ]] || fail "--version printed \"$printed\", the package is $version"
echo "$printed"

echo "--- batch run against the installed simulator"
# The last wait keeps the run alive while the simulator it started is looked at.
cat >"$work/batch.txt" <<'BATCH'
print lblDBCount(0)
print lblDBCount(1)
dblclick GridDB(1) 12
select Grid2 1
print txtDB
wait 1500
BATCH
"$program" --demo --batch "$work/batch.txt" --screenshot "$work/installed.png" >"$work/out.txt" 2>"$work/err.txt" &
tool=$!
simulator=
for _ in $(seq 100); do
    child=$(pgrep -P "$tool" -x qormin-sim || true)
    if [[ -n "$child" ]]; then
        simulator="$(readlink "/proc/$child/exe") $(tr '\0' ' ' <"/proc/$child/cmdline")"
        break
    fi
    sleep 0.1
done
status=0
wait "$tool" || status=$?
cat "$work/out.txt"
[[ $status -eq 0 ]] || fail "the batch run ended with status $status: $(cat "$work/err.txt")"
[[ "$simulator" == "/usr/lib/qormin-dbtools/qormin-sim /usr/lib/qormin-dbtools/qormin-sim --scenario /usr/share/qormin-dbtools/scenarios/demo.json "* ]] ||
    fail "the demo did not run the installed simulator and scenario: \"$simulator\""
grep -qx '18' "$work/out.txt" || fail "the demo server's database count was not printed"
grep -q ' - summary: .*exit status 0$' "$work/out.txt" || fail "no summary with exit status 0"

echo "--- screenshot"
[[ -s "$work/installed.png" ]] || fail "no screenshot"
[[ $(head -c 4 "$work/installed.png" | tail -c 3) == PNG ]] || fail "the screenshot is no PNG"
if [[ -n "$screenshot_to" ]]; then cp "$work/installed.png" "$screenshot_to"; fi

echo "--- desktop entry, icon, manual page"
desktop=/usr/share/applications/qormin-dbtools.desktop
[[ -f "$desktop" ]] || fail "no desktop entry"
if command -v desktop-file-validate >/dev/null; then desktop-file-validate "$desktop"; fi
grep -qx 'Exec=qormin-dbtools' "$desktop" || fail "the desktop entry does not start the program"
[[ -f /usr/share/icons/hicolor/scalable/apps/qormin-dbtools.svg ]] || fail "no icon"
[[ -f /usr/share/man/man1/qormin-dbtools.1.gz ]] || fail "no manual page"
zcat /usr/share/man/man1/qormin-dbtools.1.gz | grep -q "QORMIN DB Tools $version" ||
    fail "the manual page carries another version"

echo "--- started the way the menu starts it, as a plain user"
# The entry's command, as the user nobody with a home of its own: it must come up without
# writing into the installed tree, keeping its text files in the user's folder.
home="$work/home"
chmod 711 "$work"
mkdir -p "$home"
chown nobody "$home"
read -ra command <<<"$(sed -n 's/^Exec=//p' "$desktop")"
"${sudo_cmd[@]}" runuser -u nobody -- env HOME="$home" QT_QPA_PLATFORM=offscreen XDG_RUNTIME_DIR= \
    "${command[@]}" --exit-after-paint 2>"$work/menu.txt" || fail "the menu's command failed: $(cat "$work/menu.txt")"
grep -q '^start-up: painted after' "$work/menu.txt" || fail "the menu's command did not come up"
[[ -d "$home/.local/share/QORMIN DB Tools" ]] || fail "no per-user data folder"

echo "--- remove"
apt_get remove -y -qq qormin-dbtools >/dev/null
[[ ! -e "$program" ]] || fail "$program is still there after removal"
trap 'rm -rf "$work"' EXIT
echo "package-test: passed ($package)"
