#!/bin/sh
# with-corpus.sh CORPUS COMMAND...: runs the command when CORPUS holds the corpus manifest;
# otherwise prints the line the gtest corpus tests print and exits 77, which CTest counts as
# skipped.
corpus=$(realpath -m "$1")
shift
if [ ! -f "$corpus/MANIFEST.tsv" ]; then
  echo "corpus not found at $corpus (no MANIFEST.tsv); configure with -DPDFA_CORPUS_DIR=<folder> to run this test"
  exit 77
fi
exec "$@"
