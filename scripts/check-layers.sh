#!/usr/bin/env bash
# Fails when a folder of src/ includes a header of a folder above it. The layers, lowest first;
# folders on one line are one layer and do not include each other.
set -euo pipefail
src=$(cd "$(dirname "$0")/../src" && pwd)
layers=(
    "db"
    "platform"
    "controls"
    "window"
    "net dbfiles tablecopy anonymize transfer sqltools"
    "app"
)
declare -A rank
for i in "${!layers[@]}"; do
    for folder in ${layers[$i]}; do rank[$folder]=$i; done
done

status=0
for folder in "$src"/*/; do
    folder=$(basename "$folder")
    if [[ -z "${rank[$folder]+set}" ]]; then
        echo "src/$folder is in no layer: add it to scripts/check-layers.sh"
        status=1
        continue
    fi
    while IFS=: read -r file line target; do
        used=${target%%/*}
        if [[ -z "${rank[$used]+set}" ]]; then
            echo "$file:$line: includes \"$target\", which is outside src/"
            status=1
        elif [[ $used != "$folder" && ${rank[$used]} -ge ${rank[$folder]} ]]; then
            echo "$file:$line: src/$folder includes \"$target\" from a layer that is not below it"
            status=1
        fi
    done < <(grep -rnoE '^#include "[^"]+"' "$src/$folder" | sed -E 's/#include "([^"]+)"/\1/' | sed "s#^$src/##")
done
if ((status == 0)); then
    echo "layers point one way: ${layers[*]}"
fi
exit $status
