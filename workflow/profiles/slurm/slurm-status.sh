#!/bin/sh
# State of the Slurm job $1 in Snakemake's words: running, success or failed. Needs no accounting
# data base: the controller itself remembers a job for some minutes after its end.
state=$(scontrol --oneliner show job "$1" 2>/dev/null |
    sed -n 's/.* JobState=\([A-Z_]*\).*/\1/p' | head -n 1)
case $state in
COMPLETED) echo success ;;
PENDING | CONFIGURING | RUNNING | SUSPENDED | COMPLETING | REQUEUED | RESIZING | STAGE_OUT) echo running ;;
"")
    # While the controller does not answer nothing is known; a job that it has forgotten is begun
    # again, which costs little when it was done.
    if scontrol ping 2>/dev/null | grep -q "is UP"; then echo failed; else echo running; fi
    ;;
*) echo failed ;;
esac
