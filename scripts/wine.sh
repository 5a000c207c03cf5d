# Source this file. It runs Windows programs under Wine in a separate prefix, without a display.
#
#   wine_start                 creates the prefix WINEPREFIX, by default a temporary one; keeps wineserver up
#   wine_stop                  ends all programs in that prefix, and removes a temporary prefix
#   wine_display WIDTHxHEIGHT  starts an X server for windows; call it before wine_start
#   $WINE                      the loader: $WINE program.exe

# The loader itself: the wrapper script on PATH warns about the missing 32-bit half, which no program here
# needs.
WINE=$(dpkg -L wine64 | grep 'lib/wine/wine64$')
export WINE
# Shows no messages of Wine except those of a program that does not start, which wine-run.sh and
# tools/loopback/prefix.py search for.
export WINEDEBUG=${WINEDEBUG:--all,err+virtual}
# Without the debugger, a crash ends the program at once. Without the menu builder, Wine writes no menu
# entries into the user's home for each link.
export WINEDLLOVERRIDES="mscoree,mshtml=;winedbg.exe=;winemenubuilder.exe="
# Wine passes arguments outside ASCII only in a locale that can represent them.
export LC_ALL=C.UTF-8
unset DISPLAY

wine_started=
wine_keeper=
wine_log=
wine_temporary=
wine_x_server=

wine_display() {
    local number
    number=$(mktemp)
    Xvfb -displayfd 3 -screen 0 "$1x24" 3>"$number" 2>/dev/null &
    wine_x_server=$!
    for _ in $(seq 100); do [ -s "$number" ] || sleep 0.1; done
    DISPLAY=:$(cat "$number")
    export DISPLAY
    rm -f "$number"
}

wine_start() {
    if [ -z "${WINEPREFIX:-}" ]; then
        wine_temporary=$(mktemp -d)
        export WINEPREFIX=$wine_temporary/prefix
    fi
    wine_started=yes
    mkdir -p "$WINEPREFIX"
    # The first program creates the prefix and starts Wine's services. Two programs at once would start two
    # service managers. The program below keeps running, because starting Wine's server again takes seconds.
    wine_log=$(mktemp)
    "$WINE" cmd.exe /c "echo ready & ping -n 100000 127.0.0.1" >"$wine_log" 2>&1 &
    wine_keeper=$!
    for _ in $(seq 1800); do
        grep -q ready "$wine_log" && break
        sleep 0.1
    done
    if ! grep -q ready "$wine_log"; then
        echo "wine.sh: Wine did not start in $WINEPREFIX within 180 s" >&2
        return 1
    fi
    rm -f "$wine_log"
    # Otherwise the first program with a window starts the desktop, which inherits the program's output and
    # keeps a pipe open after the program has ended.
    "$WINE" explorer.exe /desktop >/dev/null 2>&1 &
}

wine_stop() {
    # Without wine_start, this would end the server of the user's own prefix.
    if [ -n "$wine_started" ]; then
        timeout 30 "$(dirname "$WINE")/wineserver64" -k >/dev/null 2>&1 || true
        [ -z "$wine_keeper" ] || kill "$wine_keeper" 2>/dev/null || true
        rm -f "$wine_log"
    fi
    [ -z "$wine_x_server" ] || kill "$wine_x_server" 2>/dev/null || true
    if [ -n "$wine_temporary" ]; then
        # The server's socket is outside the prefix, in a folder that the file "wineserver" names.
        local socket_folder
        socket_folder=$(cat "$WINEPREFIX/wineserver" 2>/dev/null || true)
        rm -rf "$wine_temporary" ${socket_folder:+"/tmp/$socket_folder"}
    fi
}
