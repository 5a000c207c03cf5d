# For sourcing. Runs Windows programs under Wine in a prefix of their own, without a display.
#
#   wine_start    makes the prefix that WINEPREFIX names (default: a temporary one) and keeps Wine's server up
#   wine_stop     ends what runs in that prefix, and removes it when it was a temporary one
#   $WINE         the loader, to be put before a Windows program

# The loader itself is called, since the wrapper on PATH warns about a missing 32-bit half that nobody needs.
WINE=$(dpkg -L wine64 | grep 'lib/wine/wine64$')
export WINE
export WINEDEBUG=${WINEDEBUG:--all}
# No debugger: a crash must end the program, not wait for somebody to look at it.
export WINEDLLOVERRIDES="mscoree,mshtml=;winedbg.exe="
# Arguments outside ASCII arrive only where the locale can hold them.
export LC_ALL=C.UTF-8
unset DISPLAY

wine_started=
wine_temporary=

wine_start() {
    if [ -z "${WINEPREFIX:-}" ]; then
        wine_temporary=$(mktemp -d)
        export WINEPREFIX=$wine_temporary/prefix
    fi
    wine_started=yes
    # The first program makes the prefix and starts its services. Asking wineboot for that would start a second
    # service manager beside the first, and calls would reach the one or the other.
    if ! timeout 180 "$WINE" cmd.exe /c exit >/dev/null 2>&1; then
        echo "wine.sh: no Wine prefix could be made in $WINEPREFIX" >&2
        return 1
    fi
    # Starting Wine's server costs seconds; a sleeping program keeps it up between two others.
    "$WINE" cmd.exe /c "ping -n 100000 127.0.0.1" >/dev/null 2>&1 &
}

wine_stop() {
    # Without a start, the server of the user's own prefix would be the one that is ended here.
    if [ -n "$wine_started" ]; then
        "$(dirname "$WINE")/wineserver64" -k >/dev/null 2>&1 || true
        wait 2>/dev/null || true
    fi
    if [ -n "$wine_temporary" ]; then
        # The server keeps its socket outside the prefix, in a folder whose name it leaves there.
        local socket_folder
        socket_folder=$(cat "$WINEPREFIX/wineserver" 2>/dev/null || true)
        rm -rf "$wine_temporary" ${socket_folder:+"/tmp/$socket_folder"}
    fi
}
