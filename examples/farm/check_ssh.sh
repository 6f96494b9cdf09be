#!/usr/bin/env bash
# Workers on another machine, which is this one: a real OpenSSH server on the loopback address, with keys of its own.
set -euo pipefail
farm=$1
launcher=$(dirname "$(realpath "$0")")/launch/ssh
work=$(mktemp -d)
servers=()
end() {
    for server in "${servers[@]}"; do kill "$server" 2>/dev/null || true; done
    rm -rf "$work"
}
trap end EXIT
cd "$work"

sshd=$(command -v sshd || echo /usr/sbin/sshd)
ssh-keygen -q -t ed25519 -N '' -f host_key
ssh-keygen -q -t ed25519 -N '' -f user_key
cp user_key.pub authorized
[ "$(id -u)" -ne 0 ] || mkdir -p /run/sshd              # root's server wants it

# serve PORT [COMMAND...]: a server on that port, under a command; false when there is none after a while
serve() {
    local port=$1
    shift
    cat >"sshd_$port" <<CONFIG
Port $port
ListenAddress 127.0.0.1
HostKey $work/host_key
AuthorizedKeysFile $work/authorized
PidFile $work/pid_$port
PermitRootLogin yes
PasswordAuthentication no
UsePAM no
StrictModes no
CONFIG
    "$@" "$sshd" -D -e -f "$work/sshd_$port" 2>"log_$port" &
    local server=$!
    for _ in $(seq 100); do
        if ssh -F client -p "$port" 127.0.0.1 true 2>/dev/null; then
            servers+=("$server")
            return 0
        fi
        kill -0 "$server" 2>/dev/null || break
        sleep 0.1
    done
    kill "$server" 2>/dev/null || true
    wait "$server" 2>/dev/null || true
    return 1
}
cat >client <<CONFIG
IdentityFile $work/user_key
IdentitiesOnly yes
UserKnownHostsFile /dev/null
StrictHostKeyChecking no
LogLevel ERROR
BatchMode yes
CONFIG
free_port() {   # a port that nobody answers at
    local port
    while :; do
        port=$((20000 + RANDOM % 20000))
        (: </dev/tcp/127.0.0.1/$port) 2>/dev/null || break
    done
    echo $port
}

cat >scene.farm <<'SCENE'
picture 64 48
samples 16
camera eye 0 2 8 target 0 0 0 angle 40
sun direction 1 2 1 colour 0.5 0.5 0.5 size 4
material grey colour 0.5 0.5 0.5
sheet grey corner -9 0 -9 edge 0 0 18 edge 18 0 0
sheet grey corner -1 1 -1 edge 0 0 1 edge 1 1 0
SCENE
"$farm" -w 1 -o here scene.farm >/dev/null

port=$(free_port)
serve "$port" || { cat "log_$port"; exit 1; }
export FARM_SSH_OPTIONS="-F $work/client -p $port"
echo "== a server on this machine: memory is shared, and the worker finds it"
"$farm" -l "$launcher" -H 127.0.0.1:2 -t 8 -o there scene.farm | tee table
grep -q '^worker 1 on 127.0.0.1 .*in shared memory' table
cmp here.png there.png

echo "== the same by value"
"$farm" -l "$launcher" -H 127.0.0.1:2 -t 8 --by-value -o value scene.farm | tee table
grep -q '^worker . on 127.0.0.1 .*by value' table
cmp here.png value.png

echo "== Ctrl-C ends the workers at the other end"
mkdir -p "it's here"
for part in farm_worker farm_scene.so; do ln -s "$(dirname "$farm")/$part" "it's here/$part"; done
"$farm" -l "$launcher" -H 127.0.0.1:2 -W "$work/it's here/farm_worker" -t 8 -n 4000 -o cut scene.farm >/dev/null 2>err &
host=$!
until [ "$(cat cut.log 2>/dev/null | grep -c ' rendered ')" -ge 3 ]; do sleep 0.02; done
kill -INT $host
code=0
wait $host || code=$?
[ $code -eq 130 ] && [ -s cut.png ]
for _ in $(seq 100); do
    grep -qsa "[i]t's here/farm_worker" /proc/[0-9]*/cmdline || break
    sleep 0.1
done
! grep -sa "[i]t's here/farm_worker" /proc/[0-9]*/cmdline

echo "== what ssh says comes to the host"
code=0
FARM_SSH_OPTIONS="-F $work/client -p 1" "$farm" -l "$launcher" -H 127.0.0.1 -o none scene.farm >out 2>err || code=$?
cat err
[ $code -eq 1 ] && grep -q 'worker 1 on 127.0.0.1 did not start (.*Connection refused' err

echo "== a server that does not share memory: the tiles come by value"
port=$(free_port)
if unshare --ipc true 2>/dev/null && serve "$port" unshare --ipc; then
    export FARM_SSH_OPTIONS="-F $work/client -p $port"
    "$farm" -l "$launcher" -H 127.0.0.1:2 -t 8 -o apart scene.farm | tee table
    grep -q '^worker . on 127.0.0.1 .*by value' table
    ! grep -q 'in shared memory' table
    cmp here.png apart.png
else
    echo "not possible here: this system gives out no name spaces"
fi
