#!/bin/sh
# check_deb.sh CPACK BUILD_DIR SOURCE_DIR VERSION HAS_DESKTOP
# Makes the Debian package of BUILD_DIR in a scratch folder and checks what
# an installation would get: control fields, files, and the command line
# program publishing the sample from an unpacked copy.
set -eu

cpack=$1
build=$2
source=$3
version=$4
desktop=$5

# The package's library dependencies come from dpkg-shlibdeps (dpkg-dev).
if ! command -v dpkg-shlibdeps >/dev/null 2>&1; then
    echo "dpkg-shlibdeps is missing: the package is not checked"
    exit 77
fi

scratch=$(mktemp -d "${TMPDIR:-/tmp}/quillary-deb.XXXXXX")
trap 'rm -rf "$scratch"' EXIT
trap 'exit 1' INT TERM HUP

failures=0
fail() {
    echo "FAIL: $*" >&2
    failures=$((failures + 1))
}
step() {
    echo "-- $*"
}

step "cpack -G DEB"
if ! "$cpack" -G DEB --config "$build/CPackConfig.cmake" -B "$scratch/out" >"$scratch/cpack.log" 2>&1; then
    cat "$scratch/cpack.log" >&2
    echo "FAIL: cpack did not make the package" >&2
    exit 1
fi
arch=$(dpkg --print-architecture)
deb="$scratch/out/quillary-author_${version}_${arch}.deb"
if [ ! -f "$deb" ]; then
    ls "$scratch/out" >&2
    echo "FAIL: no $(basename "$deb")" >&2
    exit 1
fi

step "control fields"
field() {
    dpkg-deb -f "$deb" "$1"
}
[ "$(field Package)" = quillary-author ] || fail "Package is '$(field Package)'"
[ "$(field Architecture)" = "$arch" ] || fail "Architecture is '$(field Architecture)'"
[ "$(field Version)" = "$version" ] || fail "Version is '$(field Version)'"
[ -n "$(field Maintainer)" ] || fail "no Maintainer"
[ -n "$(field Description)" ] || fail "no Description"
# Package names alone, one a line, alternatives included.
names() {
    printf '%s\n' "$1" | tr '|' ',' | tr ',' '\n' | sed 's/(.*//; s/\[.*//; s/[[:space:]]//g' | grep -v '^$' || true
}
depends=$(names "$(field Depends)")
# The tools publishing calls by name, and libraries found by dpkg-shlibdeps.
for p in fop fp-utils docbook-xsl libjs-lunr qt6-qpa-plugins libc6 libxslt1.1; do
    printf '%s\n' "$depends" | grep -qxF "$p" || fail "Depends lacks $p: $(field Depends)"
done
printf '%s\n' "$depends" | grep -q '^libqt6core6' || fail "Depends names no Qt Core library: $(field Depends)"
if [ "$desktop" = 1 ]; then
    printf '%s\n' "$depends" | grep -q '^libqt6webengine' ||
        fail "Depends names no Qt WebEngine library: $(field Depends)"
fi
recommends=$(names "$(field Recommends)")
for p in hunspell-dictionary mythes-thesaurus qt6-webengine-dev-tools; do
    printf '%s\n' "$recommends" | grep -qxF "$p" || fail "Recommends lacks $p: $(field Recommends)"
done

step "contents"
dpkg-deb -c "$deb" >"$scratch/contents"
has() {
    grep -q " \./$1\$" "$scratch/contents" || fail "the package lacks /$1"
}
has usr/bin/quillary
for f in "$source"/xsl/*.xml "$source"/xsl/*.xsl "$source"/xsl/*.gif "$source"/xsl/*.css "$source"/xsl/*.js; do
    [ -e "$f" ] && has "usr/share/quillary/$(basename "$f")"
done
has usr/share/applications/quillary-author.desktop
has usr/share/icons/hicolor/scalable/apps/quillary-author.svg
has usr/share/icons/hicolor/scalable/mimetypes/application-x-quillary-project.svg
has usr/share/mime/packages/quillary.xml
has usr/share/man/man1/quillary.1.gz
has usr/share/man/man1/quillary-author.1.gz
has usr/share/doc/quillary-author/copyright
has usr/share/doc/quillary-author/changelog.gz
[ "$desktop" = 1 ] && has usr/bin/quillary-author
# Owned by root, directories 755, programs 755, other files 644.
awk '$2 != "root/root" { print "FAIL: owner " $2 " of " $6 }
     /^d/ && $1 != "drwxr-xr-x" { print "FAIL: mode " $1 " of " $6 }
     /^-/ && $6 ~ /^\.\/usr\/bin\// && $1 != "-rwxr-xr-x" { print "FAIL: mode " $1 " of " $6 }
     /^-/ && $6 !~ /^\.\/usr\/bin\// && $1 != "-rw-r--r--" { print "FAIL: mode " $1 " of " $6 }' \
    "$scratch/contents" >"$scratch/modes"
if [ -s "$scratch/modes" ]; then
    cat "$scratch/modes" >&2
    failures=$((failures + 1))
fi

step "unpacked files"
root="$scratch/root"
dpkg-deb -x "$deb" "$root"
for page in quillary quillary-author; do
    gz="$root/usr/share/man/man1/$page.1.gz"
    if gzip -t "$gz" 2>/dev/null; then
        gzip -dc "$gz" | grep -q '^\.TH ' || fail "$page.1 has no .TH line"
    else
        fail "$page.1.gz is not gzip"
    fi
done
if command -v readelf >/dev/null 2>&1; then
    for b in "$root"/usr/bin/*; do
        readelf -S "$b" | grep -q '\.symtab' && fail "$(basename "$b") is not stripped"
    done
fi
mime="$root/usr/share/mime/packages/quillary.xml"
xmllint --noout "$mime" || fail "the MIME XML is not well-formed"
for svg in "$root"/usr/share/icons/hicolor/scalable/*/*.svg; do
    xmllint --noout "$svg" || fail "$(basename "$svg") is not well-formed"
