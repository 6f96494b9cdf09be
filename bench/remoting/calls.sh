#!/usr/bin/env bash
# The system calls of one call and its reply, both ends together, as strace counts them: bench/remoting/calls.sh after
# `./dev bench remoting`. Waits (poll, futex) are counted beside them.
set -euo pipefail
program=$(dirname "$0")/../../build/bench/bin/zvc_bench_remoting_calls
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

count() { strace -f -c -o "$work/$1" "$program" "$1"; }
count 1000
count 3000
awk '$NF ~ /^[a-z_0-9]+$/ && $4 ~ /^[0-9]+$/ { if (FNR == NR) few[$NF] = $4; else many[$NF] = $4 }
    END { for (name in many) { each = (many[name] - few[name]) / 2000; if (each >= 0.01) printf "%-12s %.2f a call\n", name, each } }' \
    "$work/1000" "$work/3000" | sort
