#!/usr/bin/env bash
# What a user sees: pictures that are the same however they came about, and scenes and workers that are not as they should be.
set -euo pipefail
farm=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# A pyramid on a table, with all kinds of materials and lights.
printf 'v -1 0 -1\nv 1 0 -1\nv 1 0 1\nv -1 0 1\nv 0 2 0\nf 1 2 3 4\nf 1 5 2\nf 2 5 3\nf 3 5 4\nf 4 5 1\n' >pyramid.obj
cat >scene.farm <<'SCENE'
picture 96 64
samples 8
camera eye 0 2 8 target 0 1 0 angle 30
sky horizon 0.5 0.5 0.6 zenith 0.1 0.2 0.5
sun direction 1 2 1 colour 0.8 0.8 0.7 size 4
material grey colour 0.5 0.5 0.5
material mirror colour 0.9 0.9 0.9 mirror
material lamp colour 0 0 0 glow 5 4 3
sheet grey corner -9 0 -9 edge 0 0 18 edge 18 0 0
sheet lamp corner -1 4 -1 edge 0 0 1 edge 1 0 0
mesh pyramid.obj grey height 1.5 at -1 0 0 turn 20
mesh pyramid.obj mirror height 2 at 1 0 -1
SCENE

children() { cat /proc/"$1"/task/*/children 2>/dev/null || true; }
when_tiles() {   # when_tiles NAME COUNT: waits until so many tiles of a job are there
    until [ "$(cat "$1.log" 2>/dev/null | grep -c ' rendered ')" -ge "$2" ]; do sleep 0.02; done
}
nothing_left() {   # nothing_left PID: no worker and no file of that host
    for pid in $workers; do [ ! -e "/proc/$pid" ] || { echo "worker $pid is still there"; return 1; }; done
    ! ls -d "${TMPDIR:-/tmp}/zvc-farm-$1"-* 2>/dev/null
}

echo "== the same bits for any number of workers, however the tiles travel, and from the document"
"$farm" -w 1 -o one scene.farm | tee table
grep -q '^worker 1 .*in shared memory' table
[ -s one-small.png ] && [ -s one.log ]
"$farm" -w 2 -t 7 -o two scene.farm >/dev/null
"$farm" -w 3 -o three scene.farm >/dev/null
"$farm" -w 2 --by-value -o value scene.farm | tee table
grep -q '^worker 1 .*by value' table
"$farm" -w 2 -o again one.zvc.gz >/dev/null
for other in two three value again; do cmp one.png "$other.png"; cmp one-small.png "$other-small.png"; done
"$farm" -w 2 -n 200 -o long scene.farm >/dev/null

echo "== a worker that is killed, and one that hangs: nothing is missing"
for how in "KILL 2 60" "STOP 1 8"; do
    read -r signal count patience <<<"$how"
    rm -f lost.log lost.png
    "$farm" -w "$count" -n 200 -t 8 -p "$patience" -o lost scene.farm >table 2>err &
    host=$!
    when_tiles lost 5
    workers=$(children $host)
    kill -$signal ${workers%% *}
    wait $host
    cat err
    grep -q "worker . \(ended without an answer\|did not answer in time\)" err
    grep -q '^worker . *2 ' table                       # two were started in one of the places
    cmp long.png lost.png
    nothing_left $host
done

echo "== Ctrl-C: what there is is saved, and nobody stays behind"
"$farm" -w 2 -n 2000 -t 8 -o cut scene.farm >table 2>err &
host=$!
when_tiles cut 5
workers=$(children $host)
kill -INT $host
code=0
wait $host || code=$?
[ $code -eq 130 ]
grep -q interrupted err
[ -s cut.png ] && [ -s cut-small.png ] && [ -s cut.zvc.gz ]
grep -q ' of 96 tiles' cut.log
nothing_left $host

echo "== twice Ctrl-C: nothing is waited for"
"$farm" -w 1 -n 1000000 -t 64 -o twice scene.farm >table 2>err &
host=$!
until workers=$(children $host) && [ -n "$workers" ]; do sleep 0.02; done
kill -INT $host
until grep -q interrupted err; do sleep 0.02; done
kill -INT $host
code=0
wait $host || code=$?
[ $code -eq 130 ] && [ -s twice.png ]
nothing_left $host

echo "== a host that is killed takes its workers along"
"$farm" -w 2 -n 2000 -t 8 -o dead scene.farm >table 2>err &
host=$!
when_tiles dead 5
workers=$(children $host)
kill -KILL $host
wait $host 2>/dev/null || true
for pid in $workers; do while [ -e "/proc/$pid" ]; do sleep 0.02; done; done
rm -rf "${TMPDIR:-/tmp}/zvc-farm-$host"-*

echo "== a terminal gets one line that changes"
TERM=xterm script -qec "'$farm' -w 1 -n 50 -o tty scene.farm" /dev/null >tty.out
grep -q $'\r[ 0-9]* %.*left' tty.out

echo "== one clear line and exit code 1"
fails() {   # fails TEXT ARGUMENTS...
    local text=$1 code=0
    shift
    "$farm" "$@" >out 2>err || code=$?
    cat err
    [ "$code" -eq 1 ] && [ "$(wc -l <err)" -eq 1 ] && grep -q -- "$text" err
}
fails 'cannot be opened' none.farm
fails 'no scene is named' -w 2
fails '"-x" is not understood' -x scene.farm
fails 'takes a number' -w none scene.farm
fails 'takes an operand' scene.farm -w
fails 'takes a size' -s 12 scene.farm
fails '"sharp" is no filter' -f sharp scene.farm
fails 'hosts need a launcher' -H here scene.farm
fails 'is not there' -l ./none scene.farm
fails 'none/at is no folder' -o none/at/all scene.farm
line() { printf '%s\n' "$1" >bad.farm; fails "bad.farm$2" bad.farm; }
line 'hello' ', line 1: "hello" is no word that begins a line'
line 'picture 10' ', line 1: a number is missing'
line 'picture 0 10' ', line 1: a number from 1 to 16384'
line 'picture 10 10 10' ', line 1: "10" has no place here'
line 'camera eye 0 0 x' ', line 1: "x" is no number'
line 'material grey colour 1 -1 1' ', line 1: no part of a colour is below 0'
line 'mesh pyramid.obj grey' ', line 1: there is no material "grey" above'
line $'material grey\nmesh none.obj grey' ', line 2: none.obj cannot be opened'
line $'material grey\nmesh bad.farm grey' ', line 2: bad.farm holds no faces'
line '# nothing' ': holds nothing to be seen'
gzip -c scene.farm >bad.gz
fails 'bad.gz: is no document' bad.gz
head -c 500 one.zvc.gz >bad.gz
fails 'bad.gz: is no document' bad.gz

echo "== no worker at all"
code=0
"$farm" -w 1 -W /bin/false -o no scene.farm >out 2>err || code=$?
cat err
[ $code -eq 1 ]
grep -q 'worker 1 is given up' err
grep -q 'no worker is left, and 6 of 6 tiles are missing' err