done
# The desktop entry, the MIME type and the icons name each other.
entry="$root/usr/share/applications/quillary-author.desktop"
mimetype=$(xmllint --xpath 'string(//*[local-name()="mime-type"]/@type)' "$mime")
[ "$mimetype" = application/x-quillary-project ] || fail "the MIME XML defines '$mimetype'"
grep -qx "MimeType=$mimetype;" "$entry" || fail "the desktop entry does not open $mimetype"
grep -qx 'Exec=quillary-author %f' "$entry" || fail "the desktop entry's Exec line"
icon=$(sed -n 's/^Icon=//p' "$entry")
[ -f "$root/usr/share/icons/hicolor/scalable/apps/$icon.svg" ] || fail "no icon file for Icon=$icon"
mimeicon=$(xmllint --xpath 'string(//*[local-name()="icon"]/@name)' "$mime")
[ -f "$root/usr/share/icons/hicolor/scalable/mimetypes/$mimeicon.svg" ] || fail "no icon file for the type's $mimeicon"
if command -v update-mime-database >/dev/null 2>&1; then
    cp -R "$root/usr/share/mime" "$scratch/mime"
    if update-mime-database "$scratch/mime" >"$scratch/umd.log" 2>&1; then
        grep -q ":$mimetype:\*\.qly" "$scratch/mime/globs2" || fail "*.qly is not $mimetype after update-mime-database"
    else
        cat "$scratch/umd.log" >&2
        fail "update-mime-database refused the MIME XML"
    fi
fi
if command -v desktop-file-validate >/dev/null 2>&1; then
    step "desktop-file-validate"
    desktop-file-validate "$entry" || fail "desktop-file-validate"
fi

step "the unpacked quillary"
# Settings and caches of the run stay in the scratch folder.
export HOME="$scratch/home"
export XDG_CONFIG_HOME="$scratch/home/.config"
export XDG_DATA_HOME="$scratch/home/.local/share"
export XDG_CACHE_HOME="$scratch/home/.cache"
mkdir -p "$HOME"
cli="$root/usr/bin/quillary"
rc=0
"$cli" --help >"$scratch/help.txt" 2>&1 || rc=$?
if [ "$rc" = 0 ]; then
    grep -q publish "$scratch/help.txt" || fail "quillary --help does not name publish"
else
    cat "$scratch/help.txt" >&2
    fail "quillary --help exits with $rc"
fi
# The desktop program answers --help without a display.
if [ "$desktop" = 1 ]; then
    env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$root/usr/bin/quillary-author" --help \
        >"$scratch/help-author.txt" 2>&1 || fail "quillary-author --help fails without a display"
    grep -q "Usage: quillary-author" "$scratch/help-author.txt" || fail "quillary-author --help prints no usage"
fi
cp -R "$source/examples/sample" "$scratch/sample"
if "$cli" --yes publish "$scratch/sample/sample.qly" --format html --lang en >"$scratch/publish.log" 2>&1; then
    out="$scratch/sample/sample/output/html/book_en.html"
    if [ -s "$out" ]; then
        grep -q '<html' "$out" || fail "book_en.html is no HTML page"
    else
        cat "$scratch/publish.log" >&2
        fail "publishing made no $out"
    fi
else
    cat "$scratch/publish.log" >&2
    fail "quillary publish failed"
fi
# Web help needs the installed page scripts and Debian's lunr.
if "$cli" --yes publish "$scratch/sample/sample.qly" --format webhelp --lang en >"$scratch/webhelp.log" 2>&1; then
    for f in index.html toc.js search-index.js webhelp.js webhelp-search.js webhelp.css lunr.min.js; do
        [ -s "$scratch/sample/sample/output/webhelp_en/$f" ] || fail "web help lacks $f"
    done
else
    cat "$scratch/webhelp.log" >&2
    fail "quillary publish --format webhelp failed"
fi

if command -v lintian >/dev/null 2>&1; then
    step "lintian"
    lintian --fail-on error "$deb" || fail "lintian"
fi

if [ "$failures" -gt 0 ]; then
    echo "$failures check(s) failed" >&2
    exit 1
fi
echo "package $(basename "$deb") checked"
