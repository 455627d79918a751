#!/usr/bin/env bash
# make_seeds.sh <directory>: writes seed inputs for every fuzz target, made from samples/ and tests/scenarios/. Larger
# files than the targets accept are left out.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
seeds=$1
max_document=4096
max_bundle=16384

rm -rf "$seeds"
mkdir -p "$seeds"/{scalars,properties,overrides,document,pack,service,service_files,tool}

number=0

# store <target> <limit> <file>: adds the file unless it is larger.
store() {
    [[ $(wc -c <"$3") -gt $2 ]] || cp "$3" "$seeds/$1/$((++number))"
}

# bundle <folder>: the folder's prefabs, each after a line with its path; the loaded one first, if there is a
# scenario.json that names it.
bundle() {
    local folder=$1 first='' file overrides=''
    if [[ -f $folder/scenario.json ]]; then
        first=$(sed -nE 's/.*"load": *"([^"]+)".*/\1/p' "$folder/scenario.json" | head -1)
        overrides=$(sed -nE 's/.*"overrides": *"([^"]+)".*/\1/p' "$folder/scenario.json" | head -1)
    fi
    {
        [[ -z $first || ! -f $folder/$first ]] || echo "$first"
        (cd "$folder" && find . -name '*.prefab' -printf '%P\n' | sort)
    } | awk '!seen[$0]++' | while read -r file; do
        printf '=== %s\n' "$file"
        cat "$folder/$file"
        echo
    done
    if [[ -n $overrides && -f $folder/$overrides ]]; then
        printf '=== overrides.xml\n'
        cat "$folder/$overrides"
    fi
}

content=$(mktemp)
trap 'rm -f "$content"' EXIT
for folder in tests/scenarios/*/ samples/; do
    bundle "${folder%/}" >"$content"
    for target in service service_files tool; do
        store "$target" "$max_bundle" "$content"
    done
done
while read -r file; do
    store document "$max_document" "$file"
    # Property lists and override data of the file.
    while read -r properties; do
        printf '%s' "$properties" >"$content"
        store properties "$max_document" "$content"
    done < <(tr -d '\n\t' <"$file" | sed -E 's|</properties>|&\n|g' |
        sed -nE 's|.*<properties>(.*)</properties>|\1|p')
    { grep -ozE '<overrides>.*</overrides>' "$file" || true; } | tr -d '\0' >"$content"
    [[ ! -s $content ]] || store overrides "$max_document" "$content"
done < <(find tests/scenarios samples -name '*.prefab' | sort)
while read -r file; do
    store overrides "$max_document" "$file"
done < <(find tests/scenarios samples -name '*.xml' | sort)

# One text of every scalar type.
while IFS= read -r text; do
    printf '%s' "$text" >"$seeds/scalars/$((++number))"
done <<'TEXT'
true
0
-1
127
-128
255
65535
2147483647
18446744073709551615
3.4028235e+38
-1.7976931348623157e+308
5e-324
inf
-inf
nan
a text
5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001
1 0 0 0 0 1 0 0 0 0 1 0 0.5 -2 1e-7 1
TEXT
