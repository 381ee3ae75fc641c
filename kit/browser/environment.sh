# shellcheck shell=bash
# The private surroundings in which ksv-browser opens a page: settings, the user's folders, the libraries' own.
# Source it after `set -euo pipefail`.

ksv_environment_folder=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd -P)

# Makes the surroundings in FOLDER, which is made too, and exports what points there. AGENT is the folder that holds the
# agent library. What an earlier run left in FOLDER stays.
# Leaves in ksv_folder the folder, and in ksv_storage where the browser is to keep what pages put into localStorage.
# Usage: ksv_make_environment FOLDER AGENT [LOG_LEVEL]
ksv_make_environment() {
  local folder agent=$2 level=${3:-0}
  mkdir -p "$1"
  folder=$(cd "$1" && pwd -P)
  export KSV_REGISTRY=$folder/registry.json KSV_AGENT_HOME=$folder/agent
  export KSV_DISPLAY_HOME=$folder/display KSV_DISPLAY_LAYOUT=$folder/layout KSV_DISPLAY_PICTURE=$folder/display.png
  # The plug-in's paths have backslashes on every system.
  export AppData="${folder//\//\\}\\AppData\\Roaming"
  ksv_base=$folder/AppData/LocalLow/Norvo/webapi
  # shellcheck disable=SC2034 # the callers read both
  ksv_folder=$folder ksv_storage=$folder/storage
  mkdir -p "$ksv_base"
  ksv_fit_folder "$agent"
  jq -n --arg folder "$ksv_fitting\\" --argjson level "$level" \
    '{HKEY_LOCAL_MACHINE: {Software: {Norvo: {Services: {KSV: {FILELOCALE: $folder, KsvPluginLogLevel: $level}}}}}}' \
    >"$KSV_REGISTRY"
  # Updated just now: the plug-in refuses its agent when the last update is two days old.
  date +%s >"$ksv_base/lastUpdatewin32-npapi"
  # Under AddressSanitizer the leaks of the browser's libraries are not ours; without it none of this is read. Only the
  # allocating function itself may tell whose a leak is: further up the engine stands in every stack.
  export LSAN_OPTIONS="suppressions=$ksv_environment_folder/leaks.supp:print_suppressions=0"
  export ASAN_OPTIONS="malloc_context_size=2:detect_leaks=1"
}

# Shuts the update gate of the surroundings made last, as an updater does that has not run for two days.
ksv_shut_gate() { echo $(($(date +%s) - 172800)) >"$ksv_base/lastUpdatewin32-npapi"; }

# Makes FOLDER one of libraries that lacks the agent's, with the display of the folder KIT. Usage: ksv_leave_agent_out FOLDER KIT
ksv_leave_agent_out() {
  mkdir -p "$1"
  ln -sfn "$(cd "$2" && pwd -P)/ksvWys.dll" "$1/ksvWys.dll"
}

# Leaves in ksv_fitting a name of FOLDER that fits into the settings, a link where its own is too long: the key holds at
# most 127 characters, the closing separator among them, since the built-in applet's file name is put straight behind the
# text; Wine's drive takes two more.
ksv_fit_folder() {
  ksv_fitting=$1
  ((${#1} > 124)) || return 0
  [[ -n "${ksv_short:-}" ]] || ksv_short=$(mktemp -d /tmp/ksv-XXXXXX)
  ksv_fitting=$ksv_short/$(cksum <<<"$1" | cut -d ' ' -f 1)
  echo "The folder $1 has ${#1} characters, 124 fit: the settings name $ksv_fitting, a link." >&2
  ln -sfn "$1" "$ksv_fitting"
}

# Starts a screen of its own and makes DISPLAY name it. Several may start at the same time: each server finds its number
# itself.
ksv_start_screen() {
  local cookie number
  ksv_screen_folder=$(mktemp -d /tmp/ksv-screen-XXXXXX)
  cookie=$(mcookie)
  touch "$ksv_screen_folder"/{server,client}
  mkfifo "$ksv_screen_folder/number"
  # The server takes the cookie whatever number stands with it; who has none stays out.
  xauth -q -f "$ksv_screen_folder/server" add :0 . "$cookie"
  Xvfb -displayfd 3 -auth "$ksv_screen_folder/server" -screen 0 1280x1024x24 -nolisten tcp \
    3>"$ksv_screen_folder/number" >"$ksv_screen_folder/log" 2>&1 &
  ksv_screen=$!
  if ! read -r number <"$ksv_screen_folder/number"; then
    echo "The virtual screen does not start: $(tail -n 1 "$ksv_screen_folder/log")" >&2
    return 1
  fi
  export DISPLAY=:$number XAUTHORITY=$ksv_screen_folder/client
  xauth -q -f "$XAUTHORITY" add "$DISPLAY" . "$cookie"
}

# Takes away what the functions above made outside of the folder that they were given.
ksv_leave_environment() {
  if [[ -n "${ksv_screen:-}" ]]; then
    kill "$ksv_screen" 2>/dev/null || true
    wait "$ksv_screen" || true
  fi
  rm -rf ${ksv_screen_folder:+"$ksv_screen_folder"} ${ksv_short:+"$ksv_short"}
}

# Compares the password in the transcript of otp.html with what another program makes of the same account.
# Prints what agrees or not. Usage: ksv_check_password TRANSCRIPT
ksv_check_password() {
  local uri secret line password from until expected
  uri=$(sed -n 's/^account //p' "$1")
  secret=$(sed -n 's/.*[?&]secret=\([A-Z2-7]*\).*/\1/p' <<<"$uri")
  line=$(sed -n 's/^password \([0-9]\{6,8\}\) made between \([0-9]*\) and \([0-9]*\)$/\1 \2 \3/p' "$1")
  if [[ -z "$secret" || -z "$line" ]]; then
    echo "the transcript has no account or no password"
    return 1
  fi
  read -r password from until <<<"$line"
  # The call may have begun in one time step and ended in the next.
  expected=$({
    oathtool --totp --base32 --digits="${#password}" --now="@$from" "$secret"
    oathtool --totp --base32 --digits="${#password}" --now="@$until" "$secret"
  } | sort -u | paste -sd ' ') || return 1
  if [[ " $expected " != *" $password "* ]]; then
    echo "the password is $password, oathtool makes $expected"
    return 1
  fi
  echo "oathtool makes the same password, $password"
}
