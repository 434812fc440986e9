# Completion for bash of all programs; installed under the name of each.

_tinct_files() { # EXTENSIONS: files that end so, and directories
    compopt -o filenames 2>/dev/null
    local file
    while IFS= read -r file; do
        [[ -d $file || $file == *.@($1) ]] && COMPREPLY+=("$file")
    done < <(compgen -f -- "$cur")
}

_tinct_words() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$cur"); }

_tinct_any_file() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$cur")
}

_tinct() {
    local cur=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    shopt -q extglob || { shopt -s extglob; local restore=1; }
    case $before in
    -p) _tinct_files tnp ;;
    *)
        case $cur in
        -*) _tinct_words "-f -p -- -h --help --version" ;;
        *) _tinct_files tnc ;;
        esac
        ;;
    esac
    [[ -n ${restore-} ]] && shopt -u extglob
}

_tinct_batch() {
    local cur=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]-}
    if ((COMP_CWORD == 1)); then _tinct_words "info pick samples apply -h --help --version"; return; fi
    shopt -q extglob || { shopt -s extglob; local restore=1; }
    case $before in
    --palette) _tinct_files tnp ;;
    --sets) _tinct_files sets ;;
    --type) _tinct_words "rgb tif gif tga bmp pcx jpg png" ;;
    --bits) _tinct_words "8 24" ;;
    -o) _tinct_any_file ;;
    --set | --colors | --gamma | --frames) ;;
    *)
        case $command:$cur in
        apply:-*)
            _tinct_words "--palette --set --sets -o --type --bits --uncompressed --colors --gamma --closest --grey --force \
                --skip-done --frames --list"
            ;;
        info:-* | pick:-*) _tinct_words "--json" ;;
        *) _tinct_files tnc ;;
        esac
        ;;
    esac
    [[ -n ${restore-} ]] && shopt -u extglob
}

_rzl() {
    local cur=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]-}
    if ((COMP_CWORD == 1)); then _tinct_words "formats info cat convert -h --help --version"; return; fi
    case $before in
    --standard) mapfile -t COMPREPLY < <(compgen -W "$(rzl formats 2>/dev/null | awk '{print $2}')" -- "$cur") ;;
    --image | --overview | --format | --compression | --tile) ;;
    *)
        case $command:$cur in
        info:-*) _tinct_words "--image --overview --json" ;;
        cat:-*) _tinct_words "--image --overview" ;;
        convert:-*) _tinct_words "--standard --format --compression --tile --vlt --image --overview" ;;
        *) _tinct_any_file ;;
        esac
        ;;
    esac
}

_tinct_sample() {
    local cur=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} scenes="chair room still"
    case $before in
    --compress) _tinct_words "none plines stream both" ;;
    --pens) _tinct_words "$scenes" ;;
    --size | --seed) ;;
    *)
        case $cur in
        -*) _tinct_words "--size --compress --seed --list --pens -h --help --version" ;;
        *) if ((COMP_CWORD == 1)); then _tinct_words "$scenes"; else _tinct_any_file; fi ;;
        esac
        ;;
    esac
}

_frmc() {
    local cur=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    case $before:$cur in
    --version:*) _tinct_words "3 4 5" ;;
    *:-*) _tinct_words "--version --help" ;;
    *) _tinct_any_file ;;
    esac
}

complete -F _tinct tinct
complete -F _tinct_batch tinct-batch
complete -F _rzl rzl
complete -F _tinct_sample tinct-sample
complete -F _frmc frmc frmdump
