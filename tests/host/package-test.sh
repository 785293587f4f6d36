#!/usr/bin/env bash
# Builds the Debian package from this build tree, unpacks it into a scratch root as a clean
# machine would get it, and runs a job with the installed commands. Exits 77 (skipped) where
# there is no dpkg-deb.
# Usage: package-test.sh BUILD_DIR CPACK BOOK.pdf
set -euo pipefail
build=$1
cpack=$2
book=$3

if ! command -v dpkg-deb >/dev/null; then
  echo "dpkg-deb is not available: skipped"
  exit 77
fi
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() { echo "FAIL: $*"; exit 1; }

# No compression and, without dpkg-dev, no dependency scan: the package itself is the same.
shlibdeps=OFF
command -v dpkg-shlibdeps >/dev/null && shlibdeps=ON
if ! "$cpack" -G DEB --config "$build/CPackConfig.cmake" -B "$scratch/package" \
    -D CPACK_DEBIAN_COMPRESSION_TYPE=none -D CPACK_DEBIAN_PACKAGE_SHLIBDEPS=$shlibdeps \
    >"$scratch/cpack.log" 2>&1; then
  cat "$scratch/cpack.log"
  fail "cpack could not build the package"
fi
deb=$(ls "$scratch"/package/*.deb)
[ "$(dpkg-deb -f "$deb" Package)" = pdfannotations ] || fail "package name"
dpkg-deb -x "$deb" "$scratch/root"
root=$scratch/root

for file in usr/bin/PDFAnnotations usr/bin/pdfannotations-host \
    usr/include/pdfannotations/host.h \
    usr/share/man/man1/PDFAnnotations.1 usr/share/man/man1/pdfannotations-host.1; do
  [ -f "$root/$file" ] || fail "$file is not installed"
done
library=$(find "$root/usr/lib" -name 'libpdfannotations-host.so.1' | head -n 1)
[ -n "$library" ] || fail "libpdfannotations-host.so.1 is not installed"
[ -L "$(dirname "$library")/libpdfannotations-host.so" ] || fail "the library's link is missing"
pc=$(find "$root/usr/lib" -name 'pdfannotations-host.pc' | head -n 1)
[ -n "$pc" ] || fail "pdfannotations-host.pc is not installed"

# The pkg-config file names /usr, which the root stands for, and the header compiles as C.
pkgconfig() {
  PKG_CONFIG_PATH=$(dirname "$pc") PKG_CONFIG_SYSROOT_DIR=$root pkg-config "$@" pdfannotations-host
}
grep -qx 'prefix=/usr' "$pc" || fail "the pkg-config file names $(grep '^prefix=' "$pc")"
cflags=$(pkgconfig --cflags | xargs)
libs=$(pkgconfig --libs | xargs)
[ "$cflags" = "-I$root/usr/include" ] || fail "pkg-config --cflags gave '$cflags'"
[ "$libs" = "-L$(dirname "$library") -lpdfannotations-host" ] || fail "pkg-config --libs gave '$libs'"
printf '#include <pdfannotations/host.h>\nint main(void) { return PDFA_OK; }\n' |
  cc -std=c11 -Wall -Werror $cflags -fsyntax-only -x c - || fail "the header does not compile"

# The installed host command runs the installed worker beside it.
cp "$book" "$scratch/book.pdf"
mkdir "$scratch/out"
TMPDIR=$scratch "$root/usr/bin/pdfannotations-host" run -b "input=$scratch/book.pdf" \
  "output=$scratch/out" range=ALL divide=1 >"$scratch/run.out" || fail "the job failed"
expected=$(printf '%s\n' 1.xml 2.xml 3-w0.xml 3-w1.xml 4.xml 5.xml | sed "s|^|$scratch/out/|")
[ "$(cat "$scratch/run.out")" = "$expected" ] || fail "files written: $(cat "$scratch/run.out")"
TMPDIR=$scratch "$root/usr/bin/PDFAnnotations" -h | grep -q "PDF Annotations usesage:" ||
  fail "PDFAnnotations -h"
echo "the package installs and runs a job"
