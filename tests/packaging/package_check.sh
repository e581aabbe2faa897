#!/usr/bin/env bash
# package_check.sh BUILD_DIR: builds the Debian package as README says and checks
# its control fields, its contents and, where lintian exists, its errors.
source "$(dirname "$0")/checks.sh"

(cd "$scratch" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch" >cpack.log 2>&1) ||
    { cat "$scratch/cpack.log"; echo "FAIL: cpack"; exit 1; }
deb=$(ls "$scratch"/tarnwell_*.deb 2>/dev/null | head -n 1)
[ -n "$deb" ] || { echo "FAIL: no tarnwell_*.deb"; exit 1; }

field() { dpkg-deb -f "$deb" "$1"; }
[ "$(field Package)" = tarnwell ] || fail "Package: $(field Package)"
[[ $(field Version) =~ ^[0-9]+\.[0-9]+\.[0-9]+-[0-9]+$ ]] || fail "Version: $(field Version)"
[ "$(field Architecture)" = "$(dpkg --print-architecture)" ] || fail "Architecture"
# Libraries found by dpkg-shlibdeps, and the plugins Qt loads at run time.
for dependency in libqt6core6 libqt6widgets6 libqt6dbus6 libc6 libqt6svg6 qt6-qpa-plugins \
    libqt6webenginewidgets6 libqt6webenginecore6-bin; do
    field Depends | grep -q "$dependency" || fail "Depends lacks $dependency: $(field Depends)"
done
[ -n "$(field Description)" ] || fail "no description"

contents=$(dpkg-deb -c "$deb" | awk '{print $6}')
# What the package holds is what the install check saw installed; two files show it is there.
for path in ./usr/bin/tarnwell ./usr/share/applications/app.tarnwell.Tarnwell.desktop; do
    grep -qx -- "$path" <<<"$contents" || fail "package lacks $path"
done
# Everything under /usr, and no maintainer scripts: removing the package takes
# away exactly what it brought.
grep -v '^\./$' <<<"$contents" | grep -v '^\./usr' && fail "files outside /usr"
dpkg-deb -e "$deb" "$scratch/control"
for script in preinst postinst prerm postrm; do
    [ ! -e "$scratch/control/$script" ] || fail "unexpected maintainer script $script"
done
dpkg-deb -x "$deb" "$scratch/tree"
file -b "$scratch/tree/usr/bin/tarnwell" | grep -q 'stripped' && ! file -b "$scratch/tree/usr/bin/tarnwell" |
    grep -q 'not stripped' || fail "the executable is not stripped"

if command -v lintian >/dev/null; then
    errors=$(lintian --allow-root "$deb" 2>/dev/null | grep '^E:')
    [ -z "$errors" ] || fail "lintian errors: $errors"
fi

echo "package check: $failures failed ($(du -k "$deb" | cut -f1) KiB, installed $(field Installed-Size) KiB)"
[ $failures -eq 0 ]
