# For sourcing. Runs Windows programs under Wine in a prefix of their own, without a display.
#
#   wine_start    makes the prefix that WINEPREFIX names (default: a temporary one) and keeps Wine's server up
#   wine_stop     ends what runs in that prefix, and removes it when it was a temporary one
#   wine_display  starts an X server, WIDTHxHEIGHT pixels, for the windows of a wine_start that follows
#   $WINE         the loader, to be put before a Windows program

# The loader itself is called, since the wrapper on PATH warns about a missing 32-bit half that nobody needs.
WINE=$(dpkg -L wine64 | grep 'lib/wine/wine64$')
export WINE
# Of its own messages only those that tell why a program did not start, see tools/loopback/prefix.py.
export WINEDEBUG=${WINEDEBUG:--all,err+virtual}
# No debugger: a crash must end the program, not wait for somebody to look at it.
# No menu entries either: for each link, Wine would write some into the user's home.
export WINEDLLOVERRIDES="mscoree,mshtml=;winedbg.exe=;winemenubuilder.exe="
# Arguments outside ASCII arrive only where the locale can hold them.
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
    # The first program makes the prefix and starts Wine's services. There must be only one first program, or two
    # service managers stand beside each other; it sleeps on, since starting Wine's server anew costs seconds.
    wine_log=$(mktemp)
    "$WINE" cmd.exe /c "echo ready & ping -n 100000 127.0.0.1" >"$wine_log" 2>&1 &
    wine_keeper=$!
    for _ in $(seq 1800); do
        grep -q ready "$wine_log" && break
        sleep 0.1
    done
    if ! grep -q ready "$wine_log"; then
        echo "wine.sh: Wine does not start in $WINEPREFIX" >&2
        return 1
    fi
    rm -f "$wine_log"
    # The first program with a window would start the desktop, which inherits its output: a pipe never ends then.
    "$WINE" explorer.exe /desktop >/dev/null 2>&1 &
}

wine_stop() {
    # Without a start, the server of the user's own prefix would be the one that is ended here.
    if [ -n "$wine_started" ]; then
        timeout 30 "$(dirname "$WINE")/wineserver64" -k >/dev/null 2>&1 || true
        [ -z "$wine_keeper" ] || kill "$wine_keeper" 2>/dev/null || true
        rm -f "$wine_log"
    fi
    [ -z "$wine_x_server" ] || kill "$wine_x_server" 2>/dev/null || true
    if [ -n "$wine_temporary" ]; then
        # The server keeps its socket outside the prefix, in a folder whose name it leaves there.
        local socket_folder
        socket_folder=$(cat "$WINEPREFIX/wineserver" 2>/dev/null || true)
        rm -rf "$wine_temporary" ${socket_folder:+"/tmp/$socket_folder"}
    fi
}
