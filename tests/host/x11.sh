# shellcheck shell=bash disable=SC2154 # tests/host/run sets what is not set here
# What an X display does to the window of the native page host. tests/host/run sources it and calls test_x11.

# Shows the display page; `await` reads its lines.
show_page() {
  ksv_make_challenge
  rm -f "$work/lines" "$work/out"
  mkfifo "$work/lines"
  "${command[@]}" --size 320x420 --timeout 60 --address "file:///display.html#$ksv_challenge" "$root/kit/pages/display.html" \
    >"$work/lines" 2>"$ksv_folder/display.err" &
  page=$!
  exec 7<"$work/lines"
}

# Waits for a line that matches. Usage: await PATTERN
await() {
  local line
  while read -r -t 20 line <&7; do
    echo "$line" >>"$work/out"
    if [[ "$line" =~ $1 ]]; then return 0; fi
  done
  return 1
}

# Puts a small window over the corner of the page's, which stands at the same place, and waits until it is there.
cover() {
  rm -f "$work/cover"
  mkfifo "$work/cover"
  "${command[@]}" --size 30x30 --timeout 60 "$work/waits.js" >"$work/cover" 2>/dev/null &
  covering=$!
  read -r -t 20 <"$work/cover"
}

uncover() {
  kill "$covering"
  wait "$covering" || true
  while xdotool search --name '^waits.js$' >/dev/null 2>&1; do sleep 0.1; done
}

# Runs the host on a screen of its own, which ends. Gives the host's status.
lose_display() (
  rm -f "$work/lines"
  mkfifo "$work/lines"
  ksv_start_screen
  "${command[@]}" --timeout 60 "$work/waits.js" >"$work/lines" 2>"$work/err" &
  read -r -t 20 <"$work/lines"
  kill "$ksv_screen"
  rm -rf "$ksv_screen_folder"
  wait $!
)

blame_page() {
  cp "$ksv_folder/display.err" "$work/err"
  blame "$@"
}

test_x11() {
  local name window x y lost=0
  show_page
  await '^ready'
  window=$(xdotool search --onlyvisible --name '^display.html$')
  read -r x y < <(ksv_key 1)
  # A click that a program makes up and sends to the window: a second 1 in the input, if it counted.
  xdotool mousemove --window "$window" "$x" "$y" click --window "$window" 1
  cover
  ksv_click_digit 1
  name="$1, no click counts that a program sends or where the window is covered"
  if await '^wysMouse' && [[ "$(tail -n 1 "$work/out")" == "wysMouseDown"*"fnRetCode: 225"* ]]; then
    pass "$name"
  else
    blame_page "$name" "the click was taken"
  fi
  uncover
  ksv_click_digit 1
  await '^wysMouseUp.*fnRetCode: 0' || true
  xdotool key 3 5 7
  name="$1, digits from the keyboard"
  if await '^sealed '; then sealed_is "$name" 1357 "$work/out"; else blame_page "$name" "no answer"; fi
  exec 7<&-
  wait "$page" || true

  name="$1, the display ends"
  lose_display || lost=$?
  if ((lost == 3)) && grep -q 'window was closed' "$work/err"; then pass "$name"; else blame "$name" "status $lost"; fi
}
