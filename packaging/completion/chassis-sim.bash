# bash completion of chassis-sim

_chassis_sim_serve_options='--slots --base --port --latency --jitter --reset-time --nvs --configured
    --product-code --onus --discovery-interval --onu-reset-time --optics-interval --seed --control
    --verbose --journal --journal-file --pcap --scenario --scenario-speed --scenario-exit --help
    --version'
_chassis_sim_common_options='--json --control --timeout --help'
_chassis_sim_commands='list card wait onu alarm event truth scenario fault journal'
_chassis_sim_card_actions='get reset pull insert swap mute unmute product-code cut restore
    leftover-path'
_chassis_sim_onu_actions='get unplug plug power-off power-on fade move'
_chassis_sim_fault_kinds='drop delay duplicate reorder truncate flip-bit wrong-ctag wrong-id
    wrong-length result late mute event-burst wrong-port garbage pretend'
_chassis_sim_fault_options='--card --request --direction --start --for --count --probability --time
    --copies --limit --bytes --to --bit --id --length --code --rate --alarm --target --port --size
    --stranger'

# The words that may stand behind those of a command; the last one counts.
_chassis_sim_next_words() {
    case $1 in
        '') echo "$_chassis_sim_commands $_chassis_sim_common_options" ;;
        card | alarm | event) [ $# -eq 1 ] && echo '1 2 3 4 5 6 7 8' ;;&
        card)
            case $#:${3-} in
                2:*) echo "$_chassis_sim_card_actions" ;;
                3:insert) echo '--product-code --factory --as-it-was' ;;
                3:swap) echo '--product-code' ;;
                3:cut | 3:restore) echo '0 1' ;;
            esac
            ;;
        onu)
            case $#:${2-} in
                1:*) echo list ;;
                2:list) ;;
                2:*) echo "$_chassis_sim_onu_actions" ;;
            esac
            ;;
        alarm) [ $# -eq 3 ] && echo 'raise clear' ;;
        wait) [ $# -eq 1 ] && echo in-service ;;
        scenario) [ $# -eq 1 ] && echo status ;;
        fault)
            case $#:${2-} in
                1:*) echo 'add list remove kinds' ;;
                2:add) echo "$_chassis_sim_fault_kinds" ;;
                2:remove) echo all ;;
                *:add) echo "$_chassis_sim_fault_options" ;;
            esac
            ;;
        journal) echo '--card --fault --last --follow' ;;
    esac
}

_chassis_sim_option_values() {
    case $1 in
        --nvs) echo 'on off' ;;
        --card) echo '1 2 3 4 5 6 7 8 all' ;;
        --direction) echo 'in out all' ;;
        *) return 1 ;;
    esac
}

_chassis_sim() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local word words=() candidates mode=serve
    COMPREPLY=()
    case $previous in
        --scenario | --journal-file | --pcap | --control)
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            return
            ;;
    esac
    if candidates=$(_chassis_sim_option_values "$previous"); then
        mapfile -t COMPREPLY < <(compgen -W "$candidates" -- "$current")
        return
    fi
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case $mode:$word in
            serve:ctl) mode=ctl ;;
            serve:completion) mode=completion ;;
            ctl:-*) ;;
            ctl:*) words+=("$word") ;;
        esac
    done
    case $mode in
        serve) candidates="ctl completion $_chassis_sim_serve_options" ;;
        completion) candidates=bash ;;
        ctl)
            candidates=$(_chassis_sim_next_words "${words[@]:-}")
            [[ $current == -* ]] && candidates+=" $_chassis_sim_common_options"
            ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$candidates" -- "$current")
}

complete -F _chassis_sim chassis-sim
