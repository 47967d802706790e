#!/usr/bin/env bash
# The workflow on a cluster of one node, on loopback: 60 proteins in parts, one of which is killed
# in the middle and begun again, against one process, byte for byte. Once as a plain job array and
# once through Snakemake. Starts munged, slurmctld and slurmd of its own, as root.
# Use: cluster.sh ORVIX SOURCE; status 77 without the packages slurm-wlm, munge, snakemake
set -euo pipefail
orvix=$1 source=$2
for program in munged slurmctld slurmd sbatch snakemake; do
    PATH=$PATH:/usr/sbin command -v $program >/dev/null || {
        echo "$program is missing"
        exit 77
    }
done
[ "$(id -u)" -eq 0 ] || {
    echo "starting a cluster needs root"
    exit 77
}
export PATH=$PATH:/usr/sbin
place=$(mktemp -d "${TMPDIR:-/tmp}/orvix cluster.XXXXXX")
# The daemons' own paths may not hold blanks.
daemons=$(mktemp -d /tmp/orvix-slurm.XXXXXX)
export SLURM_CONF=$daemons/slurm.conf
munge_pid="" control_pid="" node_pid=""
end() {
    for pid in $node_pid $control_pid $munge_pid; do
        kill "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
    rm -rf "$place" "$daemons"
}
trap end EXIT
fail() {
    echo "cluster: $*" >&2
    tail -n 20 "$daemons"/*.log >&2 || true
    exit 1
}

# The cluster.
host=$(hostname -s)
mkdir -p "$daemons/state" "$daemons/spool"
dd if=/dev/urandom of="$daemons/munge.key" bs=128 count=1 2>/dev/null
chmod 700 "$daemons"
chmod 600 "$daemons/munge.key"
munged --foreground --force --num-threads=1 --key-file="$daemons/munge.key" \
    --socket="$daemons/munge.socket" --pid-file="$daemons/munge.pid" \
    --log-file="$daemons/munged.log" --seed-file="$daemons/munge.seed" >/dev/null 2>&1 &
munge_pid=$!
cat >"$SLURM_CONF" <<END
ClusterName=one
SlurmctldHost=$host(127.0.0.1)
SlurmUser=root
SlurmctldPort=36817
SlurmdPort=36818
AuthType=auth/munge
AuthInfo=socket=$daemons/munge.socket
CredType=cred/munge
StateSaveLocation=$daemons/state
SlurmdSpoolDir=$daemons/spool
SlurmctldPidFile=$daemons/slurmctld.pid
SlurmdPidFile=$daemons/slurmd.pid
SlurmctldLogFile=$daemons/slurmctld.log
SlurmdLogFile=$daemons/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
MpiDefault=none
ReturnToService=2
SchedulerType=sched/builtin
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
NodeName=$host NodeAddr=127.0.0.1 CPUs=$(nproc) State=UNKNOWN
PartitionName=all Nodes=$host Default=YES MaxTime=INFINITE State=UP
END
slurmctld -D -c >/dev/null 2>&1 &
control_pid=$!
slurmd -D -N "$host" >/dev/null 2>&1 &
node_pid=$!
for _ in $(seq 60); do
    sinfo -h -o %t 2>/dev/null | grep -q idle && break
    sleep 1
done
sinfo -h -o %t 2>/dev/null | grep -q idle || {
    echo "no cluster comes up on this machine"
    tail -n 5 "$daemons"/*.log
    exit 77
}

# 60 proteins: pieces of the two bundled examples, each of another length.
cd "$place"
mkdir proteins
for k in $(seq 30); do
    for name in ci2 fgf2; do
        awk -v first="$k" -v last=$((k + 33)) '
            /^ *[0-9]+ / && ($1 < first || $1 > last) { next } { print }
        ' "$source/examples/$name.tab" >"proteins/$name-$k.tab"
    done
done
printf '%s\n' proteins/*.tab >jobs.txt
[ "$(wc -l <jobs.txt)" -eq 60 ] || fail "no 60 proteins"
"$orvix" batch --manifest jobs.txt -o one --quiet
"$orvix" collect one/predictions.sqlite --export csv one-tables

# Waits until part $2 of the batch $1 has results but is not through, and kills all of its job $3.
kill_in_the_middle() {
    local done_jobs=0
    for _ in $(seq 600); do
        done_jobs=$({ find "$1" -maxdepth 2 -name results.json 2>/dev/null || true; } | wc -l)
        [ "$done_jobs" -ge "$2" ] && break
        sleep 0.1
    done
    [ "$done_jobs" -ge "$2" ] && [ "$done_jobs" -lt 60 ] || fail "$done_jobs results, none to kill"
    scancel --signal=KILL --full "$3"
}
same_as_one() {
    diff -r -x .snakemake_timestamp one-tables "$1/tables" || fail "$1: other tables than one process"
    while read -r file; do
        name=$(basename "$file" .tab)
        diff -r "one/$name" "$1/$name" || fail "$1: $name differs"
    done <jobs.txt
}
wait_for_jobs() {
    for _ in $(seq 600); do
        [ -z "$(squeue -h)" ] && return
        sleep 0.5
    done
    fail "jobs do not end"
}

# The plain array.
export ORVIX=$orvix
job=$(sbatch --parsable --array=1-3 --cpus-per-task=1 --mem=0 --output="$place/array-%a.log" \
    "$source/workflow/slurm/array.sh" jobs.txt array)
kill_in_the_middle array 5 "${job}_1"
wait_for_jobs
[ "$(find array -maxdepth 2 -name results.json | wc -l)" -lt 60 ] || fail "nothing was killed"
PARTS=3 sbatch --wait --array=1 --cpus-per-task=1 --mem=0 --output="$place/array-again.log" \
    "$source/workflow/slurm/array.sh" jobs.txt array >/dev/null || fail "$(cat array-again.log)"
"$orvix" collect array/predictions-*-of-3.sqlite -o array/all.sqlite --export csv array/tables
same_as_one array
echo "array of 3 parts, one killed and begun again: as one process"

# Snakemake: it sees itself that a part's job died, and begins it again. It does not stand a blank in
# the path of a profile, which the checkout's may have.
cp -r "$source/workflow" "$daemons/workflow"
snakemake --snakefile "$daemons/workflow/Snakefile" --profile "$daemons/workflow/profiles/slurm" \
    --config manifest=jobs.txt output=snake shards=3 threads=1 orvix="$orvix" \
    --default-resources mem_mb=1 runtime=10 --latency-wait 5 >snakemake.log 2>&1 &
snake_pid=$!
for _ in $(seq 300); do
    job=$(squeue -h -t RUNNING -o %i | head -n 1)
    [ -n "$job" ] && break
    kill -0 $snake_pid 2>/dev/null || fail "$(tail -n 30 snakemake.log)"
    sleep 0.2
done
kill_in_the_middle snake 5 "$job"
wait $snake_pid || fail "$(tail -n 30 snakemake.log)"
grep -q "Error in rule part" snakemake.log || fail "nothing was killed"
same_as_one snake
echo "snakemake, one part's job killed: as one process"
