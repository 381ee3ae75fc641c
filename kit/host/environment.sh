# shellcheck shell=bash
# The surroundings in which ksv-host.exe opens a page under Wine, and a hand on the mouse for it.
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

# Prints where the middle of a key is in the window. Usage: ksv_key LABEL
ksv_key() {
  awk -v label="$1" '$1 == label {printf "%d %d\n", $2 + $4 / 2, $3 + $5 / 2; found = 1} END {exit !found}' "$ksv_folder/layout"
}

# Clicks digits on the pad from outside of the host, which told where its window is. Usage: ksv_click_digits DIGITS
ksv_click_digits() {
  local left top x y at
  read -r left top < <(sed -n 's/.*window begins at \([0-9]*\),\([0-9]*\) of the screen.*/\1 \2/p' "$ksv_folder/display.err")
  for ((at = 0; at < ${#1}; ++at)); do
    read -r x y < <(ksv_key "${1:at:1}")
    xdotool mousemove $((left + x)) $((top + y)) click 1
  done
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

# Shows the display page in a Windows host and enters four digits by the mouse, as a user does; prints the transcript,
# and saves a picture, if one is asked for, when half of them are entered. Usage: ksv_enter_pin HOST DIGITS [PICTURE]
ksv_enter_pin() {
  local line pid status=0
  rm -f "$ksv_folder/lines"
  mkfifo "$ksv_folder/lines"
  "${ksv_wine[@]}" "$1" --size 320x420 --timeout 60 "$root/kit/pages/display.html" >"$ksv_folder/lines" 2>"$ksv_folder/display.err" &
  pid=$!
  while read -r line; do
    line=${line%$'\r'}
    echo "$line"
    case "$line" in
      ready*) ksv_click_digits "${2:0:2}" >&2 ;;
      "2 of "*)
        [[ -z "${3:-}" ]] || ksv_save_picture "$3"
        ksv_click_digits "${2:2}" >&2
        ;;
    esac
  done <"$ksv_folder/lines" | tee "$ksv_folder/display.txt"
  wait "$pid" || status=$?
  return "$status"
}

# Opens the sealed input of a transcript by the display's own means. Usage: ksv_unseal TRANSCRIPT KEY
ksv_unseal() {
  local key status=0
  # Under Wine a file is open to all, and such a key is refused.
  key=$(mktemp)
  cat "$2" >"$key"
  "$root/build/native/kit/ksv-unseal" --key "$key" "$(sed -n 's/^sealed //p' "$1")" || status=$?
  rm "$key"
  return "$status"
}
