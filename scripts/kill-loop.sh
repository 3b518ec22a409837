#!/usr/bin/env bash
# Kills a writer with SIGKILL at random moments while it replaces a big file
# through write_text_file_atomic, then counts what the target held after each
# kill (the old content, the new one, or anything else) and the files left
# beside it. Every kill should leave the old or the new content, and one
# more write nothing else in the directory.
#   scripts/kill-loop.sh [BUILD_DIR [ROUNDS [MEBIBYTES]]]   defaults: build/dev 200 50
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(cd "${1:-build/dev}" && pwd)
rounds=${2:-200}
mib=${3:-50}

work=$(mktemp -d "${TMPDIR:-/tmp}/vesk-kill-loop-XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir "$work/out"

# The writer: fills PATH with SIZE copies of BYTE.
cat > "$work/writer.cpp" <<'EOF'
#include <cstdlib>
#include <string>
#include "vesk/core/fs.hpp"
int main(int, char** argv) {
    const std::string content(std::strtoul(argv[3], nullptr, 10), argv[2][0]);
    return vesk::core::fs::write_text_file_atomic(argv[1], content) ? 0 : 1;
}
EOF
"${CXX:-c++}" -std=c++17 -O2 -Iinclude "$work/writer.cpp" -o "$work/writer" \
    -L"$build/src" -lvesk_core_fs -Wl,-rpath,"$build/src"

size=$((mib * 1024 * 1024))
target="$work/out/target.mop"
"$work/writer" "$work/old" o "$size"
"$work/writer" "$work/new" n "$size"

# One undisturbed write sets the range of the random kill times.
cp "$work/old" "$target"
start=$(date +%s%N)
"$work/writer" "$target" n "$size"
span_ms=$(( ($(date +%s%N) - start) / 1000000 + 1 ))

old=0 new=0 mixed=0 leftover=0
for ((i = 0; i < rounds; i++)); do
    cp "$work/old" "$target"
    "$work/writer" "$target" n "$size" &
    pid=$!
    sleep "$(awk -v ms=$((RANDOM % (span_ms * 5 / 4 + 1))) 'BEGIN { printf "%.3f", ms / 1000 }')"
    kill -KILL "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
    if cmp -s "$target" "$work/old"; then old=$((old + 1))
    elif cmp -s "$target" "$work/new"; then new=$((new + 1))
    else mixed=$((mixed + 1)); fi
    # What this kill left is for the next write in the directory to remove.
    for f in "$work"/out/* "$work"/out/.[!.]*; do
        if [ -e "$f" ] && [ "$f" != "$target" ]; then leftover=$((leftover + 1)); fi
    done
done
"$work/writer" "$target" n 1
remaining=0
for f in "$work"/out/* "$work"/out/.[!.]*; do
    if [ -e "$f" ] && [ "$f" != "$target" ]; then remaining=$((remaining + 1)); fi
done

echo "kill-loop: $rounds kills of a ${mib} MiB write (one write takes ${span_ms} ms)"
echo "kill-loop: old $old, new $new, mixed $mixed; temporaries seen after a kill $leftover, after one more write $remaining"
[ "$mixed" -eq 0 ] && [ "$remaining" -eq 0 ]
