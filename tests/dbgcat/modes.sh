# shellcheck shell=sh
# Sourced: every mode of dbgcat, each run on one log.
# run_modes LOG FOLDER COMMAND...  writes a file a mode: what the command wrote, said and returned

run_mode() {
    mode=$1
    shift
    status=0
    "$@" >"$folder/$mode" 2>"$folder/said" || status=$?
    {
        echo "==== standard error"
        cat "$folder/said"
        echo "==== status $status"
    } >>"$folder/$mode"
    rm "$folder/said"
}

run_modes() {
    log=$1
    folder=$2
    shift 2
    mkdir -p "$folder"
    run_mode plain "$@" "$log"
    run_mode verbose "$@" -v -H "$log"
    run_mode colour "$@" --color=always --escape=always "$log"
    run_mode warnings "$@" -l WARN,CRITICAL "$log"
    run_mode mask "$@" -m -DBG_FATAL,+DBG_TRACE "$log"
    run_mode names "$@" -M 'stor*' -T '*-io' -F Save -e 'k|Time' "$log"
    run_mode last "$@" -n 3 "$log"
    run_mode nothing "$@" -M nobody "$log"
    run_mode json "$@" --json "$log"
    run_mode xml "$@" --xml "$log"
    run_mode csv "$@" --csv "$log"
    run_mode escaped.json "$@" --json --escape=always "$log"
    run_mode escaped.csv "$@" --csv --escape=always "$log"
    run_mode stats "$@" --stats "$log"
    run_mode metrics "$@" --metrics "$log"
    run_mode timing "$@" --timing "$log"
    run_mode report "$@" --report=- "$log"
    run_mode merged "$@" -H "$log" "$log"
}
