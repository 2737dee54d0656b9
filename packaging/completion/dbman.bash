# bash completion of dbman; printed by: dbman completion bash

# Sets options, valued ("--option=VALUE" each) and places, the values of what is given by its place.
_dbman_arguments() {
    case $1 in
    "serve")
        options="--slots --base --source --config --database --retain --quiet --control --help"
        valued="--slots=SLOTS --base=ADDRESS --source=ADDRESS --config=FILE --database=FILE --retain=TABLE=AGE --control=FILE"
        places=""
        ;;
    "slot list")
        options="--control --json --help"
        valued="--control=FILE"
        places=""
        ;;
    "slot set")
        options="--ip --source --control --json --help"
        valued="--ip=ADDRESS --source=ADDRESS --control=FILE"
        places="SLOT"
        ;;
    "slot clear")
        options="--control --json --help"
        valued="--control=FILE"
        places="SLOT"
        ;;
    "slot enable")
        options="--control --json --help"
        valued="--control=FILE"
        places="SLOT"
        ;;
    "slot disable")
        options="--control --json --help"
        valued="--control=FILE"
        places="SLOT"
        ;;
    "slot reset")
        options="--control --json --help"
        valued="--control=FILE"
        places="SLOT"
        ;;
    "slot announce")
        options="--control --json --help"
        valued="--control=FILE"
        places="SLOT|all"
        ;;
    "card list")
        options="--control --json --help"
        valued="--control=FILE"
        places=""
        ;;
    "onu list")
        options="--slot --port --offline --below --control --json --help"
        valued="--slot=SLOT --port=PORT --below=LEVEL --control=FILE"
        places=""
        ;;
    "onu show")
        options="--control --json --help"
        valued="--control=FILE"
        places="MAC"
        ;;
    "onu remove")
        options="--slot --control --json --help"
        valued="--slot=SLOT --control=FILE"
        places="MAC"
        ;;
    "onu reset")
        options="--slot --control --json --help"
        valued="--slot=SLOT --control=FILE"
        places="MAC"
        ;;
    "onu vlan")
        options="--slot --control --json --help"
        valued="--slot=SLOT --control=FILE"
        places="MAC VLAN"
        ;;
    "port vlan")
        options="--discard-untagged --remove --control --json --help"
        valued="--control=FILE"
        places="SLOT/PORT VLAN"
        ;;
    "alarm list")
        options="--active --slot --control --json --help"
        valued="--slot=SLOT --control=FILE"
        places=""
        ;;
    "alarm history")
        options="--since --slot --limit --control --json --help"
        valued="--since=TIME --slot=SLOT --limit=COUNT --control=FILE"
        places=""
        ;;
    "optics")
        options="--since --control --json --help"
        valued="--since=TIME --control=FILE"
        places="MAC"
        ;;
    "events")
        options="--follow --limit --control --json --help"
        valued="--limit=COUNT --control=FILE"
        places=""
        ;;
    "watch")
        options="--interval --once --control --help"
        valued="--interval=TIME --control=FILE"
        places=""
        ;;
    "status")
        options="--control --json --help"
        valued="--control=FILE"
        places=""
        ;;
    "send")
        options="--control --json --help"
        valued="--control=FILE"
        places="URI KEY=VALUE"
        ;;
    "completion")
        options="--help"
        valued=""
        places="SHELL"
        ;;
    *) return 1 ;;
    esac
}

