#!/usr/bin/env bash
# The pages about the vlgim command are about this one. Usage: docs_test.sh PATH_OF_VLGIM
set -euo pipefail
vlgim=$1
docs=$(cd "$(dirname "$0")/../docs" && pwd)

"$vlgim" codes --markdown | diff "$docs/codes.md" - || { echo "FAILED: docs/codes.md is not of this program"; exit 1; }

commands=$("$vlgim" --help | sed -n '/^Subcommands:/,$s/^  \([a-z]*\) .*/\1/p')
[ "$(wc -w <<<"$commands")" -ge 6 ] || { echo "FAILED: which commands are there? $commands"; exit 1; }
for command in $commands; do
    grep -q "^\.It Cm $command$" "$docs/vlgim.1" || { echo "FAILED: the man page lacks $command"; exit 1; }
    help=$("$vlgim" "$command" --help)
    grep -q '^Examples:' <<<"$help" || { echo "FAILED: no examples in the help of $command"; exit 1; }
    grep -o '^  \(-[a-z],\)\?--[a-z-]*' <<<"$help" | sed 's/.*--/-/' | while read -r option; do
        grep -q "^\.It Fl \(. , \)\?$option\( \|$\)" "$docs/vlgim.1" ||
            { echo "FAILED: the man page lacks -$option of $command"; exit 1; }
    done
done
