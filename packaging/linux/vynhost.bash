# Completion of vynhost's commands, options and files.                                  -*- shell-script -*-

_vynhost()
{
    local cur prev words cword
    _init_completion || return

    local commands='list skeleton run calibrate level spectrum bands transfer dialog doctor validate' command=
    local i
    for ((i = 1; i < cword; i++)); do
        if [[ ${words[i]} != -* ]]; then
            command=${words[i]}
            break
        fi
    done

    if [[ $prev == --lang ]]; then
        COMPREPLY=($(compgen -W 'en de' -- "$cur"))
        return
    fi
    case $command in
        '')
            COMPREPLY=($(compgen -W "$commands --lang --help --version" -- "$cur"))
            ;;
        list)
            COMPREPLY=($(compgen -W '--json --markdown --lang --help' -- "$cur"))
            ;;
        run)
            case $prev in
                --out) _filedir -d ;;
                --csv) COMPREPLY=($(compgen -W 'en de' -- "$cur")) ;;
                --input | --memory | --report | --each | --jobs) ;;
                *)
                    if [[ $cur == -* ]]; then
                        COMPREPLY=($(compgen -W '--input --out --csv --memory --report --force --quiet
                            --no-progress --totals --each --jobs --resume --lang --help' -- "$cur"))
                    else
                        _filedir toml
                    fi
                    ;;
            esac
            ;;
        calibrate)
            case $prev in
                --out) _filedir toml ;;
                --level | --frequency) ;;
                *)
                    if [[ $cur == -* ]]; then
                        COMPREPLY=($(compgen -W '--level --frequency --out --force --lang --help' -- "$cur"))
                    else
                        _filedir
                    fi
                    ;;
            esac
            ;;
        level | spectrum | bands | transfer)
            case $prev in
                --out) _filedir -d ;;
                --calibration) _filedir toml ;;
                *)
                    if [[ $cur == -* ]]; then
                        local options='--calibration --full-scale --unit --sensitivity --range --channels --out
                            --csv --memory --diagram --force --quiet --no-progress --lang --help'
                        case $command in
                            level) options+=' --weighting --time --every --clock --percentiles --bands' ;;
                            spectrum) options+=' --length --overlap --averages --window --peaks' ;;
                            bands) options+=' --length --overlap --averages --octaves --weighting' ;;
                            transfer)
                                options+=' --length --overlap --averages --excitation --response --window'
                                ;;
                        esac
                        COMPREPLY=($(compgen -W "$options" -- "$cur"))
                    else
                        _filedir
                    fi
                    ;;
            esac
            ;;
        doctor | skeleton)
            COMPREPLY=($(compgen -W '--lang --help' -- "$cur"))
            ;;
        validate)
            case $prev in
                --level) COMPREPLY=($(compgen -W '1 2 3 4 5 6 7 8 9 10' -- "$cur")) ;;
                --seed | --check) ;;
                *)
                    if [[ $cur == -* ]]; then
                        COMPREPLY=($(compgen -W '--level --json --seed --check --lang --help' -- "$cur"))
                    else
                        _filedir so
                    fi
                    ;;
            esac
            ;;
        dialog)
            if [[ $cur == -* ]]; then
                COMPREPLY=($(compgen -W '--lang --help' -- "$cur"))
            else
                _filedir toml
            fi
            ;;
    esac
} &&
    complete -F _vynhost vynhost
