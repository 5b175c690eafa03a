#!/usr/bin/env bash
# Checks that the includes between the folders of src/ point down the picture in docs/architecture.md.
# Each line of its block "layers" is a layer, from the top: a folder may include only itself and folders
# of lower layers. Prints every other include and fails.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

layers=$(sed -n '/^```layers$/,/^```$/p' docs/architecture.md | sed '1d;$d')
includes=$(grep -rnE '^#include "[a-z]+/' src |
    sed -E 's|^src/([a-z]+)/([^:]*):([0-9]+):#include "([a-z]+)/([^"]*)".*|\1 \4 src/\1/\2:\3 \4/\5|')
if [ -z "$layers" ]; then
    echo "docs/architecture.md has no block \"layers\""
    exit 1
fi

printf '%s\n--\n%s\n' "$layers" "$includes" | awk '
    !inIncludes && $1 == "--" { inIncludes = 1; next }
    !inIncludes { for (i = 1; i <= NF; ++i) depth[$i] = NR; next }
    !($1 in depth) { print $3 ": folder " $1 " is in no layer"; bad = 1; next }
    !($2 in depth) { print $3 ": folder " $2 " is in no layer"; bad = 1; next }
    $1 != $2 && depth[$2] <= depth[$1] { print $3 ": " $4 " is not below " $1; bad = 1 }
    END { exit bad }'
