# shellcheck shell=bash
# What the project's scripts share. Source it after `set -euo pipefail`; it leaves `root` as the checkout's path.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)

say() { printf '%s: %s\n' "$(basename "$0")" "$*"; }

die() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

# The comment at the script's head, which is its help.
head_comment() { sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"; }

# Usage: help_if_asked "$@"   prints the script's help and ends, if that is what the caller wants
help_if_asked() {
  [[ "${1:-}" == -h || "${1:-}" == --help ]] || return 0
  head_comment
  exit
}

# Ends a script that was called with arguments that it does not take.
misused() {
  head_comment >&2
  exit 2
}

# Where things live that are fetched once and serve every checkout. CMake's Base64Library.cmake looks in the same place.
cache_dir() {
  [[ -n "${XDG_CACHE_HOME:-}${HOME:-}" ]] || die "neither HOME nor XDG_CACHE_HOME is set: set one, things are kept there"
  printf '%s/ksv-plugin' "${XDG_CACHE_HOME:-$HOME/.cache}"
}

wine32_root() { printf '%s/wine32-root' "$(cache_dir)"; }

can_be_root() { ((EUID == 0)) || sudo -n true 2>/dev/null || { [[ -t 0 ]] && command -v sudo >/dev/null; }; }

as_root() {
  if ((EUID == 0)); then
    "$@"
  elif can_be_root; then
    sudo "$@"
  else
    die "this needs root, and sudo does not give it here: run it as root (wanted: $*)"
  fi
}

# True when the machine itself executes 32-bit code: some kernels are built without it, and Wine crashes in an emulator.
runs_32bit_code() { arch-test -n i386 >/dev/null; }

# How long ago a value of SECONDS was, as minutes and seconds.
since() { printf '%d:%02d' $(((SECONDS - $1) / 60)) $(((SECONDS - $1) % 60)); }

# Ends a process and all that it started.
end_tree() {
  local child children=()
  if [[ -e "/proc/$1/task/$1/children" ]]; then read -r -a children <"/proc/$1/task/$1/children" || true; fi
  for child in "${children[@]}"; do end_tree "$child"; done
  kill "$1" 2>/dev/null || true
}

# The project's own files, one a line, as paths below the root.
our_files() { (cd "$root" && find . \( -path ./.git -o -path ./build \) -prune -o -type f -printf '%P\n' | LC_ALL=C sort); }

# What a check script says of each check; end_checks ends it with the status that they make together.
failed=0
pass() { echo "ok $1"; }
fail() {
  echo "not ok $1: $2"
  failed=1
}
end_checks() { exit "$failed"; }
