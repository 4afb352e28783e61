# shellcheck shell=sh
# To be sourced: a virtual display with a window manager, and a program that is driven there with
# real keys. Everything that a session keeps at home lies in one private folder.
#
#     desktop_start FOLDER [SIZE]    the display, with nothing on it; SIZE is 1920x1080
#     program_start COMMAND [ARG…]   Quorvel, shown and ready for keys
#     press KEY…                     keys, and the mark that log_wait starts from
#     log_wait PATTERN               a new line of the log
#     screen_wait                    a picture that has come to rest
#     shows COLOUR PART NUMBER       whether a part of the screen has so many pixels of a colour
#     picture FILE                   a picture of the screen
#     desktop_stop                   ends all of it
#
# The script that sources this sets $root to the folder of the sources.
#
# What fails says so on the standard error and returns false. Nothing waits for longer than
# $patience seconds.

patience=${QUORVEL_PATIENCE:-20}
program=
program_status=
display_pid=
manager_pid=

complain() {
    printf '%s: %s\n' "$(basename -- "$0")" "$*" >&2
    return 1
}

# Looks again and again whether "$@" is true; false when it is not in time.
wait_until() {
    wait_end=$(($(date +%s) + patience))
    until "$@"; do
        [ "$(date +%s)" -lt "$wait_end" ] || return 1
        sleep 0.05
    done
}

# --- The display ------------------------------------------------------------------------------

# Nothing of the caller's own session, no setting of the program or of its toolkit, and no folder shared
# with another desktop.
desktop_environment() {
    mkdir -p "$desktop/home" "$desktop/run" "$desktop/screen"
    chmod 700 "$desktop/run"
    unset WAYLAND_DISPLAY XDG_CACHE_HOME XDG_CONFIG_HOME XDG_DATA_HOME XDG_STATE_HOME
    unset QUORVEL_LOG_LEVEL QUORVEL_RESOURCES QUORVEL_USB_DIR
    unset ELM_DISPLAY ELM_ENGINE ELM_SCALE ELM_THEME
    export HOME="$desktop/home" XDG_RUNTIME_DIR="$desktop/run" EINA_LOG_BACKTRACE=-1
    export ECORE_NO_SYSTEM_MODULES=1
}

# The display chooses a free number itself and tells it.
display_start() {
    setpriv --pdeathsig TERM Xvfb -displayfd 3 -screen 0 "${1}x24" -fbdir "$desktop/screen" \
        -nolisten tcp -noreset 3>"$desktop/display" >"$desktop/display.log" 2>&1 &
    display_pid=$!
    wait_until test -s "$desktop/display" || complain "the virtual display does not start" || return
    DISPLAY=:$(cat "$desktop/display")
    export DISPLAY
}

is_managed() {
    xprop -root _NET_SUPPORTING_WM_CHECK | grep -q 'window id'
}

desktop_start() {
    desktop=$1
    desktop_size=${2:-1920x1080}
    desktop_environment
    display_start "$desktop_size" || return
    setpriv --pdeathsig TERM openbox --sm-disable >"$desktop/manager.log" 2>&1 &
    manager_pid=$!
    wait_until is_managed || complain "the window manager does not start"
}

desktop_stop() {
    [ -z "$program" ] || program_stop || true
    for desktop_pid in $manager_pid $display_pid; do
        kill "$desktop_pid" 2>/dev/null || true
        wait "$desktop_pid" || true
    done
    manager_pid=
    display_pid=
}

# --- The program ------------------------------------------------------------------------------

# A child that has ended stays in the list of processes until it is waited for.
is_alive() {
    [ -r "/proc/$1/stat" ] && ! grep -q '^State:.*zombie' "/proc/$1/status" 2>/dev/null
}

is_gone() {
    ! is_alive "$1"
}

# Both from the display's and from the window manager's point of view.
has_keyboard() {
    [ "$(xdotool getwindowfocus getwindowname 2>/dev/null)" = quorvel ] &&
        [ "$(xdotool getactivewindow getwindowname 2>/dev/null)" = quorvel ]
}

# A shell has its background commands ignore interrupts.
program_launch() {
    : >"$desktop/log"
    log_mark
    setpriv --pdeathsig TERM env --default-signal=INT,QUIT "$@" >"$desktop/log" 2>&1 </dev/null &
    program=$!
}

# The grey title in the topmost eighth: the first picture, which comes after a black window.
shows_title() {
    shows '#CBCBCB' "${desktop_size%x*}x$((${desktop_size#*x} / 8))+0+0" 500
}

program_start() {
    program_launch "$@"
    log_wait 's_Control is called' || return
    wait_until has_keyboard || complain "the window does not get the keyboard" || return
    wait_until shows_title || complain "the window stays empty" || return
    screen_wait
}

# Waits for its end and sets $program_status.
program_wait() {
    wait_until is_gone "$program" || complain "the program does not end" || return
    program_status=0
    wait "$program" || program_status=$?
    program=
}

# Ends it for good; false when it did not end well.
program_stop() {
    kill -TERM "$program"
    if program_wait; then
        [ "$program_status" -eq 0 ] || complain "the program ended with $program_status"
    else
        kill -KILL "$program" && wait "$program"
        program=
        return 1
    fi
}

# --- The log ----------------------------------------------------------------------------------

log_mark() {
    log_marked=$(wc -l <"$desktop/log")
}

# The lines since the mark.
log_new() {
    tail -n "+$((log_marked + 1))" "$desktop/log"
}

log_has() {
    log_new | grep -q -- "$1"
}

log_has_or_ended() {
    log_has "$1" || is_gone "$program"
}

log_wait() {
    { wait_until log_has_or_ended "$1" && log_has "$1"; } && return
    complain "no line \"$1\" in the log; its end:" || true
    log_new | tail -n 15 >&2
    return 1
}

# --- Keys and the screen ----------------------------------------------------------------------

press() {
    log_mark
    screen_mark
    xdotool key --delay 20 "$@"
}

screen_sum() {
    cksum <"$desktop/screen/Xvfb_screen0"
}

screen_mark() {
    screen_marked=$(screen_sum)
}

screen_differs() {
    [ "$(screen_sum)" != "$screen_marked" ]
}

# The same picture three times in a row.
screen_rests() {
    screen_first=$(screen_sum)
    sleep 0.05
    [ "$(screen_sum)" = "$screen_first" ] || return
    sleep 0.05
    [ "$(screen_sum)" = "$screen_first" ]
}

screen_wait() {
    wait_until screen_rests || complain "the screen does not come to rest"
}

# The same after a press that must be seen.
screen_wait_change() {
    wait_until screen_differs || complain "the screen does not change" || return
    screen_wait
}

picture() {
    convert "xwd:$desktop/screen/Xvfb_screen0" -define png:compression-level=4 "png:$1"
}

# Whether there are at least that many pixels of the colour: COLOUR PART NUMBER.
shows() {
    [ "$(colour_count "$1" "$2")" -ge "$3" ]
}

# The number of pixels of a colour in a part of the screen: COLOUR PART.
colour_count() {
    colour_answer=$(colours "$1" "$2")
    echo "${colour_answer% *}"
}

# For each COLOUR and PART a line: the number of pixels, and the rectangle around them.
colours() {
    "${root:?}/script/lib/pixels" "$desktop/screen/Xvfb_screen0" "$@"
}
