#!/usr/bin/env bash
# Runs the commands of docs/integration.md. Succeeds if the platform started, received the arguments of the
# second start and ended on request.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

commands=build/guide.sh
{
    echo 'set -euo pipefail'
    awk '/^```sh$/ { inside = 1; next } /^```$/ { inside = 0 } inside' docs/integration.md
} >"$commands"
output=build/guide.log
give_up() {
    cat "$output"
    echo "$*"
    ./cmake/wine-run.sh 'C:\Guide\framework\Client\zel\zellauncher.exe' -exit 0 >/dev/null 2>&1 || true
    exit 1
}

timeout 300 bash "$commands" >"$output" 2>&1 || give_up "A command of the guide failed."
for line in 'ZLNCH0304I: We are main process' 'framework=org.eclipse.osgi ' '-open' 'C:\notes.txt' 'exit=0'; do
    grep -qF -- "$line" "$output" || give_up "The guide's commands did not print: $line"
done
