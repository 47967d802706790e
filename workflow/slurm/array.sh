#!/bin/bash
#SBATCH --job-name=orvix
#SBATCH --cpus-per-task=2
#SBATCH --mem=2G
#SBATCH --time=04:00:00
#SBATCH --requeue
# The parts of a batch as tasks of a job array, without a workflow program:
#
#   sbatch --array=1-50 workflow/slurm/array.sh jobs.txt predicted [options of orvix batch]
#
# Begun again, by Slurm after the loss of a machine or by hand, a part goes on where it ended. One
# part of 50 by hand: PARTS=50 sbatch --array=7 workflow/slurm/array.sh jobs.txt predicted
# When all are through:
#
#   orvix collect predicted/predictions-*.sqlite -o predicted/all.sqlite --export csv predicted/tables
set -u
if [ $# -lt 2 ] || [ -z "${SLURM_ARRAY_TASK_ID:-}" ]; then
    echo "Use: sbatch --array=1-N $0 MANIFEST OUTPUT [options of orvix batch]" >&2
    exit 2
fi
manifest=$1 output=$2
shift 2
srun --kill-on-bad-exit "${ORVIX:-orvix}" batch --manifest "$manifest" -o "$output" \
    --shard "$SLURM_ARRAY_TASK_ID/${PARTS:-$SLURM_ARRAY_TASK_COUNT}" \
    --jobs "${SLURM_CPUS_PER_TASK:-1}" --quiet "$@"
status=$?
# Some inputs failed; the lists of failures name them. The batch itself is done.
[ $status -eq 5 ] && exit 0
exit $status
