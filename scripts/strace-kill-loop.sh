#!/usr/bin/env bash
# Kills `mopac-input edit --in-place` with SIGKILL at each system call it
# makes from reading its file to exiting, one call per run, through strace's
# fault injection; after each kill one more run edits the same file. Counts
# what each kill left: the file's content (old, new or anything else), its
# owner and mode, and temporary files beside it, right after the kill and
# after the next run. The next run must leave no temporary file behind.
#   scripts/strace-kill-loop.sh [BUILD_DIR [RUNS]]   defaults: build/dev 200
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(cd "${1:-build/dev}" && pwd)
runs=${2:-200}
tool="$build/tools/mopac-input"
command -v strace > /dev/null || { echo "strace-kill-loop: no strace (scripts/deps.sh installs it)" >&2; exit 1; }

work=$(mktemp -d "${TMPDIR:-/tmp}/vesk-strace-kill-XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir "$work/dir"
target="$work/dir/job.mop"
printf 'PM7\ntitle\ncomment\nO 0 0 0\nH 0.96 0 0\nH -0.24 0.93 0\n' > "$work/old"
printf 'PM7 CHARGE=1\ntitle\ncomment\nO 0 0 0\nH 0.96 0 0\nH -0.24 0.93 0\n' > "$work/new"
# As root the file belongs to another user, so that the owner has to be
# given back (fchown) and a set-ID bit has to survive.
owner=$(id -u):$(id -g) mode=644
if [ "$(id -u)" -eq 0 ]; then owner=65534:65534 mode=4754; fi
edit=("$tool" edit --in-place "$target" --charge 1)

reset() {
    cp "$work/old" "$target"
    chown "$owner" "$target"
    chmod "$mode" "$target"
}
temporaries() { find "$work/dir" -name '.vesk-*.tmp' | wc -l; }

# One undisturbed run, traced: each call from the opening of the file on is
# one kill point, named by the call and its number among calls of that name.
reset
strace -f -qq -o "$work/trace" "${edit[@]}"
cmp -s "$target" "$work/new" || { echo "strace-kill-loop: the undisturbed edit failed" >&2; exit 1; }
cp "$work/trace" "${STRACE_KILL_LOOP_TRACE:-/dev/null}"
awk -v file="$target" '
    { sub(/^[0-9]+ +/, "") }
    /^[a-z_0-9]+\(/ {
        name = substr($0, 1, index($0, "(") - 1)
        count[name]++
        if (index($0, "\"" file "\"")) started = 1
        if (started) print name, count[name]
    }' "$work/trace" > "$work/points"
points=$(wc -l < "$work/points")
[ "$points" -gt 0 ] || { echo "strace-kill-loop: the trace never opens $target" >&2; exit 1; }

killed=0 old=0 new=0 other=0 owner_lost=0 after_kill=0 after_next=0 next_failed=0
declare -A names=()
for ((i = 0; i < runs; i++)); do
    read -r name nth < <(sed -n "$((i % points + 1))p" "$work/points")
    names[$name]=1
    reset
    status=0
    { strace -f -qq -o /dev/null -e trace="$name" -e inject="$name:signal=SIGKILL:when=$nth" "${edit[@]}"; } \
        2> /dev/null || status=$?
    [ "$status" -eq 137 ] && killed=$((killed + 1))
    if cmp -s "$target" "$work/old"; then old=$((old + 1))
    elif cmp -s "$target" "$work/new"; then new=$((new + 1))
    else other=$((other + 1)); fi
    [ "$(stat -c %u:%g:%a "$target")" = "$owner:$mode" ] || owner_lost=$((owner_lost + 1))
    after_kill=$((after_kill + $(temporaries)))
    "${edit[@]}" 2> /dev/null || next_failed=$((next_failed + 1))
    after_next=$((after_next + $(temporaries)))
    find "$work/dir" -name '.vesk-*.tmp' -delete
done

echo "strace-kill-loop: $runs runs over $points kill points (${#names[@]} system calls: ${!names[*]})"
echo "strace-kill-loop: killed $killed; file old $old, new $new, other $other; owner or mode lost $owner_lost"
echo "strace-kill-loop: temporary files right after the kill $after_kill, after the next run $after_next;" \
     "next runs failed $next_failed"
[ "$other" -eq 0 ] && [ "$owner_lost" -eq 0 ] && [ "$after_next" -eq 0 ] && [ "$next_failed" -eq 0 ]
