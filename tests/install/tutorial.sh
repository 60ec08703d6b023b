#!/bin/sh
# Does what a tutorial says, in an empty folder, and compares what its commands print with what it shows. Needs a way to
# the library and the command in the environment.
#
#     tutorial.sh TUTORIAL.md FOLDER
set -eu

tutorial=$(readlink -f "$1")
maker=$(dirname "$(readlink -f "$0")")/tutorial.awk
rm -rf "$2"
mkdir -p "$2/work"
cd "$2"
step=$PWD/step
expected=$PWD/expected
output=$PWD/output
steps=0

# In this very shell, so that `cd` lasts, and like a terminal, which goes on after a failure.
step() {
    steps=$((steps + 1))
    set +e
    # shellcheck source=/dev/null
    . "$step" >"$output" 2>&1
    status=$?
    set -e
    if [ $status != 0 ]; then
        echo "$tutorial:$1: the command failed:" >&2
        cat "$output" >&2
        exit 1
    fi
    if [ -e "$expected" ] && ! diff "$expected" "$output" >&2; then
        echo "$tutorial:$1: the command printed what is marked \">\"" >&2
        exit 1
    fi
}

awk -f "$maker" "$tutorial" >script
cd work
. ../script
if [ "$steps" = 0 ]; then
    echo "$tutorial has no commands" >&2
    exit 1
fi
echo "$steps commands did what $tutorial says."
