#!/usr/bin/env bash
# What a user sees: the whole conversation with a worker that works, and workers that do not.
set -euo pipefail
host=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$host" >"$work/out"
cat "$work/out"
cat >"$work/expected" <<'TEXT'
A worker runs, and made a renderer for us.
Values:      2 + 3 = 5
Texts:       a wave at exposure 0.25
Call back:   25% 50% 75% 100%, as the worker told an object of ours
Shared:      65536 samples in memory that both see, all right
Callers:     4 threads had 65536 samples rendered, all right
Stopped:     the worker ended by itself with code 0
Killed:      0%, then the worker was killed; its caller was told
Replaced:    the next one answers 42
TEXT
diff "$work/expected" "$work/out"

fails() {   # fails TEXT COMMAND...: one line that holds the text, and exit code 1
    local text=$1 code=0
    shift
    "$@" >"$work/out" 2>"$work/err" || code=$?
    cat "$work/err"
    [ "$code" -eq 1 ] && [ "$(wc -l <"$work/err")" -eq 1 ] && grep -q "$text" "$work/err"
}
fails 'is not there' "$host" "$work/none"
fails 'no answer came' "$host" /bin/true          # ends at once
fails 'no answer came' "$host" /bin/pwd           # prints words where objects should be
