# bash completion of chassis-sim

_chassis_sim_serve_options='--slots --base --port --latency --jitter --reset-time --nvs --configured
    --product-code --onus --discovery-interval --onu-reset-time --optics-interval --seed --control
    --verbose --journal --journal-file --pcap --scenario --scenario-speed --scenario-exit --help
    --version'
_chassis_sim_common_options='--json --control --timeout --help'
_chassis_sim_flags='--configured --verbose --scenario-exit --help --version --json --follow --factory
    --as-it-was --stranger'
_chassis_sim_commands='list card wait onu alarm event truth scenario fault journal'
_chassis_sim_card_actions='get reset pull insert swap mute unmute product-code cut restore
    leftover-path'
_chassis_sim_onu_actions='get unplug plug power-off power-on fade move'
_chassis_sim_fault_kinds='drop delay duplicate reorder truncate flip-bit wrong-ctag wrong-id
    wrong-length result late mute event-burst wrong-port garbage pretend'
# Names have blanks, so they stand a line each.
_chassis_sim_alarms='Standard Link Fault
Loss of Signal
Transmit Fail
Transmit Degrade
MAC Learning Overflow
Report Timeout
OAM Keepalive Timeout
Key Exchange Failure
Auto Negotiation Failure
External Link Fault
ONU Burst Cap
CTC Key Exchange Failure 3 Times
Loopback
Port Disabled
Standard Dying Gasp
Power Fail
External Dying Gasp
Standard Critical Event
External Critical Event
Standard Other Event
Temperature
External Alarm Gpio
Num Links
Mixed Network Error
Layer3 IP MAC Table Overflow
Dhcp Arp Dos
Fpga Programming Error
IGMP Out Of Internal Resources
Pppoe Table Overflow
IPv6 Table Overflow
Improper Report Format
ONU Flash Busy
No Reports On EPON Port
Loop Detected
Optical Power Low
EPON Standby LOS
Critical Resource Unavailable
Link Activation Failure
Link Over Grant
Stack Overflow
Power Saving ONU Sleep
ECC Uncorrectable Error'
_chassis_sim_requests='Set Default OAM Rate
Reset OLT
Get OLT Information
Enable OLT
Disable OLT
Get List of Discovered Links
Set OLT Bridging Configuration
Reset ONU
Get List of All Known Logical Links
Clear All Provisioning for Logical Link
ONU port VLAN
Clear All Allowed Links
CTC Set Ethernet Port
Get OLT NVS Enabled
Set OLT NVS Enabled
Get Statistics
Set OLT IP Multicast Global Provisioning
Set OLT IP Multicast Domain Proxy Provisioning
Set OLT IP Multicast Host Copy
Set DBA Polling Interval High Resolution
Set EPON Loop Timing
Get ONU Information
Set Aggregate Bandwidth
Set Path
Get All Paths
Get All Domains
Set Queue SLA
Enable Link
Delete Queue SLA
Get OLT Bridging Mode
Set Encryption Mode Default
Set Link SLA
Get OLT port/link rules
Set OLT rule
Delete OLT port/link rule
Set Domain Rules
Set DBA Aggregate Bandwidth
Get OAM Extension Set Support
Set OAM Extension Set Support
Set EPON Sync Time
Set Domain (version 2)
Get CTC 2.1 Optical Transceiver Diagnosis
OLT Ready
Link Discovery
Report Alarm
ONU Link Moved Between PON Ports'

# Everything that is offered is printed, a line each. These take a list that is separated by blanks.
_chassis_sim_words() {
    local -a list
    read -r -d '' -a list <<<"$*"
    printf '%s\n' "${list[@]}"
}

# What a running simulator has; nothing when none runs. _chassis_sim sets $control.
_chassis_sim_ask() {
    "${COMP_WORDS[0]}" ctl "$@" --json ${control:+--control "$control"} 2>/dev/null
}

_chassis_sim_onus() {
    _chassis_sim_ask onu list | grep -o '"onu":"[0-9/]*"' | cut -d '"' -f 4
}

_chassis_sim_faults() {
    _chassis_sim_ask fault list | grep -o '"fault":[0-9]*' | cut -d : -f 2
}

_chassis_sim_targets() {
    _chassis_sim_words {1..8}/{0,1} {1..8}/nni-{0,1}
    _chassis_sim_onus
}

