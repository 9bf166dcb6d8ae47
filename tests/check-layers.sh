#!/usr/bin/env bash
# Fails on an include that reaches a folder above its own. The build writes
# which folders each folder may include (layers.txt: "folder: below..."); a
# source may include its own folder and those, nothing else of the project.
set -euo pipefail
layers=$1
source=$2
failed=0
while IFS=: read -r folder below; do
  allowed=" $folder $below "
  while IFS= read -r hit; do
    target=${hit#*#include \"}
    target=${target%%/*}
    [ -d "$source/$target" ] || continue
    case $allowed in *" $target "*) ;; *) echo "$hit  ($folder may include:$below)"; failed=1 ;; esac
  done < <(cd "$source" && grep -rnE '^[[:space:]]*#[[:space:]]*include[[:space:]]+"[A-Za-z0-9_]+/' "$folder" || true)
done <"$layers"
[ $failed -eq 0 ] && echo "every include stays in its folder or below it"
exit $failed
