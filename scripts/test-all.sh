#!/usr/bin/env bash
# Builds everything and runs every test: the development build (warnings as
# errors), the whole suite again under AddressSanitizer + UndefinedBehavior-
# Sanitizer, and the concurrency tests under ThreadSanitizer.
#   scripts/test-all.sh           all three
#   scripts/test-all.sh --quick   the development build only
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh

cmake --workflow --preset dev
if [ "${1:-}" = "--quick" ]; then
    exit 0
fi
cmake --workflow --preset asan-ubsan

cmake --preset tsan
cmake --build --preset tsan --target editing_tests
ctest --preset tsan -R 'Concurrent' --no-tests=error
