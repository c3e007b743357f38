#!/bin/bash
site=${0%/bin/*}/lib/python3.14/site-packages
die_in() {
    if [[ ${KILL-} == "$1" ]]; then kill -KILL $PPID; exit 1; fi
}
echo "$*" >>"$CALLS"
case $* in
    "-m venv"*)
        mkdir -p "$3"/{bin,lib/python3.14/site-packages}
        die_in environment
        cp "$0" "$3/bin/python"
        ;;
    "-m pip install -r"*)
        echo broken >"$site/numpy"
        die_in packages
        [[ ${FAIL-} != packages ]] || exit 1
        echo whole >"$site/numpy"
        ;;
    "-m pip install"*)
        # As with pip: what has no record cannot be replaced.
        if [[ -e $site/vekanalysis-1 && ! -e $site/vekanalysis-1/RECORD ]]; then
            echo "no RECORD file was found"
            exit 1
        fi
        mkdir -p "$site"/vekanalysis{,-1}
        die_in package
        [[ ${FAIL-} != package ]] || exit 1
        touch "$site/vekanalysis-1/RECORD" "$site/vekanalysis/__init__.py"
        echo "def main(program): import sys; print(program, *sys.argv[1:])" \
            >"$site/vekanalysis/__main__.py"
        ;;
    -) ;;
    "-P -c"*) exec "$REAL" -P -c "import sys; sys.path.insert(0, '$site'); $3" "${@:4}" ;;
    *) exec "$REAL" "$@" ;;
esac
