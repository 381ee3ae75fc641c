# shellcheck shell=bash
# The surroundings in which ksv-host opens a page, on this system and under Wine, and a hand on the mouse for it.
# Source it after `set -euo pipefail`.
# shellcheck source=../../scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/lib.sh"
# shellcheck source=../browser/environment.sh
source "$root/kit/browser/environment.sh"

# A path as Wine has it.
ksv_wine_path() { printf 'Z:%s' "${1//\//\\}"; }

# Makes the surroundings for 64 or 32 bits in a Wine prefix of their own, and keeps the libraries' files in FOLDER. KIT is
# the folder that holds the libraries. Wants the screen of ksv_start_screen.
# Leaves in ksv_wine what runs a Windows program there. Usage: ksv_make_wine_environment BITS FOLDER KIT
ksv_make_wine_environment() {
  local base
  mkdir -p "$2"
  ksv_folder=$(cd "$2" && pwd -P)
  ksv_wine=("$root/scripts/wine" --here)
  if (($1 == 32)); then ksv_wine+=(--32); fi
  export KSV_WINE_PREFIX=$root/build/wine$1-host
  KSV_AGENT_HOME=$(ksv_wine_path "$ksv_folder/agent")
  KSV_DISPLAY_HOME=$(ksv_wine_path "$ksv_folder/display")
  KSV_DISPLAY_LAYOUT=$(ksv_wine_path "$ksv_folder/layout")
  export KSV_AGENT_HOME KSV_DISPLAY_HOME KSV_DISPLAY_LAYOUT
  ksv_fit_folder "$3"
  "${ksv_wine[@]}" reg add 'HKLM\Software\Norvo\Services\KSV' /v FILELOCALE /d "$(ksv_wine_path "$ksv_fitting")\\" /f >/dev/null
  for base in "$KSV_WINE_PREFIX"/drive_c/users/*/AppData; do
    mkdir -p "$base/LocalLow/Norvo/webapi"
    date +%s >"$base/LocalLow/Norvo/webapi/lastUpdatewin32-npapi"
  done
}

# Makes the surroundings of a built system, native, windows64 or windows32, in FOLDER. The display is the one for tests: it
# tells where the digits are, which a user sees. Wants the screen of ksv_start_screen.
# Leaves in ksv_host, ksv_bridge and ksv_unsealer what runs the programs there. Usage: ksv_make_host_environment SYSTEM FOLDER
ksv_make_host_environment() {
  local build=$root/build/$1 runner=() suffix=""
  if [[ "$1" == native ]]; then
    ksv_make_environment "$2" "$build/kit-for-tests"
  else
    ksv_make_wine_environment "${1#windows}" "$2" "$build/kit-for-tests"
    runner=("${ksv_wine[@]}") suffix=.exe
  fi
  ksv_host=("${runner[@]}" "$build/kit/ksv-host$suffix")
  ksv_bridge=("${runner[@]}" "$build/bridge/ksv-bridge$suffix")
  # shellcheck disable=SC2034 # the callers read it
  ksv_unsealer=("${runner[@]}" "$build/kit/ksv-unseal$suffix")
}

# Lets current browsers start the bridge's host of ksv_make_host_environment. What it complains of is in display.err.
ksv_choose_bridge() {
  export KSV_BRIDGE_HOST=$ksv_folder/bridge-host
  rm -f "$ksv_folder/layout"
  printf '#!/bin/bash\nexec%s "$@" 2>>%q\n' "$(printf ' %q' "${ksv_bridge[@]}")" "$ksv_folder/display.err" >"$KSV_BRIDGE_HOST"
  chmod +x "$KSV_BRIDGE_HOST"
}

# Prints where the middle of a key is in the window. Usage: ksv_key LABEL
ksv_key() {
  awk -v label="$1" '$1 == label {printf "%d %d\n", $2 + $4 / 2, $3 + $5 / 2; found = 1} END {exit !found}' "$ksv_folder/layout"
}

# Clicks a digit on the pad from outside of the host, which told where its window is. Usage: ksv_click_digit DIGIT
ksv_click_digit() {
  local left top x y
  read -r left top < <(sed -n 's/.*window begins at \([0-9]*\),\([0-9]*\) of the screen.*/\1 \2/p' "$ksv_folder/display.err")
  read -r x y < <(ksv_key "$1")
  xdotool mousemove $((left + x)) $((top + y)) click 1
}

# Saves the window of the display page, once it stands still: what is painted reaches the screen a little later.
ksv_save_picture() {
  local window before="" now
  window=$(xdotool search --onlyvisible --name '^display.html$' | tail -n 1)
  while import -window "$window" "$1" && now=$(cksum <"$1") && [[ "$now" != "$before" ]]; do
    before=$now
    sleep 0.3
  done
}

# A challenge for one input, in ksv_challenge.
ksv_make_challenge() { ksv_challenge=$(mcookie); }

# Shows the display page in the host of ksv_make_host_environment and enters four digits by the mouse, as a user does, one
# as soon as the page has told of the one before: then the keys have their new order. Prints the transcript, and saves a
# picture, if one is asked for, when half of them are entered. Usage: ksv_enter_pin DIGITS [PICTURE]
ksv_enter_pin() {
  local line pid status=0
  rm -f "$ksv_folder/lines"
  mkfifo "$ksv_folder/lines"
  "${ksv_host[@]}" --size 320x420 --timeout 60 --address "file:///display.html#$ksv_challenge" "$root/kit/pages/display.html" >"$ksv_folder/lines" 2>"$ksv_folder/display.err" &
  pid=$!
  while read -r line; do
    line=${line%$'\r'}
    echo "$line"
    case "$line" in
      ready*) ksv_click_digit "${1:0:1}" >&2 ;;
      [123]" of "*)
        [[ -z "${2:-}" || "$line" != 2* ]] || ksv_save_picture "$2"
        ksv_click_digit "${1:${line:0:1}:1}" >&2
        ;;
    esac
  done <"$ksv_folder/lines" | tee "$ksv_folder/display.txt"
  wait "$pid" || status=$?
  return "$status"
}

# Opens the sealed input in the transcript of the display page, demands what the page was given, and prints the digits.
# UNSEAL is the command; it takes the key from the folder of the display. Usage: ksv_unseal TRANSCRIPT UNSEAL…
ksv_unseal() {
  local opened transcript=$1
  shift
  opened=$("$@" --challenge "$ksv_challenge" --caption "Example Bank" --reference "EUR 12.50 to Norvo Books" \
    "$(sed -n 's/^sealed //p' "$transcript")") || return
  sed -n 's/^input //p' <<<"${opened//$'\r'/}"
}
