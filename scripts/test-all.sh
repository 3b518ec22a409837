#!/usr/bin/env bash
# Builds everything and runs every test: the development build (warnings as
# errors) and the whole suite again under AddressSanitizer + UndefinedBehavior-
# Sanitizer.
#   scripts/test-all.sh           both
#   scripts/test-all.sh --quick   the development build only
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh

cmake --workflow --preset dev
if [ "${1:-}" = "--quick" ]; then
    exit 0
fi
# Edits in place killed at each of their system calls leave no temporary file
# once the next run has been.
bash scripts/strace-kill-loop.sh build/dev 200
cmake --workflow --preset asan-ubsan
