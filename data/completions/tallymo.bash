# bash completion for tallymo, tallymo-widget, tallymo-app and tallymo-watch.
# Plan ids, settings keys and link names come from the tallymo being completed; when it cannot
# answer (no settings yet, a damaged file) there is simply nothing to offer.

# Options that take the next word as their value.
_tallymo_valued='--date --day --plan --type --label --interval --metrics-file --format --cycles --row
    --output -o --bill-day --cap --used'

# Runs the tallymo being completed, quietly and for at most two seconds; nothing before the
# settings exist, so completing never makes them.
_tallymo_ask() {
    local data=${XDG_DATA_HOME:-$HOME/.local/share}/tallymo
    [[ -f ${TALLYMO_CONTAINER:-$data}/group.zr.qxnext.plist ]] || return 0
    timeout 2 "$_tallymo_program" "$@" 2>/dev/null
}

# The values of a JSON field ("id", "name") in the indented JSON tallymo prints, one a line.
_tallymo_field() {
    sed -n 's/^ *"'"$1"'": "\(.*\)",\{0,1\}$/\1/p' | sed 's/\\"/"/g; s/\\\\/\\/g'
}

_tallymo_plan_ids() { _tallymo_ask plans list --json | _tallymo_field id; }
_tallymo_links() { _tallymo_ask networks --json | _tallymo_field name; }
# The keys set now, and the ones users are told to write.
_tallymo_keys() {
    _tallymo_ask defaults read | sed -n 's/^    "\([^"]*\)": .*/\1/p'
    printf '%s\n' PREF_CELL_INTERFACES PREF_V7_GEO PREF_MAP_TILE_URL PREF_SHOWED_SETUP PREF_WEEK_START \
        PREF_THEME_WIDGET PREF_THEME_WIDGET_BG
}

# COMPREPLY from newline-separated candidates that start with the current word, quoted for the
# shell (names may hold spaces).
_tallymo_reply() {
    local candidate typed=${cur#[\"\']}
    COMPREPLY=()
    while IFS= read -r candidate; do
        [[ -n $candidate && $candidate == "$typed"* ]] && COMPREPLY+=("$(printf '%q' "$candidate")")
    done <<<"$1"
}

_tallymo_words() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$cur"); }
# COMPREPLY from the files (-f) or folders (-d) that start with the current word.
_tallymo_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen "$1" -- "$cur")
}

# The options of a command and its sub-command.
_tallymo_options() {
    case "$1 $2" in
        "sample "*) echo --json ;;
        "period "*) echo --date --plan --json ;;
        "defaults write") echo --type ;;
        "plans list" | "plans show") echo --json ;;
        "plans add") echo --label --json ;;
        "plans set") echo --type --plan ;;
        "plans remove" | "plans reset" | "plans add-usage") echo --yes ;;
        "status "*) echo --json --plan ;;
        "intent show-usage") echo --json --speak ;;
        "daemon "*) echo --interval --metrics-file --foreground ;;
        "metrics "*) echo --format ;;
        "export "*) echo --cycles --row --plan --output -o --mail ;;
        "history hours") echo --day --plan --json ;;
        "history days") echo --date --plan --json ;;
        "history cycles") echo --plan --json ;;
        "map "* | "net "*) echo --day --plan --json ;;
        "watch "*) echo --follow --complication ;;
        "setup "*) echo --bill-day --cap --used ;;
        "store check") echo --plan --json ;;
        "networks "*) [[ $2 == set ]] || echo --json ;;
    esac
    echo --help
}

_tallymo() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    local _tallymo_program=${COMP_WORDS[0]/#\~/$HOME}
    # bash splits --name=value at the "=": what is completed is the value of --name.
    if [[ $cur == = ]]; then
        cur=
    elif [[ $prev == = ]]; then
        prev=${COMP_WORDS[COMP_CWORD - 2]}
    fi

    # The words before this one that are not options or their values: the command, the
    # sub-command and their arguments.
    local -a args=()
    local i word
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if [[ ${COMP_WORDS[i + 1]} == = ]]; then
            ((i += 2))
        elif [[ " $_tallymo_valued " == *[[:space:]]"$word"[[:space:]]* ]]; then
            ((i++))
        elif [[ $word != -* ]]; then
            args+=("$word")
        fi
    done

    case $prev in
        --plan) _tallymo_reply "$(_tallymo_plan_ids)"; return ;;
        --type) _tallymo_words "string int double bool date json"; return ;;
        --row) _tallymo_words "0 1 2 3"; return ;;
        --format) _tallymo_words "openmetrics prometheus"; return ;;
        --output | -o | --metrics-file) _tallymo_files -f; return ;;
        --date | --day | --label | --interval | --cycles | --bill-day | --cap | --used) return ;;
    esac

    if [[ $cur == -* ]]; then
        if ((${#args[@]} == 0)); then
            _tallymo_words "--help --version"
        else
            _tallymo_words "$(_tallymo_options "${args[0]}" "${args[1]}")"
        fi
        return
    fi

    case "${#args[@]} ${args[0]} ${args[1]}" in
        "0  ")
            _tallymo_words "sample period defaults plans status metrics intent refresh alerts daemon push
                export history map net watch setup demo store networks help" ;;
        "1 defaults ") _tallymo_words "read write delete" ;;
        "1 plans ") _tallymo_words "list add show set switch remove reset add-usage" ;;
        "1 intent ") _tallymo_words "show-usage" ;;
        "1 alerts ") _tallymo_words "show set" ;;
        "1 history ") _tallymo_words "hours days cycles" ;;
        "1 store ") _tallymo_words "check" ;;
        "1 networks ") _tallymo_words "set" ;;
        "1 demo ") _tallymo_files -d ;;
        "2 defaults "*) _tallymo_reply "$(_tallymo_keys | sort -u)" ;;
        "2 plans show" | "2 plans switch" | "2 plans remove") _tallymo_reply "$(_tallymo_plan_ids)" ;;
        "2 plans set")
            _tallymo_words "PREF_PLAN_LABEL PREF_BILLTYPE PREF_BILLDAY PREF_30DAY_START PREF_NDAYS_N
                PREF_THRES_MONTHLY" ;;
        "2 alerts set") _tallymo_words "1 2 3 4" ;;
        "2 networks set") _tallymo_reply "$(_tallymo_links)" ;;
        "3 networks set") _tallymo_words "mobile other ignore auto" ;;
    esac
}

_tallymo_widget() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}
    if [[ $cur == = ]]; then
        cur=
    elif [[ $prev == = ]]; then
        prev=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case $prev in
        --format) _tallymo_words "waybar i3blocks json text" ;;
        *) _tallymo_words "--format --follow --help" ;;
    esac
}

_tallymo_app() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}
    case $prev in
        --action) _tallymo_words "history theme dataplan" ;;
        *) _tallymo_words "--action --first-frame --gapplication-service --help --help-all --version" ;;
    esac
}

_tallymo_watch() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}
    case $prev in
        --screenshot) _tallymo_files -f ;;
        --size) ;;
        *) _tallymo_words "--screenshot --dump --size --help --help-all --version" ;;
    esac
}

complete -F _tallymo tallymo
complete -F _tallymo_widget tallymo-widget
complete -F _tallymo_app tallymo-app
complete -F _tallymo_watch tallymo-watch
