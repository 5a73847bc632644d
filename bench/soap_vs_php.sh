#!/bin/bash
# Our SOAP.request side by side with PHP's ext/soap SoapClient, against one canned-reply server.
#
#   bench/soap_vs_php.sh [-r ROUNDS] [-s "SIZES"] [-t "STYLES"]
#
# For each style (encoded: rpc/encoded; literal: document/literal) and each size (structs
# {id, name, price, active} in the request and in the reply), the reply is generated once and
# served by `php -S` on a free port of 127.0.0.1. Then, ROUNDS times, our client (vellum-host run)
# and PHP's are run one after the other, each as a fresh process making two calls. Printed for
# each client: the first and the second call, min and median over the rounds, in ms, and the
# peak resident memory of the process (/usr/bin/time). The last line is the ratio of our best
# call to PHP's best at 10000 encoded structs (or at the last case run): below 1 we are faster.
#
# Defaults: 5 rounds (3 at 100000 structs and more), sizes "1000 10000 100000", both styles.
# BUILD names the build folder (default build).
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/.." && pwd)
build=${BUILD:-build}
case $build in /*) ;; *) build=$root/$build ;; esac
host=$build/vellum-host

rounds=
sizes="1000 10000 100000"
styles="encoded literal"
while getopts "r:s:t:h" option; do
    case $option in
    r) rounds=$OPTARG ;;
    s) sizes=$OPTARG ;;
    t) styles=$OPTARG ;;
    *) sed -n '2,16p' "$0" | sed 's/^# \{0,1\}//'; exit 2 ;;
    esac
done

for program in php python3 /usr/bin/time; do
    command -v "$program" >/dev/null || { echo "soap_vs_php: $program is missing" >&2; exit 1; }
done
php -r 'exit(class_exists("SoapClient") ? 0 : 1);' ||
    { echo "soap_vs_php: PHP has no soap extension (php-soap)" >&2; exit 1; }
[ -x "$host" ] || { echo "soap_vs_php: no $host; build first (make build)" >&2; exit 1; }

work=$(mktemp -d "${TMPDIR:-/tmp}/soap_vs_php.XXXXXX")
server=
cleanup() {
    if [ -n "$server" ]; then
        kill "$server" 2>/dev/null || true
        wait "$server" 2>/dev/null || true
    fi
    rm -rf "$work"
}
trap cleanup EXIT

port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
(cd "$work" && exec php -S "127.0.0.1:$port" "$here/soap_vs_php/router.php") \
    >"$work/server.log" 2>&1 &
server=$!
for _ in $(seq 100); do
    (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null && break
    sleep 0.1
done

# "MIN MEDIAN" of the numbers on standard input.
stats() {
    sort -n | awk '{ v[NR] = $1 } END {
        if (NR == 0) { print "- -"; exit }
        m = NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2
        printf "%.1f %.1f\n", v[1], m }'
}

# Runs one client process: "$1" is ours or php; writes "FIRST SECOND PEAK_KB" to standard out.
run_client() {
    local who=$1 style=$2 count=$3 url="http://127.0.0.1:$port/$2-$3" out=$work/client.out
    if [ "$who" = ours ]; then
        local encoded=true
        [ "$style" = literal ] && encoded=false
        { echo "var benchURL = \"$url\", benchEncoded = $encoded, benchCount = $count, benchCalls = 2;"
          cat "$here/soap_vs_php/client.js"; } >"$work/client.js"
        /usr/bin/time -f '%M' -o "$work/peak" "$host" --timeout 0 run "$work/client.js" >"$out"
    else
        /usr/bin/time -f '%M' -o "$work/peak" php -d memory_limit=-1 \
            "$here/soap_vs_php/client.php" "$url" "$style" "$count" 2 >"$out"
    fi
    local got
    got=$(awk '$1 == "call" { print $3 }' "$out" | sort -u)
    if [ "$got" != "$count" ]; then
        echo "soap_vs_php: $who $style $count: expected $count structs back, got:" >&2
        cat "$out" >&2
        exit 1
    fi
    echo "$(awk '$1 == "call" { printf "%s ", $2 }' "$out")$(tail -1 "$work/peak")"
}

printf '%-8s %7s %-5s %21s %21s %17s\n' style structs who "first call min/med" \
    "second call min/med" "peak MiB min/med"
summary=
for style in $styles; do
    for count in $sizes; do
        php "$here/soap_vs_php/reply.php" "$style" "$count" >"$work/reply-$style-$count.xml"
        n=${rounds:-$([ "$count" -ge 100000 ] && echo 3 || echo 5)}
        : >"$work/ours" && : >"$work/php"
        for _ in $(seq "$n"); do
            run_client ours "$style" "$count" >>"$work/ours"
            run_client php "$style" "$count" >>"$work/php"
        done
        for who in ours php; do
            first=$(awk '{ print $1 }' "$work/$who" | stats)
            second=$(awk '{ print $2 }' "$work/$who" | stats)
            peak=$(awk '{ print $3 / 1024 }' "$work/$who" | stats)
            printf '%-8s %7s %-5s %10s %10s %10s %10s %8s %8s\n' "$style" "$count" "$who" \
                $first $second $peak
        done
        best_ours=$(awk '{ print $1; print $2 }' "$work/ours" | sort -n | head -1)
        best_php=$(awk '{ print $1; print $2 }' "$work/php" | sort -n | head -1)
        line=$(awk -v o="$best_ours" -v p="$best_php" -v s="$style" -v c="$count" 'BEGIN {
            printf "ratio ours/PHP, best call, %s %s structs: %.2f (%.1f ms / %.1f ms)",
                   s, c, o / p, o, p }')
        # The case of the headline keeps the last line once it has run.
        if [ "$style $count" = "encoded 10000" ] || [ "${summary#*encoded 10000 }" = "$summary" ]; then
            summary=$line
        fi
    done
done
echo "$summary"
