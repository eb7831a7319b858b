# fish completion for tallymo, tallymo-widget, tallymo-app and tallymo-watch. Plan ids, settings
# keys and link names come from the tallymo being completed; when it cannot answer there is simply
# nothing to offer.

# The words before the cursor that are not options or their values: the command, the sub-command
# and their arguments.
function __tallymo_args
    set -l valued --date --day --plan --type --label --interval --metrics-file --format --cycles --row \
        --output -o --bill-day --cap --used
    set -l words (commandline -opc)
    set -l skip 0
    for word in $words[2..-1]
        if test $skip = 1
            set skip 0
        else if contains -- $word $valued
            set skip 1
        else if not string match -q -- '-*' $word
            echo $word
        end
    end
end

# True when the words so far begin with the ones given (all of them with --only).
function __tallymo_in
    set -l only 0
    if test "$argv[1]" = --only
        set only 1
        set -e argv[1]
    end
    set -l args (__tallymo_args)
    test (count $args) -ge (count $argv); or return 1
    test $only = 0 -o (count $args) -eq (count $argv); or return 1
    for i in (seq (count $argv))
        test "$argv[$i]" = "$args[$i]"; or return 1
    end
end

# Runs the tallymo being completed, quietly and for at most two seconds; nothing before the settings
# exist, so completing never makes them.
function __tallymo_ask
    set -l data ~/.local/share
    set -q XDG_DATA_HOME[1]; and set data $XDG_DATA_HOME
    set data $data/tallymo
    set -q TALLYMO_CONTAINER[1]; and set data $TALLYMO_CONTAINER
    test -f $data/group.zr.qxnext.plist; or return 0
    timeout 2 (commandline -opc)[1] $argv 2>/dev/null
end

# The values of JSON fields in the indented JSON a tallymo command prints, one a line, in their
# order: __tallymo_json FIELDS COMMAND...
function __tallymo_json
    __tallymo_ask $argv[2..-1] | string replace -rf '^ *"(?:'$argv[1]')": "(.*)",?$' '$1' \
        | string replace -a '\\"' '"' | string replace -a '\\\\' '\\'
end

function __tallymo_plan_ids
    __tallymo_json 'id|label' plans list --json | paste - -
end

function __tallymo_links
    __tallymo_json name networks --json
end

# The keys set now, and the ones users are told to write.
function __tallymo_keys
    __tallymo_ask defaults read | string replace -rf '^    "([^"]*)": .*' '$1'
    printf '%s\n' PREF_CELL_INTERFACES PREF_V7_GEO PREF_MAP_TILE_URL PREF_SHOWED_SETUP PREF_WEEK_START \
        PREF_THEME_WIDGET PREF_THEME_WIDGET_BG
end

complete -c tallymo -f

# The commands.
set -l first '__tallymo_in --only'
complete -c tallymo -n $first -a sample -d 'Take one locked sample'
complete -c tallymo -n $first -a period -d 'The billing period containing a date'
complete -c tallymo -n $first -a defaults -d 'Read, write or delete a setting'
complete -c tallymo -n $first -a plans -d 'The data plans'
complete -c tallymo -n $first -a status -d "The current period's figures"
complete -c tallymo -n $first -a metrics -d "Every plan's period and byte totals for Prometheus"
complete -c tallymo -n $first -a intent -d 'The usage as the voice intent answers it'
complete -c tallymo -n $first -a refresh -d 'One usage check: sample, figures, alerts'
complete -c tallymo -n $first -a alerts -d 'The four usage alert thresholds'
complete -c tallymo -n $first -a daemon -d 'The background service'
complete -c tallymo -n $first -a push -d 'Wake the running service'
complete -c tallymo -n $first -a export -d 'Usage per billing period as JSON'
complete -c tallymo -n $first -a history -d 'Usage per hour, day or billing period'
complete -c tallymo -n $first -a map -d "Where the day's usage happened"
complete -c tallymo -n $first -a net -d 'Traffic per remote address and hour'
complete -c tallymo -n $first -a watch -d 'Act as the companion watch'
complete -c tallymo -n $first -a setup -d 'The first-run setup'
complete -c tallymo -n $first -a demo -d 'Write a demo container to try the app on'
complete -c tallymo -n $first -a store -d 'Check the usage stores'
complete -c tallymo -n $first -a networks -d 'Which links count as mobile data'
complete -c tallymo -n $first -a help -d 'List the commands'
complete -c tallymo -n $first -l version -d 'Print the version'
complete -c tallymo -s h -l help -d 'Print the synopsis'

# Sub-commands and their arguments.
complete -c tallymo -n '__tallymo_in --only defaults' -a 'read write delete'
complete -c tallymo -n '__tallymo_in --only defaults read; or __tallymo_in --only defaults write; or __tallymo_in --only defaults delete' -a '(__tallymo_keys)'
complete -c tallymo -n '__tallymo_in --only plans' -a 'list add show set switch remove reset add-usage'
complete -c tallymo -n '__tallymo_in --only plans show; or __tallymo_in --only plans switch; or __tallymo_in --only plans remove' -a '(__tallymo_plan_ids)'
complete -c tallymo -n '__tallymo_in --only plans set' -a 'PREF_PLAN_LABEL PREF_BILLTYPE PREF_BILLDAY PREF_30DAY_START PREF_NDAYS_N PREF_THRES_MONTHLY'
complete -c tallymo -n '__tallymo_in --only intent' -a show-usage
complete -c tallymo -n '__tallymo_in --only alerts' -a 'show set'
complete -c tallymo -n '__tallymo_in --only alerts set' -a '1 2 3 4'
complete -c tallymo -n '__tallymo_in --only history' -a 'hours days cycles'
complete -c tallymo -n '__tallymo_in --only store' -a check
complete -c tallymo -n '__tallymo_in --only networks' -a set
complete -c tallymo -n '__tallymo_in --only networks set' -a '(__tallymo_links)'
complete -c tallymo -n 'test (count (__tallymo_args)) -eq 3; and __tallymo_in networks set' -a 'mobile other ignore auto'
complete -c tallymo -n '__tallymo_in --only demo' -a '(__fish_complete_directories (commandline -ct))'

