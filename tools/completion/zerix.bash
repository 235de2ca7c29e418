# Completion of the zerix tool for bash: source this file, or put it where bash-completion looks for
# it, as /usr/share/bash-completion/completions/zerix.

# What each command takes besides the options that all take.
_zerix_options()
{
    case $1 in
    grab) echo "-o --output -n --count --set --wait --color --autoexpose --whitebalance --region" ;;
    trigger) echo "-o --output --set --wait" ;;
    record) echo "-o --output -n --count --for --wait --buffer --set --color --autoexpose --whitebalance --region" ;;
    monitor) echo "-n --count --for --every --set" ;;
    bus) echo "--hwdb" ;;
    preview) echo "-o --output --size" ;;
    autoexpose) echo "--color --region --set --wait" ;;
    whitebalance) echo "--autoexpose --region --set --wait" ;;
    process) echo "-o --output --method --gains" ;;
    on) echo "--file" ;;
    show) echo "-n --lines --file" ;;
    follow) echo "--file --for" ;;
    esac
}

_zerix_keys()
{
    echo "roi binning gain offset exposure-us symmetrical-binning horizontal-binning
        vertical-binning readout-speed trigger color-wheel cooler exposure-red-us
        exposure-blue-us format roi-x roi-y roi-width roi-height reserved17 shutter-state
        double-shot syncb metrol-shutter-delay intensifier-gain trigger-delay camera-mode
        normalized-gain intensifier-gain-db post-processing post-gain-red post-gain-green
        post-gain-blue bayer-algorithm post-format fan blackout high-sensitivity
        readout-port em-gain open-delay close-delay ccd-clearing-mode over-sample dither
        high-gain vclock-period reserved45 tweeking-register keelem locked-gain
        keelem-gain-10 keelem-gain-20 keelem-gain-40 frame-buffers gain-db absolute-offset
        temperature exposure exposure-red exposure-blue intensifier-factor"
}

# The command that the words name, and the action behind "trace".
_zerix_command()
{
    local word skip=
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ $skip ]]; then
            skip=
            continue
        fi
        case $word in
        --rack | --camera) skip=1 ;;
        -*) ;;
        trace) command=trace ;;
        *)
            [[ -z $command || $command == trace ]] && command=$word
            ;;
        esac
    done
}

_zerix()
{
    local common="-h --help --version --sim --rack --camera --json"
    local verbs="list bus info get set racks grab autoexpose whitebalance process trigger record monitor trace
        preview"
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=
    COMPREPLY=()
    # bash takes the "=" of KEY=VALUE for a word of its own: values are the camera's business.
    [[ $current == = || $previous == = ]] && return
    _zerix_command
    case $previous in
    -o | --output | --file) _zerix_files ;;
    --rack) _zerix_files -W "default family-1 family-2 family-3" ;;
    --method) COMPREPLY=($(compgen -W "nearest linear cubic" -- "$current")) ;;
    --set) COMPREPLY=($(compgen -S = -W "$(_zerix_keys)" -- "$current")) ;;
    --camera | -n | --count | --lines | --for | --every | --wait | --size | --buffer | --region | --gains) ;;
    *) _zerix_words ;;
    esac
    [[ ${COMPREPLY[0]} == *= ]] && compopt -o nospace 2>/dev/null
    return 0
}

# Files, and what else compgen is asked for. A name may hold blanks; bash escapes it, and puts a
# slash behind a folder.
_zerix_files()
{
    mapfile -t COMPREPLY < <(compgen "$@" -f -- "$current")
    compopt -o filenames 2>/dev/null
}

_zerix_words()
{
    local words
    if [[ $current == -* ]]; then
        words="$common $(_zerix_options "$command")"
        [[ $command ]] && words=${words/ --version/}
    else
        case $command in
        "") words=$verbs ;;
        get) words=$(_zerix_keys) ;;
        set)
            COMPREPLY=($(compgen -S = -W "$(_zerix_keys)" -- "$current"))
            return
            ;;
        process)
            _zerix_files
            return
            ;;
        trace) words="on off show follow" ;;
        on) words="settings info frames tables nested all" ;;
        esac
    fi
    COMPREPLY=($(compgen -W "$words" -- "$current"))
}

complete -F _zerix zerix