# What is offered for a kind of value, a line each. The second argument is the control socket's path,
# the third what is there of the value.
_dbman_values() {
    case $1 in
    MAC)
        dbman onu list --json ${2:+--control "$2"} 2>/dev/null |
            grep -o '"mac_address":"[0-9a-f:]*"' | cut -d'"' -f4
        ;;
    FILE) compgen -f -- "$3" ;;
    "SLOT") _dbman_lines "1 2 3 4 5 6 7 8" ;;
    "SLOT|all") _dbman_lines "1 2 3 4 5 6 7 8 all" ;;
    "SLOTS") _dbman_lines "1-8" ;;
    "PORT") _dbman_lines "0 1" ;;
    "SLOT/PORT") _dbman_lines "1/0 1/1 2/0 2/1 3/0 3/1 4/0 4/1 5/0 5/1 6/0 6/1 7/0 7/1 8/0 8/1" ;;
    "LEVEL") _dbman_lines "-25dBm -27dBm -30dBm" ;;
    "TIME") _dbman_lines "15m 1h 24h 7d" ;;
    "COUNT") _dbman_lines "10 100 1000" ;;
    "URI") _dbman_lines "/olt/ip /olt/src_ip /olt/vlan /slot/disable /slot/enable /slot/onu/remove /slot/onu/reset /slot/onu/set/vlanid /slot/reset" ;;
    "KEY=VALUE") _dbman_lines "discard_untagged= ip_address= mac_address= pon_number= slot_id= vlan_id=" ;;
    "TABLE=AGE") _dbman_lines "optics= alarm-events= notifications= commands= alarms=" ;;
    "SHELL") _dbman_lines "bash" ;;
    esac
}

# Prints the words of a list that are separated by blanks, a line each.
_dbman_lines() {
    local -a list
    read -ra list <<<"$1"
    [[ ${#list[@]} -gt 0 ]] && printf '%s\n' "${list[@]}"
}

_dbman_first="slot card onu port alarm serve optics events watch status send completion"

_dbman_names() {
    case $1 in
    slot) echo "list set clear enable disable reset announce" ;;
    card) echo "list" ;;
    onu) echo "list show remove reset vlan" ;;
    port) echo "vlan" ;;
    alarm) echo "list history" ;;
    esac
}

_dbman() {
    local line=${COMP_LINE:0:COMP_POINT} current control="" reply
    local -a words
    local options valued places
    read -ra words <<<"$line"
    [[ $line == *[[:space:]] ]] && words+=("")
    current=${words[-1]}
    unset "words[-1]"
    words=("${words[@]:1}")
    # bash replaces only what stands behind the last of its own word breaks.
    local cut=${current%"${current##*[:=]}"}
    COMPREPLY=()
    while IFS= read -r reply; do
        [[ $reply == "$current"* ]] && COMPREPLY+=("${reply#"$cut"}")
    done < <(_dbman_offered)
    if [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == *= ]]; then
        compopt -o nospace 2>/dev/null
    fi
}

# All that could stand at the current word, a line each; reads the variables of _dbman.
_dbman_offered() {
    local place=0 waiting="" word pair
    if [[ ${words[0]-} == --control ]]; then
        if [[ ${#words[@]} -eq 1 ]]; then
            _dbman_values FILE "" "$current"
            return
        fi
        control=${words[1]}
        words=("${words[@]:2}")
    fi
    local count=${#words[@]} index=1
    if [[ $count -eq 0 ]]; then
        _dbman_lines "$_dbman_first --control --help --version"
        return
    fi
    local command=${words[0]}
    if ! _dbman_arguments "$command"; then
        if [[ $count -eq 1 ]]; then
            _dbman_lines "$(_dbman_names "$command")"
            return
        fi
        command="$command ${words[1]}"
        index=2
        _dbman_arguments "$command" || return
    fi
    for ((; index < count; index++)); do
        word=${words[index]}
        if [[ -n $waiting ]]; then
            [[ $waiting == --control ]] && control=$word
            waiting=""
        elif [[ $word == -* ]]; then
            for pair in $valued; do
                [[ $word == "${pair%%=*}" ]] && waiting=$word
            done
        else
            place=$((place + 1))
        fi
    done
    if [[ -n $waiting ]]; then
        for pair in $valued; do
            [[ $waiting == "${pair%%=*}" ]] && _dbman_values "${pair#*=}" "$control" "$current"
        done
        return
    fi
    local -a kinds
    read -ra kinds <<<"$places"
    # The last place of "send" takes any number of values.
    if [[ $place -ge ${#kinds[@]} && $places == *KEY=VALUE ]]; then
        place=$((${#kinds[@]} - 1))
    fi
    if [[ $current != -* && $place -lt ${#kinds[@]} ]]; then
        _dbman_values "${kinds[place]}" "$control" "$current"
    else
        _dbman_lines "$options"
    fi
}

complete -F _dbman dbman
