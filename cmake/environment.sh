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
long_packages=(
    python3-pil
)

say() {
    printf '%s\n' "$*" >&2
}

# exclusively COMMAND...: one such command at a time in this clone, because two builds would write the same
# files. The command does not inherit the lock: a compiler cache's server may outlive it.
exclusively() {
    mkdir -p "$root/build"
    (
        exec {build_lock}>"$root/build/build.lock"
        flock -n "$build_lock" || { say "Waiting for another build in $root"; flock "$build_lock"; }
        ("$@") {build_lock}>&-
    )
}

# install_packages NAME...: installs missing packages; fast if there are none.
install_packages() {
    [[ -z $(missing_packages "$@") ]] || exclusively install_missing "$@"
}

missing_packages() {
    local name
    for name in "$@"; do
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null) == installed ]] ||
            printf '%s\n' "$name"
    done
}

install_missing() {
    local missing
    readarray -t missing < <(missing_packages "$@")
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
    exclusively configure_if_new "$1"
}

configure_if_new() {
    [[ -f $root/build/$1/build.ninja ]] || (cd "$root" && quietly cmake --preset "$1")
}

# build_preset PRESET [TARGET...]: prints nothing if everything is up to date.
build_preset() {
    exclusively build_if_needed "$@"
}

build_if_needed() {
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
    # The server's socket, shader and font caches, and the sound client's files would otherwise stay in /tmp
    # and the home folder.
    export TMPDIR="$wine_home/tmp" XDG_CACHE_HOME="$wine_home/cache"
    sound_server_runs || export PULSE_RUNTIME_PATH="$wine_home/sound" PULSE_COOKIE="$wine_home/sound/cookie"
    mkdir -p "$TMPDIR" "$wine_home/sound"
}

# A sound server of the user is found through the user's own files.
sound_server_runs() {
    [[ -n ${PULSE_SERVER-} || -S ${PULSE_RUNTIME_PATH:-${XDG_RUNTIME_DIR-}/pulse}/native ]] ||
        compgen -G "${XDG_CONFIG_HOME:-${HOME-}/.config}/pulse/*-runtime/native" >/dev/null
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

# remove_old_prefixes FOLDER: removes the prefixes that no session uses: those of other recipes, and of this
# one those that no session has used for a day.
remove_old_prefixes() {
    local lock
    for lock in "$wine_home"/*/session-*.lock; do
        [[ -e $lock ]] || continue
        if [[ ${lock%/*} != "$1" ]]; then
            flock -n "$lock" rm -rf "${lock%.lock}" "$lock" "${lock%/*}/template" || true
            rmdir "${lock%/*}" 2>/dev/null || true
        elif [[ -n $(find "$lock" -mmin +1440) ]]; then
            flock -n "$lock" rm -rf "${lock%.lock}" "$lock" || true
        fi
    done
}

# Claims the first prefix that no other session uses; it stays locked until this shell exits.
claim_prefix() {
    local folder number=0
    folder=$(prefix_folder)
    mkdir -p "$root/build"
    exec {prefix_lock}>"$root/build/wine.lock"
    flock "$prefix_lock"
    [[ -d $folder/template ]] || make_prefix_template "$folder"
    while :; do
        number=$((number + 1))
        exec {session_lock}>"$folder/session-$number.lock"
        flock -n "$session_lock" && break
        exec {session_lock}>&-
    done
    touch "$folder/session-$number.lock"
    remove_old_prefixes "$folder"
    export WINEPREFIX="$folder/session-$number"
    if [[ ! -f $WINEPREFIX/complete ]]; then
        rm -rf "$WINEPREFIX"
        cp -a "$folder/template" "$WINEPREFIX"
        touch "$WINEPREFIX/complete"
    fi
    exec {prefix_lock}>&-
}

# Starts an X server if there is no display. It has no window manager. Ctrl-C must not reach it (nor the
# keeper, below): it outlives the program, which on Ctrl-C still writes its report. Hence setsid.
start_display() {
    window_manager=Y
    [[ -z ${DISPLAY-} ]] || return 0
    window_manager=N
    exec {display_pipe}<> <(:)
    setsid Xvfb -displayfd "$display_pipe" -screen 0 1920x1080x24 -nolisten tcp >/dev/null 2>&1 &
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
    coproc keeper { exec setsid "$wine_loader" cmd /c "echo ready& set /p line=" 2>/dev/null; }
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