# The options of a kind of fault: those of all kinds, those of the kinds that treat what passes, and its
# own.
_chassis_sim_fault_options() {
    _chassis_sim_words --card --start --for --count --probability
    case $1 in
        event-burst | garbage) ;;
        *) _chassis_sim_words --request --direction ;;
    esac
    case $1 in
        delay | late) echo --time ;;
        duplicate) echo --copies ;;
        reorder) echo --limit ;;
        truncate) _chassis_sim_words --bytes --to ;;
        flip-bit) echo --bit ;;
        wrong-id) echo --id ;;
        wrong-length) echo --length ;;
        result) echo --code ;;
        event-burst) _chassis_sim_words --rate --alarm --target ;;
        wrong-port) echo --port ;;
        garbage) _chassis_sim_words --rate --size --stranger ;;
    esac
}

# The words that may stand behind those of a command.
_chassis_sim_next_words() {
    case $1:$#:${2-}:${3-} in
        :*) _chassis_sim_words "$_chassis_sim_commands" ;;
        card:1:* | event:1:*) _chassis_sim_words {1..8} ;;
        card:2:*) _chassis_sim_words "$_chassis_sim_card_actions" ;;
        card:3:*:insert) _chassis_sim_words --product-code --factory --as-it-was ;;
        card:3:*:swap) _chassis_sim_words --product-code ;;
        card:3:*:cut | card:3:*:restore) _chassis_sim_words 0 1 ;;
        onu:1:*)
            echo list
            _chassis_sim_onus
            ;;
        onu:2:list:*) _chassis_sim_words {1..8} {1..8}/{0,1} ;;
        onu:2:*) _chassis_sim_words "$_chassis_sim_onu_actions" ;;
        onu:3:*:move) _chassis_sim_words 0 1 {1..8}/{0,1} ;;
        alarm:1:*) _chassis_sim_targets ;;
        alarm:2:*) echo "$_chassis_sim_alarms" ;;
        alarm:3:*) _chassis_sim_words raise clear ;;
        wait:1:*) echo in-service ;;
        scenario:1:*) echo status ;;
        fault:1:*) _chassis_sim_words add list remove kinds ;;
        fault:2:add:*) _chassis_sim_words "$_chassis_sim_fault_kinds" ;;
        fault:*:add:*) _chassis_sim_fault_options "$3" ;;
        fault:2:remove:*)
            echo all
            _chassis_sim_faults
            ;;
        journal:*) _chassis_sim_words --card --fault --last --follow ;;
    esac
}

_chassis_sim_takes_value() {
    [[ $1 == --* && " ${_chassis_sim_flags//[[:space:]]/ } " != *" $1 "* ]]
}

# The values of an option; those that only a person knows are none.
_chassis_sim_option_values() {
    case $1 in
        --scenario | --journal-file | --pcap | --control) compgen -f -- "$current" ;;
        --nvs) _chassis_sim_words on off ;;
        --card) _chassis_sim_words {1..8} all ;;
        --direction) _chassis_sim_words in out all ;;
        --request) printf '%s\n' "$_chassis_sim_requests" all ;;
        --id) echo "$_chassis_sim_requests" ;;
        --alarm) echo "$_chassis_sim_alarms" ;;
        --target) _chassis_sim_targets ;;
        --fault) _chassis_sim_faults ;;
    esac
}

# Prints what may stand at the current word; reads the variables of _chassis_sim.
_chassis_sim_offered() {
    local mode=serve waiting='' word
    local -a words=()
    for word in "${before[@]}"; do
        if [[ -n $waiting ]]; then
            [[ $waiting == --control ]] && control=$word
            waiting=''
        elif _chassis_sim_takes_value "$word"; then
            waiting=$word
        elif [[ $word == -* ]]; then
            :
        elif [[ $mode == serve ]]; then
            mode=$word
        else
            words+=("$word")
        fi
    done
    if [[ -n $waiting ]]; then
        _chassis_sim_option_values "$waiting"
        return
    fi
    case $mode in
        serve) _chassis_sim_words "ctl completion $_chassis_sim_serve_options" ;;
        completion) echo bash ;;
        ctl)
            _chassis_sim_next_words "${words[@]:-}"
            [[ $current == -* ]] && _chassis_sim_words "$_chassis_sim_common_options"
            ;;
    esac
}

_chassis_sim() {
    local current=${COMP_WORDS[COMP_CWORD]} control='' word offered typed
    local -a before=()
    # bash takes the "=" of --option=VALUE for a word of its own.
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ $word == = ]] || before+=("$word")
    done
    [[ $current == = ]] && current=''
    COMPREPLY=()
    while IFS= read -r word; do
        # Inside quotes a name stands as it is, outside its blanks need a backslash.
        if [[ $current == [\"\']* ]]; then
            offered=$word typed=${current:1}
        else
            printf -v offered %q "$word"
            typed=$current
        fi
        [[ $offered == "$typed"* ]] && COMPREPLY+=("$offered")
    done < <(_chassis_sim_offered)
}

complete -F _chassis_sim chassis-sim
