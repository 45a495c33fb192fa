#!/bin/bash
# Installs the build into a temporary prefix and checks the tree as Debian, a
# desktop and the dynamic loader see it, then starts the installed program
# on the installed demo project in a virtual X display.
# Usage: tst_install.sh BUILD_DIR
set -euo pipefail
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
prefix=$root/prefix
cmake --install "$1" --prefix "$prefix" > /dev/null
cd "$prefix"
fail() { echo "FAIL: $*" >&2; exit 1; }
have() { for f in "$@"; do [ -f "$f" ] || fail "not installed: $f"; done; }

lib=lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)
docs=share/doc/vistrel
app=org.example.vistrel
have bin/vistrel "$lib/libtessbus.so.0.1.0" "$docs"/Vistrel_manual_{en,de}.pdf \
    "$docs"/examples/{tessbus-demo.conf,demo.vtlprj} share/man/man1/vistrel.1.gz \
    share/icons/hicolor/scalable/apps/$app.svg share/mime/packages/vistrel.xml
[ "$(readlink "$lib/libtessbus.so.0")" = libtessbus.so.0.1.0 ] || fail "no soname link"
[ ! -e "$lib/libtessbus.so" ] || fail "the development link is installed"
[ "$(ls bin/vistrel-convert share/man/man1/vistrel-convert.1.gz 2> /dev/null | wc -l)" != 1 ] ||
    fail "vistrel-convert and its manual page come apart"
for n in 16 22 24 32 48 64 128 256; do
    png=share/icons/hicolor/${n}x$n/apps/$app.png
    have "$png"
    # Width and height from the PNG's header, big-endian at offset 16.
    [ "$(od -An -j16 -N8 -tx1 "$png" | tr -d ' \n')" = "$(printf '%08x%08x' "$n" "$n")" ] ||
        fail "$png is not ${n}x$n"
done
gzip -t share/man/man1/*.gz

desktop=share/applications/$app.desktop
grep -qx 'Exec=vistrel %f' "$desktop" || fail "Exec line"
grep -qx 'MimeType=application/x-vistrel-project;application/x-vistrel-data;' "$desktop" || fail "MimeType line"
desktop-file-validate "$desktop"
appstreamcli validate --no-net "share/metainfo/$app.metainfo.xml"

# The file types, by name and by content: a project renamed without its
# extension is still known by its root element.
export XDG_DATA_DIRS=$prefix/share
update-mime-database share/mime
cp "$docs/examples/demo.vtlprj" "$root/project"
printf '\0\0\0\0\140\0\0\0' > "$root/x.vtldat"
for file in "$docs/examples/demo.vtlprj:project" "$root/project:project" "$root/x.vtldat:data"; do
    type=$(XDG_DATA_HOME=$root gio info -a standard::content-type "${file%:*}")
    [[ $type == *"application/x-vistrel-${file##*:}"* ]] || fail "type of ${file%:*}: $type"
done

# Starts the installed program on a file and prints the titles of its
# windows once they have shown; fails if it does not stay running.
windows() {
    XDG_CONFIG_HOME=$root XDG_DATA_HOME=$root XDG_RUNTIME_DIR=$root \
        TESSBUS_CONFIG=$prefix/$docs/examples/tessbus-demo.conf xvfb-run -a bash -c '
            LD_DEBUG=bindings LD_DEBUG_OUTPUT=$2/ld "$0" "$1" & pid=$!
            for _ in $(seq 300); do
                xwininfo -root -tree | grep -q "(\"vistrel\" \"vistrel\")" && break
                sleep 0.2
            done
            sleep 1
            xwininfo -root -tree | sed -n "s/^ *0x[0-9a-f]* \"\(.*\)\": (\"vistrel\" \"vistrel\").*/\1/p"
            kill "$pid" || echo "(not running)"
            wait' "$prefix/bin/vistrel" "$1" "$root"
}
[ "$(windows "$docs/examples/demo.vtlprj")" = Vistrel ] || fail "the demo project did not open alone"
# The driver's tessReadT was looked up by the soname, in the installed copy.
grep -qF "$prefix/bin/../$lib/libtessbus.so.0 [0]: normal symbol \`tessReadT'" "$root"/ld.* ||
    fail "tessReadT not found in the installed libtessbus"
# The same look at the windows tells a project that fails to open.
echo broken > "$root/broken.vtlprj"
[[ "$(windows "$root/broken.vtlprj")" == *"Critical Error"* ]] || fail "a broken project showed no error"
echo "installed tree, file types and the installed program: passed"
