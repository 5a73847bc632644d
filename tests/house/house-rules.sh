#!/bin/bash
# The house rules of the source tree, one check per name; ctest runs each as house.<check>.
#
#   house-rules.sh ROOT CHECK
#
# Prints one line per breach ("file:line: what") and exits 1 when there is any, 0 otherwise,
# 2 when it is called wrongly. Tests (tests/), benchmarks (bench/) and fuzz targets (fuzz/)
# are exempt: they put the pieces together from outside.
#
# Checks:
#   layers        every folder includes only itself and the folders below it; host/ only
#                 itself and the few frame/ headers that make the host interfaces
#   engine-table  only the script bridge (values/) and the host's engine (host/script/) name the
#                 raw engine table gESHFT; frame/ only acquires it. Everything else goes through
#                 the CES wrappers.

set -u

if [ $# -ne 2 ] || [ ! -d "$1" ]; then
    echo "usage: $0 ROOT CHECK" >&2
    exit 2
fi
root=$1
check=$2

# The plug-in's folders, lowest first. The Tracker, discovery, script dialogs and instances build
# on the feed store, so rss/ sits below them. Folders that share an entry stand side by side and
# do not include each other; plugin/ puts them all together.
levels=(frame values xml soap rss "tracker discovery scriptui instances" plugin)
# What host/ may include besides itself: the host interfaces, the host error and the UTF-8
# codec.
host_allowed=(frame/host/ frame/HostError.h frame/UTF8.h)
exempt=(tests bench fuzz)

breaches=0
breach() {
    echo "$*"
    breaches=$((breaches + 1))
}

# "file:line:included" for every quoted include of a C++ file under the folder.
includes_of() {
    (cd "$root" && grep -rnE --include='*.h' --include='*.hpp' --include='*.cpp' --include='*.inc' \
        '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' "$1") |
        sed -E 's/^([^:]*:[0-9]+):[[:space:]]*#[[:space:]]*include[[:space:]]*"([^"]*)".*/\1:\2/'
}

level_of() {
    local i
    for i in "${!levels[@]}"; do
        for folder in ${levels[$i]}; do
            if [ "$folder" = "$1" ]; then
                echo "$i"
                return
            fi
        done
    done
}

# True when a top folder holds C++ sources and so has to have a place in the rules.
holds_code() {
    [ -n "$(cd "$root" && find "$1" -type f \( -name '*.h' -o -name '*.hpp' -o -name '*.cpp' \
        -o -name '*.inc' \) -print -quit)" ]
}

check_layers() {
    local top folder level line where included target target_level allowed prefix
    for top in "$root"/*/; do
        folder=$(basename "$top")
        # Build trees live beside the sources.
        [ -e "$top/CMakeCache.txt" ] && continue
        [[ " ${exempt[*]} " == *" $folder "* ]] && continue
        holds_code "$folder" || continue
        level=$(level_of "$folder")
        if [ "$folder" != host ] && [ -z "$level" ]; then
            breach "$folder/: a folder of code with no place among: ${levels[*]}, host"
            continue
        fi
        while IFS= read -r line; do
            where=${line%:*}
            included=${line##*:}
            # An include without a folder names a file beside the includer.
            [[ "$included" == */* ]] || continue
            target=${included%%/*}
            if [ "$folder" = host ]; then
                [ "$target" = host ] && continue
                allowed=no
                for prefix in "${host_allowed[@]}"; do
                    if [[ "$prefix" == */ && "$included" == "$prefix"* ]] ||
                        [ "$included" = "$prefix" ]; then
                        allowed=yes
                    fi
                done
                [ "$allowed" = yes ] || breach "$where: host/ includes $included;" \
                    "it sees only host/ and ${host_allowed[*]}"
                continue
            fi
            [ "$target" = "$folder" ] && continue
            target_level=$(level_of "$target")
            if [ -z "$target_level" ] || [ "$target_level" -ge "$level" ]; then
                breach "$where: $folder/ includes $included, which is not below it"
            fi
        done < <(includes_of "$folder")
    done
}

check_engine_table() {
    local top folder line
    for top in "$root"/*/; do
        folder=$(basename "$top")
        [ -e "$top/CMakeCache.txt" ] && continue
        [[ " ${exempt[*]} " == *" $folder "* ]] && continue
        case $folder in frame | values) continue ;; esac
        while IFS= read -r line; do
            [[ "$line" == host/script/* ]] && continue
            breach "${line%%:*}:$(echo "$line" | cut -d: -f2): names the raw engine table;" \
                "use the CES wrappers of values/"
        done < <(cd "$root" && grep -rnwE --include='*.h' --include='*.hpp' --include='*.cpp' \
            --include='*.inc' 'gESHFT' "$folder")
    done
}

case $check in
layers) check_layers ;;
engine-table) check_engine_table ;;
*)
    echo "$0: no check named $check" >&2
    exit 2
    ;;
esac

[ "$breaches" -eq 0 ]
