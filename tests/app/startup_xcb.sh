#!/bin/sh
# Starts the desktop program on a copy of the sample under a real X server
# (Xvfb) several times; every call to the page must be answered. Nested page
# calls stalled for ten seconds only with a real display, never offscreen.
# Usage: startup_xcb.sh PROGRAM SAMPLE_FOLDER ROUNDS
set -u
program=$1 sample=$2 rounds=${3:-5}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0
i=0
while [ "$i" -lt "$rounds" ]; do
    i=$((i + 1))
    rm -rf "$work/p" && cp -r "$sample" "$work/p"
    QT_QPA_PLATFORM=xcb xvfb-run -a -s "-screen 0 1280x900x24" \
        "$program" --screenshot "$work/shot.png" --topic topic1 "$work/p/sample.qly" >"$work/out" 2>"$work/err"
    rc=$?
    if [ "$rc" -ne 0 ] || grep -q "did not answer in time\|did not finish loading in time" "$work/err"; then
        echo "round $i: exit $rc"
        grep -E "did not|rror" "$work/err" | head -5
        status=1
    fi
done
exit $status
