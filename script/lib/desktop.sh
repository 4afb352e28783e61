# shellcheck shell=sh
# Functions for scripts that run Quorvel on a virtual display with a window manager and drive it with
# key events. All files of the session are in one private folder.
#
#     desktop_start FOLDER [SIZE]    starts an empty display; SIZE is 1920x1080 by default
#     program_start COMMAND [ARG…]   starts Quorvel and waits until it is visible and gets keys
#     press KEY…                     sends keys; log_wait then searches only later lines
#     log_wait PATTERN               waits for a new line of the log
#     screen_wait                    waits until the screen stops changing
#     shows COLOUR PART NUMBER       returns whether the part has at least NUMBER pixels of the colour
#     theme_colour NAME [PALETTE]    prints a colour of the theme
#     picture FILE                   saves a picture of the screen
#     desktop_stop                   stops the program and the display
#
# The calling script sets $root to the folder of the sources. A function that fails prints the reason
# to the standard error and returns false. No function waits for more than $timeout seconds.

timeout=${QUORVEL_UI_TIMEOUT:-20}
program=
program_status=
display_pid=
manager_pid=

complain() {
    printf '%s: %s\n' "$(basename -- "$0")" "$*" >&2
    return 1
}

# Runs "$@" until it succeeds. Returns false after the timeout.
wait_until() {
    wait_end=$(($(date +%s) + timeout))
    until "$@"; do
        [ "$(date +%s)" -lt "$wait_end" ] || return 1
        sleep 0.05
    done
}

# --- The display ------------------------------------------------------------------------------

# Removes the caller's session and settings from the environment, and sets private folders.
desktop_environment() {
    mkdir -p "$desktop/home" "$desktop/run" "$desktop/screen"
    chmod 700 "$desktop/run"
    unset WAYLAND_DISPLAY XDG_CACHE_HOME XDG_CONFIG_HOME XDG_DATA_HOME XDG_STATE_HOME
    unset QUORVEL_LOG_LEVEL QUORVEL_RESOURCES QUORVEL_USB_DIR
    unset ELM_DISPLAY ELM_ENGINE ELM_SCALE ELM_THEME
    export HOME="$desktop/home" XDG_RUNTIME_DIR="$desktop/run" EINA_LOG_BACKTRACE=-1
    export ECORE_NO_SYSTEM_MODULES=1
}

# Xvfb chooses a free number and writes it to descriptor 3.
display_start() {
    setpriv --pdeathsig TERM Xvfb -displayfd 3 -screen 0 "${1}x24" -fbdir "$desktop/screen" \
        -nolisten tcp -noreset 3>"$desktop/display" >"$desktop/display.log" 2>&1 &
    display_pid=$!
    wait_until test -s "$desktop/display" || complain "Xvfb: the display does not start" || return
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
    wait_until is_managed || complain "openbox: the window manager does not start" || return
    # The first key of a display can be lost, because the window manager then reads the keyboard again.
    xdotool key Shift_L
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

# A child that exited remains a zombie until it is waited for.
is_alive() {
    [ -r "/proc/$1/stat" ] && ! grep -q '^State:.*zombie' "/proc/$1/status" 2>/dev/null
}

is_gone() {
    ! is_alive "$1"
}

# The display and the window manager must agree on the focus.
has_keyboard() {
    [ "$(xdotool getwindowfocus getwindowname 2>/dev/null)" = quorvel ] &&
        [ "$(xdotool getactivewindow getwindowname 2>/dev/null)" = quorvel ]
}

# A shell makes background commands ignore interrupts; env restores the default.
program_launch() {
    : >"$desktop/log"
    log_mark
    setpriv --pdeathsig TERM env --default-signal=INT,QUIT "$@" >"$desktop/log" 2>&1 </dev/null &
    program=$!
}

# Returns whether the topmost eighth has the grey title. The window is black before its first picture.
shows_title() {
    shows '#CBCBCB' "${desktop_size%x*}x$((${desktop_size#*x} / 8))+0+0" 500
}

program_start() {
    program_launch "$@"
    log_wait 's_Control is called' || return
    wait_until has_keyboard || complain "$1: the window does not get the keyboard" || return
    wait_until shows_title || complain "$1: the window stays empty" || return
    screen_wait
}

# Waits until the program exits and sets $program_status.
program_wait() {
    wait_until is_gone "$program" || complain "the program does not exit" || return
    program_status=0
    wait "$program" || program_status=$?
    program=
}

# Terminates the program. Returns false if it does not exit with status 0.
program_stop() {
    kill -TERM "$program"
    if program_wait; then
        [ "$program_status" -eq 0 ] || complain "the program exited with status $program_status"
    else
        kill -KILL "$program"
        wait "$program" || true
        program=
        return 1
    fi
}

# --- The log ----------------------------------------------------------------------------------

log_mark() {
    log_marked=$(wc -l <"$desktop/log")
}

# Prints the lines since the mark.
log_new() {
    tail -n "+$((log_marked + 1))" "$desktop/log"
}

log_has() {
    log_new | grep -q -- "$1"
}

log_has_or_gone() {
    log_has "$1" || is_gone "$program"
}

log_wait() {
    { wait_until log_has_or_gone "$1" && log_has "$1"; } && return
    complain "no line \"$1\" in the log; last lines:" || true
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

# Returns whether a thread of a process runs or waits for a processor or a disk: PID.
is_busy() {
    cat "/proc/$1/task/"*/status 2>/dev/null | grep -q '^State:.[RD]'
}

screen_is_idle() {
    ! is_busy "$screen_owner" && ! is_busy "$display_pid" && [ "$(screen_sum)" = "$screen_first" ]
}

# Returns whether three successive pictures are equal and the program is idle. A busy program may still load
# a photo, which appears after the other widgets.
screen_rests() {
    screen_first=$(screen_sum)
    sleep 0.05
    screen_is_idle || return
    sleep 0.05
    screen_is_idle
}

screen_wait() {
    screen_owner=$(xdotool getwindowfocus getwindowpid 2>/dev/null) || screen_owner=$program
    wait_until screen_rests || complain "the screen does not stop changing"
}

# Waits until the keys have changed the screen and the screen stops changing.
screen_wait_change() {
    wait_until screen_differs || complain "the screen does not change" || return
    screen_wait
}

picture() {
    convert "xwd:$desktop/screen/Xvfb_screen0" -define png:compression-level=4 "png:$1"
}

# Prints a colour of the theme as #RRGGBB: NAME [PALETTE]
theme_colour() {
    # shellcheck disable=SC2046 # a list of numbers
    printf '#%02X%02X%02X\n' $(sed -n "s/^#define $1 \([0-9]* [0-9]* [0-9]*\) .*/\1/p" \
        "${root:?}/platform/desktop/theme/${2:-palette}.edc")
}

# Returns whether a part of the screen has at least NUMBER pixels of a colour: COLOUR PART NUMBER.
shows() {
    [ "$(colour_count "$1" "$2")" -ge "$3" ]
}

# Prints the number of pixels of a colour in a part of the screen: COLOUR PART.
colour_count() {
    colour_answer=$(colours "$1" "$2")
    echo "${colour_answer% *}"
}

# Prints a line for each COLOUR and PART: the number of pixels and the rectangle around them.
colours() {
    "${root:?}/script/lib/pixels" "$desktop/screen/Xvfb_screen0" "$@"
}
