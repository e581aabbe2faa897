#!/usr/bin/env bash
# install_check.sh BUILD_DIR: installs into a throw-away DESTDIR and checks what
# a desktop, a shell and man find there.
source "$(dirname "$0")/checks.sh"

DESTDIR=$scratch cmake --install "$build" --prefix /usr >/dev/null || { echo "FAIL: install"; exit 1; }
root=$scratch/usr

for path in bin/tarnwell libexec/tarnwell/tarnwell-welcome share/applications/app.tarnwell.Tarnwell.desktop \
    share/metainfo/app.tarnwell.Tarnwell.metainfo.xml share/man/man1/tarnwell.1.gz \
    share/bash-completion/completions/tarnwell share/zsh/vendor-completions/_tarnwell \
    share/icons/hicolor/scalable/apps/app.tarnwell.Tarnwell.svg \
    share/doc/tarnwell/copyright share/doc/tarnwell/changelog.Debian.gz; do
    [ -f "$root/$path" ] || fail "missing $path"
done
for size in 16 22 24 32 48 64 128 256; do
    png=$root/share/icons/hicolor/${size}x${size}/apps/app.tarnwell.Tarnwell.png
    [ "$(file -b "$png" 2>/dev/null | cut -d, -f2)" = " $size x $size" ] || fail "icon $size: $(file -b "$png")"
done
# Nothing outside the prefix, nothing named after the build machine.
[ "$(ls "$scratch")" = usr ] || fail "installed outside /usr: $(ls "$scratch")"
grep -rlI -- "$build" "$root" && fail "the build folder's path is in the installed files"

desktop=$root/share/applications/app.tarnwell.Tarnwell.desktop
desktop-file-validate "$desktop" || fail "desktop-file-validate"
for key in 'Name[ru]' 'Name[uk]' 'Comment[ru]' 'Comment[uk]'; do
    cut -d= -f1 "$desktop" | grep -qxF "$key" || fail "desktop entry has no $key"
done
grep -qx 'Categories=System;Monitor;' "$desktop" || fail "categories"
grep -qx 'StartupNotify=false' "$desktop" || fail "StartupNotify"
appstreamcli validate --no-net "$root/share/metainfo/app.tarnwell.Tarnwell.metainfo.xml" >/dev/null ||
    fail "appstreamcli validate"

# The manual page renders without a warning and names every command.
warnings=$(zcat "$root/share/man/man1/tarnwell.1.gz" | groff -man -Tutf8 -ww -z 2>&1)
[ -z "$warnings" ] || fail "man page warnings: $warnings"
page=$(zcat "$root/share/man/man1/tarnwell.1.gz" | MANWIDTH=80 man -l - 2>/dev/null)
for word in stats clean settings crash-reports --json --pretty --watch --console TARNWELL_MEMORY_ROOT \
    'EXIT STATUS'; do
    grep -q -- "$word" <<<"$page" || fail "man page does not mention $word"
done

# bash completes commands, options and setting names through the installed program.
complete_words() {
    PATH=$root/bin:$PATH XDG_CONFIG_HOME=$scratch/config bash -c '
        source /usr/share/bash-completion/bash_completion
        source "$1"; shift
        COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); COMP_LINE="$*"; COMP_POINT=${#COMP_LINE}
        _tarnwell tarnwell "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD-1]}"
        printf "%s\n" "${COMPREPLY[@]}" | sort | tr "\n" " "' \
        _ "$root/share/bash-completion/completions/tarnwell" "$@"
}
[ "$(complete_words tarnwell s)" = "settings stats " ] || fail "commands: '$(complete_words tarnwell s)'"
[ "$(complete_words tarnwell stats --)" = "--help --json --pretty --watch " ] ||
    fail "stats options: '$(complete_words tarnwell stats --)'"
[ "$(complete_words tarnwell settings refresh)" = "refreshRate " ] ||
    fail "setting names: '$(complete_words tarnwell settings refresh)'"
[ ! -e "$scratch/config/Tarnwell" ] || fail "completing a setting name wrote the settings"

echo "install check: $failures failed"
[ $failures -eq 0 ]