# Options, per command.
set -l plan -l plan -x -a '(__tallymo_plan_ids)' -d 'The plan'
set -l json -l json -d 'Print JSON'
set -l type -l type -x -a 'string int double bool date json' -d 'How VALUE is read'
complete -c tallymo -n '__tallymo_in sample' $json
complete -c tallymo -n '__tallymo_in period' $json
complete -c tallymo -n '__tallymo_in period' $plan
complete -c tallymo -n '__tallymo_in period' -l date -x -d 'A day or moment of the period'
complete -c tallymo -n '__tallymo_in defaults write' $type
complete -c tallymo -n '__tallymo_in plans list; or __tallymo_in plans show; or __tallymo_in plans add' $json
complete -c tallymo -n '__tallymo_in plans add' -l label -x -d 'The label of the new plan'
complete -c tallymo -n '__tallymo_in plans set' $type
complete -c tallymo -n '__tallymo_in plans set' $plan
complete -c tallymo -n '__tallymo_in plans remove; or __tallymo_in plans reset; or __tallymo_in plans add-usage' -l yes -d 'Do not ask'
complete -c tallymo -n '__tallymo_in status' $json
complete -c tallymo -n '__tallymo_in status' $plan
complete -c tallymo -n '__tallymo_in metrics' -l format -x -a 'openmetrics prometheus' -d 'The text format'
complete -c tallymo -n '__tallymo_in intent show-usage' $json
complete -c tallymo -n '__tallymo_in intent show-usage' -l speak -d 'Speak the sentence too'
complete -c tallymo -n '__tallymo_in daemon' -l interval -x -d 'Seconds between two checks'
complete -c tallymo -n '__tallymo_in daemon' -l metrics-file -r -F -d 'Rewrite this file with the metrics'
complete -c tallymo -n '__tallymo_in daemon' -l foreground -d 'Accepted; the service never detaches'
complete -c tallymo -n '__tallymo_in export' -l cycles -x -d 'The most recent periods'
complete -c tallymo -n '__tallymo_in export' -l row -x -a '0 1 2 3' -d 'A choice of the export screen'
complete -c tallymo -n '__tallymo_in export' $plan
complete -c tallymo -n '__tallymo_in export' -s o -l output -r -F -d 'The file to write'
complete -c tallymo -n '__tallymo_in export' -l mail -d 'Hand the file to the mail program'
complete -c tallymo -n '__tallymo_in history hours' -l day -x -d 'The day'
complete -c tallymo -n '__tallymo_in history days' -l date -x -d 'A day of the period'
complete -c tallymo -n '__tallymo_in history hours; or __tallymo_in history days; or __tallymo_in history cycles' $plan
complete -c tallymo -n '__tallymo_in history hours; or __tallymo_in history days; or __tallymo_in history cycles' $json
complete -c tallymo -n '__tallymo_in map; or __tallymo_in net' -l day -x -d 'The day'
complete -c tallymo -n '__tallymo_in map; or __tallymo_in net' $plan
complete -c tallymo -n '__tallymo_in map; or __tallymo_in net' $json
complete -c tallymo -n '__tallymo_in watch' -l follow -d 'Print every pushed context'
complete -c tallymo -n '__tallymo_in watch' -l complication -d 'Register with the complication'
complete -c tallymo -n '__tallymo_in setup' -l bill-day -x -d 'The day the period begins on'
complete -c tallymo -n '__tallymo_in setup' -l cap -x -d 'The data cap per period'
complete -c tallymo -n '__tallymo_in setup' -l used -x -d 'Used so far this period'
complete -c tallymo -n '__tallymo_in store check' $json
complete -c tallymo -n '__tallymo_in store check' $plan
complete -c tallymo -n '__tallymo_in --only networks' $json

# The other programs.
complete -c tallymo-widget -f
complete -c tallymo-widget -l format -x -a 'waybar i3blocks json text' -d 'What to print'
complete -c tallymo-widget -l follow -d 'Print a new line at every reload'
complete -c tallymo-widget -s h -l help -d 'Print the usage'

complete -c tallymo-app -f
complete -c tallymo-app -l action -x -a 'history theme dataplan' -d 'Run a quick action'
complete -c tallymo-app -l first-frame -d 'Print the milliseconds to the first frame and exit'
complete -c tallymo-app -l gapplication-service -d 'Started by the session bus'
complete -c tallymo-app -s h -l help -d 'Print the options'
complete -c tallymo-app -l help-all -d "Print the options with Qt's"
complete -c tallymo-app -s v -l version -d 'Print the version'

complete -c tallymo-watch -f
complete -c tallymo-watch -l screenshot -r -F -d 'Write a picture to FILE and exit'
complete -c tallymo-watch -l dump -d 'Print what the face shows as JSON lines'
complete -c tallymo-watch -l size -x -d 'The window size, WIDTHxHEIGHT'
complete -c tallymo-watch -s h -l help -d 'Print the options'
complete -c tallymo-watch -l help-all -d "Print the options with Qt's"
complete -c tallymo-watch -s v -l version -d 'Print the version'
