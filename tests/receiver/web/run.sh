#!/usr/bin/env bash
# run.sh MODULES TEST...: runs tests of the receiver's page and its server with Node.js.
#
# MODULES is the folder where `npm ci` put what package.json wants; ./dev does that. Without Node.js,
# the modules or a browser a test is left out: exit code 77.
set -euo pipefail
modules=$1
shift

leave_out() {
    printf 'left out: %s\n' "$1"
    exit 77
}

command -v node >/dev/null || leave_out "there is no Node.js"
if [[ $* != */server_test.js ]]; then
    [[ -d $modules/node_modules/playwright-core ]] || leave_out "npm ci has not been run in $modules"
    command -v chromium >/dev/null || leave_out "there is no Chromium"
fi
NODE_PATH="$modules/node_modules" exec node --test "$@"
