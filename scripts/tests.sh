# Functions shared by the scripts that run tests: they go on after a failure and count. To be sourced after lib.sh.
# shellcheck shell=bash

failures=()
passed=0
failed=0

# check <name> <command>...: goes on after a failure, but remembers it. A check that failed without a
# failed test counts as one.
check() {
    local name=$1 before=$failed
    shift
    step "$name"
    "$@" && return
    failures+=("$name")
    ((failed > before)) || failed=$((failed + 1))
}

# count <results file> <attribute>: a number of the whole test run.
count() { grep -m 1 -oP "^\s*$2=\"\K[0-9]+" "$1"; }

# run_tests <preset> [<option of ctest>...]: the preset's tests, added to the sum. What did not run counts as failed.
run_tests() {
    local results=$PWD/build/$1/results.xml status=0 all bad
    rm -f "$results"
    ctest --preset "$1" --output-junit "$results" "${@:2}" </dev/null || status=$?
    [[ -f $results ]] || return 1
    all=$(count "$results" tests)
    bad=$(($(count "$results" failures) + $(count "$results" disabled) + $(count "$results" skipped)))
    passed=$((passed + all - bad))
    failed=$((failed + bad))
    return "$status"
}

build_and_test() { build "$1" && run_tests "$@"; }

# finish: prints the sum as the last line. Its status is that of the script.
finish() {
    printf '\n'
    ((${#failures[@]} == 0)) || printf 'Failed: %s\n' "${failures[@]}"
    printf '%d passed, %d failed\n' "$passed" "$failed"
    ((${#failures[@]} == 0))
}
