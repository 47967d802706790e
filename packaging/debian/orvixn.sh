#!/bin/sh
# Without ORVIXN_DIR orvixn takes the tables below the working directory. Where there are none, those
# of the package orvix-data are meant.
if [ -z "${ORVIXN_DIR+set}" ] && [ ! -d tab ]; then
    ORVIXN_DIR=/usr/share/orvixn
    export ORVIXN_DIR
fi
exec /usr/libexec/orvix/orvixn "$@"
