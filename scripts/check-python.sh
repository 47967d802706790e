#!/bin/sh
# Format and lint of the Python sources (Debian: black, flake8; settings in pyproject.toml and .flake8).
# With "fix" the format is put right instead.
set -eu
cd "$(dirname "$0")/.."
paths="tools tests/tools python tests/python examples/python scripts"
if [ "${1:-}" = fix ]; then
    # shellcheck disable=SC2086  # the list is meant to be split
    black --quiet --config pyproject.toml $paths
else
    # shellcheck disable=SC2086
    black --quiet --check --diff --config pyproject.toml $paths
fi
# shellcheck disable=SC2086
flake8 $paths
