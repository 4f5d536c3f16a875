#!/usr/bin/env bash
# Says which faults the tests would not notice. Each patch of tests/mutants/AREA/NAME.patch puts one fault into the
# program; the test programs that it names are built and run, and every one of them has to fail.
#
#     scripts/mutate.sh                     all of them, which takes hours on two cores
#     scripts/mutate.sh mesh store          those of two areas
#     scripts/mutate.sh mesh/link-condition eval
#     scripts/mutate.sh --list [...]        names and says what they break; builds nothing
#
# Status: 0 all are noticed, 1 one survives, 2 something else is wrong: a patch that no longer applies or no longer
# compiles, a test program that fails without it, a mutant marked as equivalent that is noticed.
#
# A patch begins with lines that say what it is, and changes one file of src/:
#
#     Breaks: what no longer holds
#     Tests: tst_One tst_Other
#     Equivalent: why no test can tell (only where that is so)
#
# The work is done in a worktree in build/mutate/ (MUTATE_DIR), which stays for the next run; JOBS (1) is how many
# compilers run at a time. It holds the last commit with the changes to tracked files, so a new test has to be added
# before it counts.
set -euo pipefail
cd "$(dirname "$0")/.."
source_tree=$PWD
work=${MUTATE_DIR:-$source_tree/build/mutate}
mutants=$work/patches # copies, so that editing one does no harm while this runs
tree=$work/tree
log=$work/log
mostMemory=8000000 # KiB; a mutant that eats all memory is noticed by this
declare -A usual   # seconds that each test program takes; a mutant that hangs is noticed by ten times as many

die() { echo "mutate.sh: $*" >&2; exit 2; }
field() { sed -n "/^---/q; s/^$2: //p" "$1"; }
name_of() { local name=${1#"$mutants"/}; echo "${name%.patch}"; }

chosen() {
    [ $# -gt 0 ] || set -- ""
    for argument; do
        local path=$mutants/${argument%.patch}
        if [ -d "$path" ]; then find "$path" -name '*.patch' | sort
        elif [ -f "$path.patch" ]; then echo "$path.patch"
        else die "there is no mutant and no area \"$argument\" in tests/mutants"
        fi
    done
}

# The file that a patch changes, also when it was moved to another folder since.
target_of() {
    local path found
    path=$(sed -n 's/^+++ b\///p' "$1")
    if [ ! -f "$path" ]; then
        found=$(git ls-files "src/*/${path##*/}")
        [ "$(wc -l <<<"$found")" -eq 1 ] && path=$found
    fi
    echo "$path"
}

# Each context is two lines; the changed lines themselves have to be there.
apply() { patch --quiet --force --fuzz=1 --no-backup-if-mismatch "$(target_of "$1")" < "$1" > "$log" 2>&1; }
restore() { git -C "$tree" reset --quiet --hard; }

prepare_tree() {
    local commit
    commit=$(git stash create)
    [ -e "$tree/.git" ] || git worktree add --quiet --force --detach "$tree" HEAD
    trap restore EXIT
    trap 'exit 130' INT TERM
    restore
    git -C "$tree" checkout --quiet --detach "${commit:-$(git rev-parse HEAD)}"
    git -C "$tree" clean --quiet -d --force
}

check_patches() {
    local patch bad=0
    for patch; do
        [ -n "$(field "$patch" Breaks)" ] && [ -n "$(field "$patch" Tests)" ] ||
            die "$patch does not say what it breaks and which tests notice"
        apply "$patch" || { echo "DOES NOT APPLY  $(name_of "$patch")" >&2; bad=1; }
        restore
    done
    [ $bad -eq 0 ] || die "bring these patches up to date, or remove them"
}

# What these start does not keep the lock, should they outlive this script.
build() { cmake --build --preset ci -j "${JOBS:-1}" --target "$@" > "$log" 2>&1 9>&-; }

# Not by ctest, whose own limits are those of a slow machine. Files go where the build's own test runs put them.
run_test() (
    ulimit -v "$mostMemory"
    local home=$PWD/build/release/tests
    export QT_QPA_PLATFORM=offscreen XDG_DATA_HOME=$home/data XDG_CACHE_HOME=$home/cache XDG_CONFIG_HOME=$home/config
    exec timeout --kill-after=5 "$2" "build/release/tests/$1" > "$log" 2>&1 9>&-
)

check_unchanged() {
    local test
    cmake --preset ci -DCORVANE_BENCHMARKS=OFF > "$log" 2>&1 || die "$(cat "$log")"
    build "$@" || die "the tree does not build: $(tail -n 20 "$log")"
    for test; do
        local begin=$SECONDS
        run_test "$test" 300 || die "$test fails without any mutant: $(tail -n 20 "$log")"
        usual[$test]=$((SECONDS - begin))
    done
}

# Where a failed test says that it failed first.
first_failure() { grep -a -m 1 -oP '(?<=FAIL!  : )[^(]+\([^)]*\)' "$log" || echo "it does not come to its end"; }

# Prints the line of one mutant; answers 0 noticed, 1 survives, 2 wrong.
try() {
    local patch=$1 name test reason tests
    name=$(name_of "$patch")
    reason=$(field "$patch" Equivalent)
    read -ra tests <<<"$(field "$patch" Tests)"
    apply "$patch"
    build "${tests[@]}" || { echo "DOES NOT COMPILE  $name"; grep -m 3 'error:' "$log"; return 2; }
    for test in "${tests[@]}"; do
        if run_test "$test" $((20 + 10 * usual[$test])); then
            [ -z "$reason" ] || { echo "equivalent  $name: $reason"; return 0; }
            echo "SURVIVES    $name: $(field "$patch" Breaks) ($test passes)"
            return 1
        fi
        [ -z "$reason" ] || { echo "NOT EQUIVALENT  $name: $test notices, $(first_failure)"; return 2; }
    done
    echo "noticed     $name: $(first_failure)"
}

list=false
[ "${1:-}" = --list ] && { list=true; shift; }
mkdir -p "$work"
exec 9> "$work/lock"
flock --nonblock 9 || die "another run is using $tree"
rm -rf "$mutants"
cp -r tests/mutants "$mutants"
patches=$(chosen "$@") || exit 2
[ -n "$patches" ] || die "there are no mutants"
mapfile -t patches < <(awk '!seen[$0]++' <<<"$patches")
if $list; then
    for patch in "${patches[@]}"; do echo "$(name_of "$patch"): $(field "$patch" Breaks)"; done
    exit
fi
mapfile -t programs < <(for patch in "${patches[@]}"; do field "$patch" Tests; done | tr ' ' '\n' | sort -u)

prepare_tree
cd "$tree"
check_patches "${patches[@]}"
check_unchanged "${programs[@]}"
survivors=0 wrong=0
for patch in "${patches[@]}"; do
    status=0
    try "$patch" || status=$?
    restore
    [ $status -ne 1 ] || survivors=$((survivors + 1))
    [ $status -ne 2 ] || wrong=$((wrong + 1))
done
echo "${#patches[@]} mutants, $survivors survive$([ $wrong -eq 0 ] || echo ", $wrong are not what they say")"
[ $wrong -eq 0 ] || exit 2
[ $survivors -eq 0 ]
