#!/usr/bin/env bash
# Makes the RAR archives the Unrar tests extract, with Debian's rar, into <dir>: tree/ and its packings
# (compressed, stored, solid), zeros, empty, encrypted, unsafe (../escape.txt), block, corrupt, badheader,
# truncated, many (400 files), single and big (1 KiB then 4 GiB + 1 KiB; kept between runs, packing is slow).
set -euo pipefail
out=${1:?usage: make-unrar-archives.sh <dir>}
if [ -f "$out/big.rar" ]; then mv "$out/big.rar" "$out.big.rar"; fi
rm -rf "$out"
mkdir -p "$out"
cd "$out"
rar() { command rar "$@" -idq -qo- -y; }

# A tree of folders and mixed files: text that compresses, random bytes that do
# not, a large file of each, an empty file, an empty folder and non-ASCII names.
mkdir -p tree/docs/deep/deeper tree/data tree/empty-folder "tree/Grüße"
for i in $(seq 1 24); do
  seq "$i" $((i * 700)) > "tree/docs/notes-$i.txt"
  head -c $((i * 2731)) /dev/urandom > "tree/data/blob-$i.bin"
done
for i in $(seq 1 8); do
  awk -v i="$i" 'BEGIN { for (n = 1; n <= i * 150; n++) print "line " n " of deep file " i }' \
    > "tree/docs/deep/deeper/deep-$i.txt"
done
head -c 1500000 /dev/urandom > tree/data/large-random.bin
seq 1 400000 > tree/docs/large-text.txt
: > tree/docs/empty.txt
echo "Grüße aus dem Archiv" > "tree/Grüße/Ünïcödé file.txt"
(cd tree && rar a -r -m3 ../compressed.rar . && rar a -r -m0 ../stored.rar . && rar a -r -s -m5 ../solid.rar .)

mkdir -p zeros/one/two
: > zeros/a.txt; : > zeros/one/b.txt; : > zeros/one/two/c.txt
(cd zeros && rar a -r ../zeros.rar .)

# rar makes no archive without entries: the empty one is the signature and main
# header of a one-file archive followed by its end-of-archive header (8 bytes).
echo "placeholder" > one.txt
rar a one.rar one.txt
header=$(od -An -tu1 -j12 -N1 one.rar | tr -d ' ')
[ "$header" -lt 128 ] || { echo "unexpected main header in one.rar" >&2; exit 1; }
{ head -c $((12 + 1 + header)) one.rar; tail -c 8 one.rar; } > empty.rar
rm one.rar one.txt

mkdir -p secret
echo "only with the password" > secret/hidden.txt
(cd secret && rar a -pSecret ../encrypted.rar hidden.txt)

mkdir -p unsafe
echo "must stay inside" > unsafe/escape.txt
echo "inside" > unsafe/inside.txt
(cd unsafe && rar a ../unsafe.rar inside.txt && rar a -ap../ ../unsafe.rar escape.txt)

mkdir -p block/block
echo first > block/first.txt; echo inner > block/block/inner.txt; echo last > block/last.txt
(cd block && rar a ../block.rar first.txt block/inner.txt last.txt)

mkdir -p corrupt
echo "good file" > corrupt/good.txt
{ echo "bad file"; echo "MARKER-OF-THE-BAD-FILE"; seq 1 200; } > corrupt/bad.txt
echo "after the bad file" > corrupt/after.txt
(cd corrupt && rar a -m0 ../corrupt.rar good.txt bad.txt after.txt)
offset=$(grep -obUa "MARKER-OF-THE-BAD-FILE" corrupt.rar | head -n 1 | cut -d: -f1)
printf 'X' | dd of=corrupt.rar bs=1 seek="$offset" conv=notrunc status=none

(cd corrupt && rar a -m0 ../badheader.rar good.txt after.txt)
offset=$(grep -obUa "after.txt" badheader.rar | head -n 1 | cut -d: -f1)
printf 'X' | dd of=badheader.rar bs=1 seek="$offset" conv=notrunc status=none

size=$(stat -c %s compressed.rar)
head -c $((size * 3 / 5)) compressed.rar > truncated.rar

mkdir -p many
for i in $(seq -w 1 400); do head -c 2048 /dev/urandom > "many/file-$i.bin"; done
(cd many && rar a -m0 ../many.rar .)

# One entry only, for the built-in install sequence's progress.
mkdir -p single
head -c 5000 /dev/urandom > single/payload.bin
(cd single && rar a ../single.rar payload.bin)

# Sizes past 32 bits: the huge file is sparse, so only rar's time is spent.
if [ -f "$out.big.rar" ]; then
  mv "$out.big.rar" big.rar
else
  mkdir -p big
  head -c 1024 /dev/urandom > big/small.bin
  truncate -s $((4 * 1024 * 1024 * 1024 + 1024)) big/huge.bin
  (cd big && rar a -m1 ../big-new.rar small.bin huge.bin)
  rm -rf big
  mv big-new.rar big.rar
fi

# The listing of each archive, for whoever reads a failed test.
for archive in *.rar; do
  echo "== $archive" >> listings.txt
  command rar lb "$archive" >> listings.txt 2>&1 || true
done
