# Shared by the scripts: packages, building a preset, the Wine prefix and the Wine session.
# Sourced by bash scripts that set -euo pipefail. Messages go to standard error.
# shellcheck shell=bash disable=SC2034

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
wine_home="$root/build/wine"
wine_loader=/usr/lib/wine/wine64
wine_server=/usr/lib/wine/wineserver64

run_packages=(
    wine wine64 xvfb libgl1 libgl1-mesa-dri libgnutls30 fonts-liberation
)
build_packages=(
    g++-mingw-w64-x86-64-posix cmake ninja-build googletest rapidjson-dev libcli11-dev dpkg-dev
    ca-certificates git
)
test_packages=(
    g++ clang lld clang-format-14 openssl python3
)
lint_packages=(
    clang-tidy-14 cppcheck
)

say() {
    printf '%s\n' "$*" >&2
}

# install_packages NAME...: installs missing packages; fast if there are none.
install_packages() {
    local name missing=()
    for name in "$@"; do
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null) == installed ]] || missing+=("$name")
    done
    ((${#missing[@]})) || return 0
    say "Installing ${missing[*]}"
    quietly as_root apt-get -qq update
    quietly as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get -qq install --no-install-recommends -o Dpkg::Use-Pty=0 "${missing[@]}"
}

as_root() {
    if ((EUID == 0)); then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        say "This needs root or sudo: $*"
        return 1
    fi
}

# quietly COMMAND...: shows the command's output only if it fails.
quietly() {
    local output status=0
    output=$("$@" 2>&1) || status=$?
    ((status == 0)) || say "$output"
    return "$status"
}

# configure_preset PRESET: once per build folder; later builds reconfigure by themselves.
configure_preset() {
    [[ -f $root/build/$1/build.ninja ]] || (cd "$root" && quietly cmake --preset "$1")
}

# build_preset PRESET [TARGET...]: prints nothing if everything is up to date.
build_preset() {
    local folder="$root/build/$1"
    ! ninja -n -C "$folder" "${@:2}" 2>&1 | grep 'no work to do' >/dev/null || return 0
    say "Building $1"
    ninja -C "$folder" "${@:2}" >&2
}

set_wine_environment() {
    export WINEDEBUG=${WINEDEBUG--all}
    # No installers, menus or debuggers: a crash prints one line instead of opening a dialog.
    export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe,winedbg.exe=d"
    # Without a sound card ALSA would flood the terminal with errors.
    [[ -e /proc/asound/cards ]] || WINEDLLOVERRIDES+=";winealsa.drv=d"
}

# The folder of the prefixes for this recipe and this version of Wine.
prefix_folder() {
    local key
    key=$({ declare -f make_prefix_template; "$wine_loader" --version; } | cksum)
    printf '%s/%s' "$wine_home" "${key%% *}"
}

# make_prefix_template FOLDER: the prefix that sessions copy, with a drive D: for the host's playlists.
make_prefix_template() {
    local folder=$1 unfinished="$1/unfinished"
    say "Creating a Wine prefix"
    rm -rf "$unfinished"
    mkdir -p "$unfinished"
    (
        unset DISPLAY
        export WINEPREFIX=$unfinished
        timeout -k 5 180 "$wine_loader" wineboot -i </dev/null >/dev/null 2>&1 &&
            timeout -k 5 60 "$wine_server" -w
    ) || { say "Wine cannot create a prefix"; return 1; }
    mkdir "$unfinished/drive_d"
    ln -s ../drive_d "$unfinished/dosdevices/d:"
    mv "$unfinished" "$folder/template"
}

# remove_old_prefixes FOLDER: removes prefixes of other recipes that no session uses.
remove_old_prefixes() {
    local lock
    for lock in "$wine_home"/*/session-*.lock; do
        [[ -e $lock && ${lock%/*} != "$1" ]] || continue
        flock -n "$lock" rm -rf "${lock%.lock}" "$lock" "${lock%/*}/template" || true
    done
}

# Claims the first prefix that no other session uses; it stays locked until this shell exits.
claim_prefix() {
    local folder number=0
    folder=$(prefix_folder)
    mkdir -p "$root/build"
    exec {prefix_lock}>"$root/build/wine.lock"
    flock "$prefix_lock"
    if [[ ! -d $folder/template ]]; then
        make_prefix_template "$folder"
        remove_old_prefixes "$folder"
    fi
    while :; do
        number=$((number + 1))
        exec {session_lock}>"$folder/session-$number.lock"
        flock -n "$session_lock" && break
        exec {session_lock}>&-
    done
    export WINEPREFIX="$folder/session-$number"
    if [[ ! -f $WINEPREFIX/complete ]]; then
        rm -rf "$WINEPREFIX"
        cp -a "$folder/template" "$WINEPREFIX"
        touch "$WINEPREFIX/complete"
    fi
    exec {prefix_lock}>&-
}

# Starts an X server if there is no display. It has no window manager.
start_display() {
    window_manager=Y
    [[ -z ${DISPLAY-} ]] || return 0
    window_manager=N
    exec {display_pipe}<> <(:)
    Xvfb -displayfd "$display_pipe" -screen 0 1920x1080x24 -nolisten tcp >/dev/null 2>&1 &
    display_process=$!
    local number
    read -r -t 30 number <&"$display_pipe" || { say "Xvfb did not start"; return 1; }
    exec {display_pipe}<&-
    export DISPLAY=":$number"
}

# Starts a Wine session: a prefix, a display and a keeper process, which holds the session open until it reads
# a line or the end of its input. Programs then start in about 40 ms instead of seconds, and Wine's services,
# which outlive them, inherit the keeper's output instead of ours.
start_wine_session() {
    set_wine_environment
    claim_prefix
    trap stop_wine_session EXIT
    start_display
    coproc keeper { exec "$wine_loader" cmd /c "echo ready& set /p line=" 2>/dev/null; }
    local ready
    read -r -t 60 ready <&"${keeper[0]}" || { say "Wine did not start"; return 1; }
    # Otherwise each window would wait two seconds for a missing window manager.
    "$wine_loader" reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d "$window_manager" /f >/dev/null
    export PIXELFORGE_WINE_SESSION=1
}

stop_wine_session() {
    timeout 20 "$wine_server" -k || true
    if [[ -n ${display_process-} ]]; then
        kill "$display_process" 2>/dev/null || true
        wait "$display_process" 2>/dev/null || true
    fi
}
